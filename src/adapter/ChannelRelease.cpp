#include "adapter/ChannelRelease.h"

#include "adapter/HostCall.h"

namespace maravel {

namespace {

// "%s" and "%lld" take the routine and the channel.
struct ChannelText : RejectionText
{
    template <std::size_t N>
    consteval ChannelText(const char (&format)[N]) : RejectionText(format, "slld")
    {
    }
};

// A routine that closes cameras, and its own words for what the SDK refuses.
struct ClosingRoutine
{
    const char* name;
    ChannelText flushFailed;
    ChannelText revokeFailed;
};

struct OpenChannel
{
    const CZorvikAPIAccess& api;
    VideoChannelData& channel;
    const ZvkCameraInfo_t& camera;
    int index;
};

// Ends a running acquisition. Failures are logged; what follows is tried all the same.
void StopStreaming(const char* routine, const OpenChannel& open)
{
    const ZvkHandle_t camera = open.channel.cameraHandle;
    if (open.api.ZvkFeatureCommandRun(camera, "AcquisitionStop") != ZvkErrorSuccess) {
        WriteLog(__LINE__, "%s: channelID=%d. AcquisitionStop FAILED.\n", routine, open.index);
    }
    {
        const BoundedMutexLock lock(g_frameMutex);
        g_acquiringCameras.erase(camera);
    }
    if (open.api.ZvkCaptureEnd(camera) != ZvkErrorSuccess) {
        WriteLog(__LINE__, "%s: channelID=%d. ZvkCaptureEnd FAILED.\n", routine, open.index);
    }
    else {
        open.channel.bCaptureRunning = false;
    }
}

// Makes the channel ready to be set up and started again.
void ForgetStreaming(VideoChannelData& channel)
{
    channel.bAcquisitionStarted = false;
    const BoundedMutexLock lock(g_frameMutex);
    channel.fifo.Clear();
    channel.framesComplete = 0;
    channel.framesIncomplete = 0;
}

void CloseCamera(const ClosingRoutine& routine, const OpenChannel& open)
{
    VideoChannelData& channel = open.channel;
    const auto channelID = static_cast<long long>(open.index);
    if (channel.bAcquisitionStarted || channel.bCaptureRunning) {
        StopStreaming(routine.name, open);
    }
    if (open.api.ZvkCaptureQueueFlush(channel.cameraHandle) != ZvkErrorSuccess) {
        WriteLog(__LINE__, routine.flushFailed.Get(), routine.name, channelID);
    }
    else {
        channel.bFramesQueued = false;
    }
    if (open.api.ZvkFrameRevokeAll(channel.cameraHandle) != ZvkErrorSuccess) {
        WriteLog(__LINE__, routine.revokeFailed.Get(), routine.name, channelID);
    }
    else {
        channel.bFramesAnnounced = false;
    }
    if (channel.bAcquisitionStarted) {
        ForgetStreaming(channel);
    }
    const char* modelName = TextOrEmpty(open.camera.modelName);
    const char* cameraId = TextOrEmpty(open.camera.cameraIdString);
    if (open.api.ZvkCameraClose(channel.cameraHandle) == ZvkErrorSuccess) {
        channel.cameraHandle = nullptr;
        channel.bFramesAnnounced = false; // with its camera everything is gone
        channel.bCaptureRunning = false;
        channel.bFramesQueued = false;
        WriteLog(__LINE__, "%s: Camera CLOSED successfully. channelID %d (%s [%s])\n", routine.name,
                 open.index, modelName, cameraId);
    }
    else {
        WriteLog(__LINE__, "%s: ZvkCameraClose FAILED. channelID %d (%s [%s])\n", routine.name, open.index,
                 modelName, cameraId);
    }
}

bool IsAnyCameraOpen(const CAdapterData& data)
{
    for (std::uint32_t i = 0; i < data.cameraCount; ++i) {
        if (data.channels[i].cameraHandle != nullptr) {
            return true;
        }
    }
    return false;
}

std::int32_t Release(const ChannelCall& call) MARAVEL_REQUIRES(g_adapterMutex)
{
    constexpr ClosingRoutine kRoutine = {"ReleaseVideoChannel",
                                         "%s: channelID=%lld. ZvkCaptureQueueFlush FAILED.\n",
                                         "%s: channelID=%lld. ZvkFrameRevokeAll FAILED.\n"};
    if (call.channel.cameraHandle != nullptr) {
        CloseCamera(kRoutine, {call.api, call.channel, call.camera, call.ChannelNumber()});
    }
    if (!IsAnyCameraOpen(call.data)) {
        ShutdownAdapter();
    }
    return MARAVEL_SUCCESS;
}

} // namespace

std::int32_t MARAVEL_CALL ReleaseVideoChannel(char* errorText, std::int64_t channelID) noexcept
{
    WriteLog(__LINE__, "%s: channelID=%lld\n", "ReleaseVideoChannel", static_cast<long long>(channelID));
    return HostCall({__LINE__, "ReleaseVideoChannel", "%s: WARNING: Invalid class pointer.",
                     "%s: ERROR. Invalid channelID=%lld. Available cameras=%d"},
                    errorText, channelID, &Release);
}

void ShutdownAdapter() noexcept
{
    WriteLog(__LINE__, "%s\n", "ShutdownAdapter");
    {
        const BoundedMutexLock lock(g_frameMutex);
        g_acquiringCameras.clear();
        g_receptionAccess = {};
    }
    if (g_apiAccess != nullptr && g_apiAccess->ZvkShutdown != nullptr) {
        g_apiAccess->ZvkShutdown();
    }
    g_apiAccess.reset();
    g_adapterData.reset();
    g_imageTransformAccess.reset();
    CloseLog();
}

void CloseAllCameras(const char* routine) noexcept
{
    const ClosingRoutine closing = {routine, "%s: channelID:%lld. ZvkCaptureQueueFlush FAILED.\n",
                                    "%s: channelID:%lld. ZvkFrameRevokeAll FAILED.\n"};
    if (g_apiAccess == nullptr || g_adapterData == nullptr) {
        return;
    }
    for (std::uint32_t i = 0; i < g_adapterData->cameraCount; ++i) {
        if (g_adapterData->channels[i].cameraHandle != nullptr) {
            CloseCamera(closing, {*g_apiAccess, g_adapterData->channels[i], g_adapterData->cameras[i],
                                  static_cast<int>(i)});
        }
    }
}

void Exit() noexcept MARAVEL_NO_THREAD_SAFETY_ANALYSIS
{
    WriteLog(__LINE__, "%s\n", "Exit");
    CloseAllCameras("Exit");
    ShutdownAdapter();
}

} // namespace maravel
