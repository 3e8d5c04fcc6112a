// The end of a channel and of the whole adapter.
#include "adapter/Lifecycle.h"
#include "core/Callbacks.h"
#include "core/CameraAccess.h"

namespace maravel {

namespace {

// Who closes cameras. The end of the module waits for nobody for ever, and has its own words.
struct ClosingRoutine
{
    const char* name;
    bool isRelease; // of one channel by the host
    Patience patience;
};

struct OpenChannel
{
    const CZorvikAPIAccess& api;
    VideoChannelData& channel;
    const ZvkCameraInfo_t& camera;
    int index;
};

// Ends a running acquisition. Failures are logged; what follows is tried all the same.
void StopStreaming(const ClosingRoutine& routine, const OpenChannel& open)
{
    const ZvkHandle_t camera = open.channel.cameraHandle;
    if (open.api.ZvkFeatureCommandRun(camera, "AcquisitionStop") != ZvkErrorSuccess) {
        WriteLog(__LINE__, "%s: channelID=%d. AcquisitionStop FAILED.\n", routine.name, open.index);
    }
    {
        const MutexLock lock(g_frameMutex, routine.patience);
        g_acquiringCameras.erase(camera);
    }
    if (open.api.ZvkCaptureEnd(camera) != ZvkErrorSuccess) {
        WriteLog(__LINE__, "%s: channelID=%d. ZvkCaptureEnd FAILED.\n", routine.name, open.index);
    }
    else {
        open.channel.bCaptureRunning = false;
    }
}

void TakeFramesBack(const ClosingRoutine& routine, const OpenChannel& open)
{
    const auto channelID = static_cast<long long>(open.index);
    if (open.api.ZvkCaptureQueueFlush(open.channel.cameraHandle) == ZvkErrorSuccess) {
        open.channel.bFramesQueued = false;
    }
    else if (routine.isRelease) {
        WriteLog(__LINE__, "%s: channelID=%lld. ZvkCaptureQueueFlush FAILED.\n", routine.name, channelID);
    }
    else {
        WriteLog(__LINE__, "%s: channelID:%lld. ZvkCaptureQueueFlush FAILED.\n", routine.name, channelID);
    }
    if (open.api.ZvkFrameRevokeAll(open.channel.cameraHandle) == ZvkErrorSuccess) {
        open.channel.bFramesAnnounced = false;
    }
    else if (routine.isRelease) {
        WriteLog(__LINE__, "%s: channelID=%lld. ZvkFrameRevokeAll FAILED.\n", routine.name, channelID);
    }
    else {
        WriteLog(__LINE__, "%s: channelID:%lld. ZvkFrameRevokeAll FAILED.\n", routine.name, channelID);
    }
}

void CloseCamera(const ClosingRoutine& routine, const OpenChannel& open)
{
    VideoChannelData& channel = open.channel;
    if (channel.bAcquisitionStarted || channel.bCaptureRunning) {
        StopStreaming(routine, open);
    }
    TakeFramesBack(routine, open);
    if (channel.bAcquisitionStarted) {
        ForgetFrames(channel, routine.patience);
    }
    if (open.api.ZvkCameraClose(channel.cameraHandle) != ZvkErrorSuccess) {
        LogCameraCloseFailed(__LINE__, routine.name, open.index, open.camera);
        return;
    }
    ForgetCamera(channel, routine.patience);
    LogCameraClosed(__LINE__, routine.name, open.index, open.camera);
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
    if (call.channel.cameraHandle != nullptr) {
        CloseCamera({call.operation, true, Patience::Endless},
                    {call.api, call.channel, call.camera, call.ChannelNumber()});
    }
    if (!IsAnyCameraOpen(call.data)) {
        ShutdownAdapter(Patience::Endless);
    }
    return MARAVEL_SUCCESS;
}

} // namespace

std::int32_t MARAVEL_CALL ReleaseVideoChannel(char* errorText, std::int64_t channelID) noexcept
{
    WriteLog(__LINE__, "%s: channelID=%lld\n", "ReleaseVideoChannel", static_cast<long long>(channelID));
    return HostCall({__LINE__, "ReleaseVideoChannel", "ReleaseVideoChannel: WARNING: Invalid class pointer.",
                     NoSuchChannelText::Cameras},
                    errorText, channelID, {}, &Release);
}

void CloseAllCameras(const char* routine, Patience patience) noexcept
{
    if (g_apiAccess == nullptr || g_adapterData == nullptr) {
        return;
    }
    for (std::uint32_t i = 0; i < g_adapterData->cameraCount; ++i) {
        if (g_adapterData->channels[i].cameraHandle != nullptr) {
            CloseCamera({routine, false, patience}, {*g_apiAccess, g_adapterData->channels[i],
                                                     g_adapterData->cameras[i], static_cast<int>(i)});
        }
    }
}

void ShutdownAdapter(Patience patience) noexcept
{
    WriteLog(__LINE__, "%s\n", "ShutdownAdapter");
    {
        const MutexLock lock(g_frameMutex, patience);
        g_acquiringCameras.clear();
        g_receptionAccess = {};
    }
    if (g_apiAccess != nullptr && g_apiAccess->ZvkShutdown != nullptr) {
        g_apiAccess->ZvkShutdown();
    }
    g_apiAccess.reset();
    g_adapterData.reset();
    g_imageTransformAccess.reset();
    CloseLog(patience == Patience::Bounded);
}

void Exit() noexcept MARAVEL_NO_THREAD_SAFETY_ANALYSIS
{
    WriteLog(__LINE__, "%s\n", "Exit");
    CloseAllCameras("Exit", Patience::Bounded);
    ShutdownAdapter(Patience::Bounded);
}

} // namespace maravel
