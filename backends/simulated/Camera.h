// One simulated camera: its features, its stream's frames, its triggers and the thread that sends the frames.
// Everything is guarded by the library's lock but for the renderer, which the thread alone uses.
#pragma once

#include "Description.h"
#include "Feature.h"
#include "FrameRenderer.h"
#include "SimulationControl.h"
#include "backends/common/FramePool.h"
#include "backends/common/Lock.h"
#include "backends/common/WorkerThread.h"

#include <array>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace maravel::simulated {

using Clock = std::chrono::steady_clock;

// The two triggers that a camera knows, in the order of its TriggerSelector's entries.
enum class Trigger : std::uint8_t
{
    FrameStart,
    AcquisitionStart
};

class Camera
{
public:
    // `mutex` is the library's lock. Nothing is checked yet; see Build.
    Camera(backend::Mutex& mutex, std::uint32_t index, CameraDescription description);
    ~Camera() = default;
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

    // Makes the features and loads the pictures; false: `error` says why.
    bool Build(std::string* error);

    std::uint32_t Index() const { return index_; }
    const CameraDescription& Description() const { return description_; }
    FeatureSet& Features() { return features_; }
    FeatureSet& TransportFeatures() { return transportFeatures_; }
    FeatureSet& InterfaceFeatures() { return interfaceFeatures_; }
    FeatureSet& LocalDeviceFeatures() { return localDeviceFeatures_; }
    FeatureSet& StreamFeatures() { return streamFeatures_; }
    backend::FramePool& Frames() { return frames_; }
    std::vector<std::uint8_t>& Memory() { return memory_; }

    // Handles; the camera's and what hangs on it only while it is open.
    ZvkHandle_t transportHandle = nullptr;
    ZvkHandle_t interfaceHandle = nullptr;
    ZvkHandle_t cameraHandle = nullptr;
    ZvkHandle_t localDeviceHandle = nullptr;
    std::vector<ZvkHandle_t> streamHandles;

    bool IsOpen() const { return cameraHandle != nullptr; }
    bool IsCapturing() const { return capture_ != Capture::Off; }
    bool IsAcquiring() const { return acquiring_; }
    bool IsOnOwnThread() const { return thread_ == backend::WorkerThread::CurrentThread(); }
    std::uint64_t PayloadSize() const;

    // Starts the thread that fills queued frames. The lock is held, and let go while the system makes the
    // thread.
    ZvkError_t StartCapture(backend::Lock& lock);
    // Stops it; on return no callback runs or will come. Not for the camera's own thread.
    ZvkError_t EndCapture(backend::Lock& lock);
    // Takes queued frames back unfilled.
    void Flush();
    // Waits until no frame is being filled or handed over.
    void WaitIdle();
    // Waits until the frame is no longer queued or the time is over; false then.
    bool WaitFrame(const ZvkFrame_t* frame, std::chrono::milliseconds timeout);

    // A pulse on an input line.
    ZvkError_t PulseLine(const char* line);
    // Emits one frame now and waits for its callback.
    ZvkError_t Emit(const SimFrameRequest* request);
    void SetUnplugged(bool unplugged);

    SimStatistics Statistics() const { return statistics_; }

    // A frame that was delivered and not queued again; what ZvkChunkDataAccess asks.
    bool HasChunks(const ZvkFrame_t* frame) const;

private:
    enum class Capture : std::uint8_t
    {
        Off,
        Starting,
        On,
        Ending
    };

    struct Emission
    {
        const SimFrameRequest* request;
        ZvkError_t result = ZvkErrorIncomplete;
        bool done = false;
    };

    friend class CameraFeatures; // makes the features, which call back into the camera

    // What features do.
    ZvkError_t StartAcquisition();
    void StopAcquisition();
    ZvkError_t RunSoftwareTrigger();
    void FireTrigger(Trigger trigger);
    bool TriggerIsOn(Trigger trigger) const;
    std::string TriggerSourceOf(Trigger trigger) const;
    double FramePeriodUs() const;
    double ExposureUs() const;
    FrameGeometry Geometry() const;
    std::int64_t SensorLimit(const char* binning, std::uint32_t pixels) const;
    std::uint64_t Ticks() const;

    // The thread.
    static void Run(void* camera);
    void Loop();
    std::optional<Clock::time_point> NextFrameTime() const;
    void BeginFrame(Clock::time_point now);
    ZvkError_t SendFrame(backend::Lock& lock, const SimFrameRequest* request);
    void FillRecord(ZvkFrame_t* frame, const FrameGeometry& geometry, const SimFrameRequest* request,
                    std::uint64_t frameId, std::uint64_t ticks, bool incomplete);

    backend::Mutex& mutex_;
    const std::uint32_t index_;
    const CameraDescription description_;
    FeatureSet features_;
    FeatureSet transportFeatures_;
    FeatureSet interfaceFeatures_;
    FeatureSet localDeviceFeatures_;
    FeatureSet streamFeatures_;
    FeatureSet::Snapshot powerUp_;
    std::array<FeatureSet::Snapshot, 2> userSets_;
    std::vector<std::uint8_t> memory_;
    FrameRenderer renderer_;

    backend::FramePool frames_;
    backend::WorkerThread worker_;
    std::uint64_t thread_ = 0; // the worker's, while it runs
    backend::Condition wake_;  // the thread: something to do
    backend::Condition idle_;  // others: a frame is through, or capturing has ended
    Capture capture_ = Capture::Off;
    bool busy_ = false; // a frame is being filled or its callback runs
    Emission* emission_ = nullptr;

    bool unplugged_ = false;
    bool acquiring_ = false;
    bool started_ = false;        // acquiring, and the AcquisitionStart trigger, if on, has come
    std::int64_t framesLeft_ = 0; // of SingleFrame and MultiFrame; below 0: no end
    Clock::time_point nextFrame_{};
    std::array<Clock::time_point, 16> triggered_{}; // when the frames of waiting triggers are due
    std::size_t triggeredCount_ = 0;
    Clock::time_point ticksBase_ = Clock::now();
    std::uint64_t nextFrameId_ = 0;
    std::uint64_t sent_ = 0; // since capture start, for incompleteEvery
    SimStatistics statistics_{};
    SimStatistics atCaptureStart_{};
};

} // namespace maravel::simulated
