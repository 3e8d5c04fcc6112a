// The frames of one camera and the Aravis stream that fills them. Aravis writes straight into the caller's
// buffers; between capture start and end they are either with the stream or with the caller, and the pool
// knows where. Calls that wait for the stream's thread must not come from it.
#pragma once

#include "GObjects.h"
#include "backends/common/FramePool.h"
#include "backends/common/Lock.h"

#include <atomic>
#include <chrono>
#include <vector>

namespace maravel::aravis {

// A camera's frame numbers made to count from 0 without gaps of the camera's own making.
class FrameNumbers
{
public:
    // The next frame is number 0.
    void Restart() { first_ = true; }
    std::uint64_t Next(std::uint64_t sent);

private:
    bool first_ = true;
    std::uint64_t lastSent_ = 0;
    std::uint64_t last_ = 0;
};

class FrameStream
{
public:
    FrameStream() = default;
    FrameStream(const FrameStream&) = delete;
    FrameStream& operator=(const FrameStream&) = delete;
    ~FrameStream() { Clear(); }

    // Starts the stream of a device whose control the caller holds. The handles go to the callbacks.
    ZvkError_t Start(ArvDevice* device, ZvkHandle_t camera, ZvkHandle_t stream, std::uint64_t payloadSize);
    // Ends it. On return no callback runs or will come, and nothing is written into a buffer any more.
    ZvkError_t End();
    // Takes queued frames back unfilled; on return nothing is written into their buffers.
    ZvkError_t Flush();
    // Ends, takes back and forgets everything.
    void Clear();

    ZvkError_t Announce(const ZvkFrame_t* frame, std::uint64_t payloadSize);
    ZvkError_t Revoke(const ZvkFrame_t* frame);
    ZvkError_t RevokeAll();
    // Also from a callback.
    ZvkError_t Queue(const ZvkFrame_t* frame, ZvkFrameCallback callback);
    ZvkError_t Wait(const ZvkFrame_t* frame, std::chrono::milliseconds timeout);

    // The acquisition starts anew.
    void RestartNumbers();

    bool IsOnOwnThread() const;
    bool IsCapturing();

private:
    struct Buffer
    {
        const ZvkFrame_t* frame;
        ObjectPtr<ArvBuffer> buffer;
    };

    static void OnStreamEvent(void* stream, ArvStreamCallbackType type, ArvBuffer* buffer);
    void OnBufferDone();
    void Push(const ZvkFrame_t* frame) MARAVEL_REQUIRES(mutex_);
    void WaitIdle();

    backend::Mutex captureMutex_; // start, end and flush, one at a time; before mutex_
    backend::Mutex mutex_;        // not held while a callback runs or the stream's thread is waited for
    backend::Condition idle_;     // a frame came back, or a callback is over

    backend::FramePool pool_ MARAVEL_GUARDED_BY(mutex_);
    std::vector<Buffer> buffers_ MARAVEL_GUARDED_BY(mutex_);
    ArvStream* stream_ MARAVEL_GUARDED_BY(mutex_) = nullptr;
    bool draining_ MARAVEL_GUARDED_BY(mutex_) = false; // what comes back now was not filled
    bool busy_ MARAVEL_GUARDED_BY(mutex_) = false;     // a callback runs
    std::uint64_t payloadSize_ MARAVEL_GUARDED_BY(mutex_) = 0;
    FrameNumbers numbers_ MARAVEL_GUARDED_BY(mutex_);
    ZvkHandle_t cameraHandle_ = nullptr; // constant while capturing
    ZvkHandle_t streamHandle_ = nullptr;
    std::atomic<std::uint64_t> thread_{0};
};

} // namespace maravel::aravis
