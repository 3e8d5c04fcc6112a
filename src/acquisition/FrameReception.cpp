#include "acquisition/Frames.h"

#include "core/AdapterState.h"
#include "diag/Log.h"
#include "sdk/Names.h"

#include <functional>

namespace maravel {

namespace {

constexpr const char* kReceive = "FrameReceivedCallback";

// The channel that a frame's context names; null, with a log line, when there is none.
VideoChannelData* FindChannelOf(const FrameContext& context) MARAVEL_REQUIRES(g_frameMutex)
{
    CAdapterData* data = g_receptionAccess.data;
    if (data == nullptr) {
        WriteLog(__LINE__, "%s: ERROR. Invalid class pointer.\n", kReceive);
        return nullptr;
    }
    if (context.channelIndex >= data->cameraCount) {
        WriteLog(__LINE__, "%s: ERROR. Invalid channelID=%lld. Available cameras=%d.\n", kReceive,
                 static_cast<long long>(context.channelIndex), static_cast<int>(data->cameraCount));
        return nullptr;
    }
    return &data->channels[context.channelIndex];
}

// Whether the frame is one of the channel's own records and does not wait for the host already. Storing any
// other one would hand the host memory that is not the channel's, or the same image twice.
bool IsExpected(const VideoChannelData& channel, const ZvkFrame_t* frame) MARAVEL_REQUIRES(g_frameMutex)
{
    const ZvkFrame_t* const first = channel.frames.data();
    const ZvkFrame_t* const end = first + channel.frames.size();
    const bool isOwn = !std::less<>()(frame, first) && std::less<>()(frame, end);
    return isOwn && !channel.fifo.Contains(frame);
}

void RequeueIncomplete(VideoChannelData& channel, ZvkHandle_t cameraHandle, ZvkFrame_t* frame)
    MARAVEL_REQUIRES(g_frameMutex)
{
    WriteLog(__LINE__, "%s: Frame incomplete (%d). Requeueing...\n", kReceive, frame->receiveStatus);
    ++channel.framesIncomplete;
    const ZvkError_t result =
        g_receptionAccess.api->ZvkCaptureFrameQueue(cameraHandle, frame, &FrameReceivedCallback);
    if (result != ZvkErrorSuccess) {
        WriteLog(__LINE__, "%s: Error while requeueing, Reason=%s (%d)\n", kReceive, ErrorCodeName(result),
                 result);
    }
}

} // namespace

void FrameReceivedCallback(ZvkHandle_t cameraHandle, ZvkHandle_t streamHandle, ZvkFrame_t* frame) noexcept
{
    if (cameraHandle == nullptr || streamHandle == nullptr || frame == nullptr) {
        WriteLog(__LINE__, "%s: ERROR. Invalid ZvkFrame_t.\n", kReceive);
        return;
    }
    if (g_frameMutex.IsHeldHere()) {
        // The SDK delivers from inside the queueing of another frame, and this thread can only wait for
        // itself.
        WriteLog(__LINE__,
                 "%s: ERROR. Called from inside a callback of the same thread. We drop this frame.\n",
                 kReceive);
        return;
    }
    const MutexLock lock(g_frameMutex);
    if (!g_acquiringCameras.contains(cameraHandle)) {
        WriteLog(
            __LINE__,
            "%s: ERROR. We received a frame callback after StopAcquistion was called. We drop this frame and do not queue it again. Camera=0x%08X\n",
            kReceive, HandleBits(cameraHandle));
        if (frame->receiveStatus != 0) {
            WriteLog(__LINE__, "\t%s Frame incomplete.\n", kReceive);
        }
        return;
    }
    const FrameContext* context = ContextOf(*frame);
    if (context == nullptr) {
        WriteLog(__LINE__, "%s: ERROR. Invalid context parameter.\n", kReceive);
        return;
    }
    VideoChannelData* channel = FindChannelOf(*context);
    if (channel == nullptr) {
        return;
    }
    if (!IsExpected(*channel, frame)) {
        WriteLog(
            __LINE__,
            "%s: ERROR. Frame is not the channel's own or was received already. We drop it. channelID=%lld\n",
            kReceive, static_cast<long long>(context->channelIndex));
        return;
    }
    if (frame->receiveStatus != 0) {
        RequeueIncomplete(*channel, cameraHandle, frame);
        return;
    }
    ++channel->framesComplete;
    channel->fifo.Append(frame);
    WriteLog(__LINE__,
             "%s: Frame stored in FIFO. channelID=%lld, BufferID=%d, FrameID=%llu, Frame timestamp=%llu\n",
             kReceive, static_cast<long long>(context->channelIndex), static_cast<int>(context->bufferIndex),
             static_cast<unsigned long long>(frame->frameId),
             static_cast<unsigned long long>(frame->timestamp));
}

} // namespace maravel
