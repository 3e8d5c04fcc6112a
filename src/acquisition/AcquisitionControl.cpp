#include "acquisition/AcquisitionControl.h"

#include "acquisition/FrameBuffers.h"
#include "acquisition/FrameReception.h"
#include "adapter/HostCall.h"
#include "sdk/ResultNames.h"

namespace maravel {

namespace {

constexpr const char* kStart = "StartAcquisition";
constexpr const char* kStop = "StopAcquisition";

// Takes all frames back from the SDK; false, with a log line, when it refuses.
bool RevokeFrames(const ChannelCall& call)
{
    const ZvkError_t result = call.api.ZvkFrameRevokeAll(call.channel.cameraHandle);
    if (result != ZvkErrorSuccess) {
        WriteLog(__LINE__, "%s: ERROR. ZvkFrameRevokeAll failed. ChannelID=%lld. Reason=%s (%d).\n", kStart,
                 call.channelID, ErrorCodeName(result), result);
        return false;
    }
    call.channel.bFramesAnnounced = false;
    return true;
}

bool AnnounceFrames(const ChannelCall& call)
{
    for (const ZvkFrame_t& frame : call.channel.frames) {
        const ZvkError_t result = call.api.ZvkFrameAnnounce(call.channel.cameraHandle, &frame, sizeof frame);
        if (result != ZvkErrorSuccess) {
            ReportError(__LINE__, call.errorText,
                        "%s: ERROR. ZvkFrameAnnounce failed. ChannelID=%lld. Reason=%s (%d).", kStart,
                        call.channelID, ErrorCodeName(result), result);
            RevokeFrames(call);
            return false;
        }
        call.channel.bFramesAnnounced = true;
    }
    WriteLog(__LINE__, "%s: ZvkFrameAnnounce success.\n", kStart);
    return true;
}

bool FlushQueue(const ChannelCall& call)
{
    const ZvkError_t result = call.api.ZvkCaptureQueueFlush(call.channel.cameraHandle);
    if (result != ZvkErrorSuccess) {
        WriteLog(__LINE__, "%s: ERROR. ZvkCaptureQueueFlush failed. ChannelID=%lld. Reason=%s (%d).\n",
                 kStart, call.channelID, ErrorCodeName(result), result);
        return false;
    }
    call.channel.bFramesQueued = false;
    return true;
}

bool EndCapture(const ChannelCall& call)
{
    const ZvkError_t result = call.api.ZvkCaptureEnd(call.channel.cameraHandle);
    if (result != ZvkErrorSuccess) {
        WriteLog(__LINE__, "%s: ERROR. ZvkCaptureEnd failed. ChannelID=%lld. Reason=%s (%d).\n", kStart,
                 call.channelID, ErrorCodeName(result), result);
        return false;
    }
    call.channel.bCaptureRunning = false;
    return true;
}

// Undoes a capture whose frames could not all be queued, so that the next start begins from the first step.
void AbandonCapture(const ChannelCall& call)
{
    if (FlushQueue(call)) {
        RevokeFrames(call);
    }
    EndCapture(call);
}

// Takes back what a start or stop that failed half-way left with the SDK; true when nothing is left there.
bool TakeBackLeftovers(const ChannelCall& call)
{
    const VideoChannelData& channel = call.channel;
    return (!channel.bCaptureRunning || EndCapture(call)) && (!channel.bFramesQueued || FlushQueue(call)) &&
           (!channel.bFramesAnnounced || RevokeFrames(call));
}

bool QueueFrames(const ChannelCall& call)
{
    for (const ZvkFrame_t& frame : call.channel.frames) {
        const ZvkError_t result =
            call.api.ZvkCaptureFrameQueue(call.channel.cameraHandle, &frame, &FrameReceivedCallback);
        if (result != ZvkErrorSuccess) {
            ReportError(__LINE__, call.errorText,
                        "%s: ERROR. ZvkCaptureFrameQueue failed. ChannelID=%lld. Reason=%s (%d).\n", kStart,
                        call.channelID, ErrorCodeName(result), result);
            AbandonCapture(call);
            return false;
        }
        call.channel.bFramesQueued = true;
    }
    return true;
}

// Announces, starts capturing, queues. After a failed capture start the frames stay announced.
bool SetUpCapture(const ChannelCall& call)
{
    if (!AnnounceFrames(call)) {
        return false;
    }
    const ZvkError_t result = call.api.ZvkCaptureStart(call.channel.cameraHandle);
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR. ZvkCaptureStart failed. ChannelID=%lld. Reason=%s (%d).", kStart,
                    call.channelID, ErrorCodeName(result), result);
        return false;
    }
    call.channel.bCaptureRunning = true;
    WriteLog(__LINE__, "%s: ZvkCaptureStart success. ChannelID=%lld Camera=0x%08X\n", kStart, call.channelID,
             HandleBits(call.channel.cameraHandle));
    return QueueFrames(call);
}

bool StartCamera(const ChannelCall& call)
{
    const ZvkHandle_t camera = call.channel.cameraHandle;
    const ZvkError_t result = call.api.ZvkFeatureCommandRun(camera, "AcquisitionStart");
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR. AcquisitionStart failed. ChannelID=%lld. Reason=%s (%d).", kStart,
                    call.channelID, ErrorCodeName(result), result);
        return false;
    }
    WriteLog(__LINE__, "%s: ZvkFeatureCommandRun->AcquisitionStart success.\n", kStart);
    const MutexLock lock(g_frameMutex);
    g_acquiringCameras.insert(camera);
    return true;
}

bool FireSoftwareTrigger(const ChannelCall& call)
{
    const ZvkError_t result = call.api.ZvkFeatureCommandRun(call.channel.cameraHandle, "TriggerSoftware");
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR. TriggerSoftware failed. ChannelID=%lld. Reason=%s (%d).", kStart,
                    call.channelID, ErrorCodeName(result), result);
        return false;
    }
    WriteLog(__LINE__, "%s: ZvkFeatureCommandRun->TriggerSoftware success.\n", kStart);
    return true;
}

std::int32_t Start(const ChannelCall& call) MARAVEL_REQUIRES(g_adapterMutex)
{
    VideoChannelData& channel = call.channel;
    const bool wasStarted = channel.bAcquisitionStarted;
    // Buffers that the SDK still knows must not be touched before they are back.
    if (!wasStarted && !TakeBackLeftovers(call)) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR. Frames of an earlier start cannot be taken back. ChannelID=%lld.", kStart,
                    call.channelID);
        return MARAVEL_FAILURE;
    }
    if (!AllocateVideoBuffers(call.channelID)) {
        ReportError(__LINE__, call.errorText, "%s: ERROR. AllocVideoBuffers failed.", kStart);
        return MARAVEL_FAILURE;
    }
    if (!wasStarted && !SetUpCapture(call)) {
        return MARAVEL_FAILURE;
    }
    channel.bAcquisitionStarted = true;

    const bool manual = channel.triggerMode == TriggerModeManual;
    bool succeeded = false;
    if (!manual || !wasStarted) {
        WriteLog(__LINE__, "%s: ZvkCaptureFrameQueue success.\n", kStart);
        succeeded = StartCamera(call);
    }
    if (manual && FireSoftwareTrigger(call)) {
        succeeded = true;
    }
    return succeeded ? MARAVEL_SUCCESS : MARAVEL_FAILURE;
}

std::int32_t Stop(const ChannelCall& call)
{
    VideoChannelData& channel = call.channel;
    const ZvkHandle_t camera = channel.cameraHandle;
    ZvkError_t result = call.api.ZvkFeatureCommandRun(camera, "AcquisitionStop");
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR. AcquisitionStop command failed. channelID=%lld. Reason=%s (%d).", kStop,
                    call.channelID, ErrorCodeName(result), result);
        return MARAVEL_FAILURE;
    }
    {
        const MutexLock lock(g_frameMutex);
        g_acquiringCameras.erase(camera);
    }
    WriteLog(__LINE__, "%s. channelID=%d Camera: 0x%08X\n", kStop, call.ChannelNumber(), HandleBits(camera));
    result = call.api.ZvkCaptureEnd(camera);
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR. ZvkCaptureEnd failed. channelID=%lld. Reason=%s (%d).", kStop, call.channelID,
                    ErrorCodeName(result), result);
        return MARAVEL_FAILURE;
    }
    result = call.api.ZvkCaptureQueueFlush(camera);
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR. ZvkCaptureQueueFlush failed. channelID=%lld. Reason=%s (%d).", kStop,
                    call.channelID, ErrorCodeName(result), result);
        return MARAVEL_FAILURE;
    }
    result = call.api.ZvkFrameRevokeAll(camera);
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR. ZvkFrameRevokeAll failed. channelID=%lld. Reason=%s (%d).", kStop,
                    call.channelID, ErrorCodeName(result), result);
        return MARAVEL_FAILURE;
    }
    channel.bFramesAnnounced = false;
    channel.bCaptureRunning = false;
    channel.bFramesQueued = false;
    channel.bAcquisitionStarted = false;

    const MutexLock lock(g_frameMutex);
    channel.fifo.Clear();
    WriteLog(__LINE__, "%s. channelID=%d FramesReceived=%u (Complete=%u, Incomplete=%u)\n", kStop,
             call.ChannelNumber(), channel.framesComplete + channel.framesIncomplete, channel.framesComplete,
             channel.framesIncomplete);
    channel.framesComplete = 0;
    channel.framesIncomplete = 0;
    return MARAVEL_SUCCESS;
}

} // namespace

std::int32_t MARAVEL_CALL StartAcquisition(char* errorText, std::int64_t channelID) noexcept
{
    WriteLog(__LINE__, "%s: channelID=%lld\n", kStart, static_cast<long long>(channelID));
    return HostCall({__LINE__, kStart, "%s: ERROR. Invalid class pointer.",
                     "%s: ERROR. Invalid channelID=%lld. Available cameras=%d."},
                    errorText, channelID, &Start);
}

std::int32_t MARAVEL_CALL StopAcquisition(char* errorText, std::int64_t channelID) noexcept
{
    WriteLog(__LINE__, "%s: channelID=%lld\n", kStop, static_cast<long long>(channelID));
    return HostCall({__LINE__, kStop, "%s: ERROR. Invalid class pointer.",
                     "%s: ERROR. Invalid channelID=%lld. Available cameras=%d."},
                    errorText, channelID, &Stop);
}

std::int32_t MARAVEL_CALL QueryImageStatus(char*, std::int64_t channelID, std::uint32_t* imageStatus) noexcept
{
    if (imageStatus == nullptr) {
        return MARAVEL_SUCCESS; // this callback answers nothing but the status
    }
    const MutexLock lock(g_adapterMutex);
    const VideoChannelData* channel = FindChannel(channelID);
    if (channel == nullptr) {
        *imageStatus = ImageStatusUnavailable;
        return MARAVEL_SUCCESS;
    }
    const MutexLock frameLock(g_frameMutex);
    *imageStatus = channel->fifo.IsEmpty() ? ImageStatusPending : ImageStatusReady;
    return MARAVEL_SUCCESS;
}

} // namespace maravel
