// The end of a channel and of the whole adapter.
#include "adapter/Lifecycle.h"
#include "core/Callbacks.h"
#include "core/CameraAccess.h"

#include <algorithm>

namespace maravel {

namespace {

// Who closes cameras. The end of the module waits for nobody for ever, and has its own words.
struct ClosingRoutine
{
    const char* name;
    bool isRelease; // of one channel by the host
    Patience patience;
};

// Ends a running acquisition. Failures are logged; what follows is tried all the same.
void StopStreaming(const ClosingRoutine& routine, const CZorvikAPIAccess& api, VideoChannelData& channel,
                   int channelIndex)
{
    if (api.ZvkFeatureCommandRun(channel.cameraHandle, "AcquisitionStop") != ZvkErrorSuccess) {
        WriteLog(__LINE__, "%s: channelID=%d. AcquisitionStop FAILED.\n", routine.name, channelIndex);
    }
    {
        const MutexLock lock(g_frameMutex, routine.patience);
        g_acquiringCameras.erase(channel.cameraHandle);
    }
    if (TakeBack(api, channel, kCapture) != ZvkErrorSuccess) {
        WriteLog(__LINE__, "%s: channelID=%d. ZvkCaptureEnd FAILED.\n", routine.name, channelIndex);
    }
}

// Stops the channel's camera, takes its frames back, and closes it.
void EndChannel(const ClosingRoutine& routine, const CZorvikAPIAccess& api, CAdapterData& data,
                std::uint32_t channelIndex)
{
    VideoChannelData& channel = data.channels[channelIndex];
    if (channel.bAcquisitionStarted || channel.bCaptureRunning) {
        StopStreaming(routine, api, channel, static_cast<int>(channelIndex));
    }
    for (const Holding& holding : {kQueue, kFrames}) {
        if (TakeBack(api, channel, holding) != ZvkErrorSuccess) {
            WriteLog(__LINE__, "%s: channelID%s%lld. %s FAILED.\n", routine.name,
                     routine.isRelease ? "=" : ":", static_cast<long long>(channelIndex), holding.entry);
        }
    }
    if (channel.bAcquisitionStarted) {
        ForgetFrames(channel, routine.patience);
    }
    CloseCamera(api, data, channelIndex, routine.name, routine.patience);
}

bool Release(const ChannelCall& call) MARAVEL_REQUIRES(g_adapterMutex)
{
    if (call.channel.cameraHandle != nullptr) {
        EndChannel({call.operation, true, Patience::Endless}, call.api, call.data,
                   static_cast<std::uint32_t>(call.channelID));
    }
    const VideoChannelData* const channels = call.data.channels.get();
    if (std::all_of(channels, channels + call.data.cameraCount,
                    [](const VideoChannelData& channel) { return channel.cameraHandle == nullptr; })) {
        ShutdownAdapter(Patience::Endless);
    }
    return true;
}

} // namespace

std::int32_t MARAVEL_CALL ReleaseVideoChannel(char* errorText, std::int64_t channelID) noexcept
{
    WriteLog(__LINE__, "%s: channelID=%lld\n", "ReleaseVideoChannel", static_cast<long long>(channelID));
    return HostCall({__LINE__, "ReleaseVideoChannel", NoSuchChannelText::Cameras,
                     "ReleaseVideoChannel: WARNING: Invalid class pointer."},
                    errorText, channelID, {}, &Release);
}

void CloseAllCameras(const char* routine, Patience patience) noexcept
{
    if (g_apiAccess == nullptr || g_adapterData == nullptr) {
        return;
    }
    for (std::uint32_t i = 0; i < g_adapterData->cameraCount; ++i) {
        if (g_adapterData->channels[i].cameraHandle != nullptr) {
            EndChannel({routine, false, patience}, *g_apiAccess, *g_adapterData, i);
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
    LeaveLogToEndedThreads();
    WriteLog(__LINE__, "%s\n", "Exit");
    CloseAllCameras("Exit", Patience::Bounded);
    ShutdownAdapter(Patience::Bounded);
}

} // namespace maravel
