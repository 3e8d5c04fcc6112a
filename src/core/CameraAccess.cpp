#include "core/CameraAccess.h"

#include "platform/Win32.h"
#include "sdk/Names.h"

#include <chrono>

namespace maravel {

namespace {

constexpr DWORD kPollMilliseconds = 50;
constexpr std::int64_t kPacketSizeLimitMilliseconds = 2000;
constexpr char kAdjustCommand[] = "GVSPAdjustPacketSize";
constexpr char kPacketSize[] = "GVSPPacketSize";

} // namespace

CameraOpening OpenCameraIfClosed(const ChannelCall& call)
{
    if (call.channel.cameraHandle != nullptr) {
        return CameraOpening::AlreadyOpen;
    }
    ZvkHandle_t handle = nullptr;
    const ZvkError_t result = call.api.ZvkCameraOpen(call.CameraId(), ZvkAccessModeFull, &handle);
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR. Error while opening camera. channelID=%lld. Reason=%s (%d)", call.operation,
                    call.channelID, ErrorCodeName(result), result);
        return CameraOpening::Failed;
    }
    call.channel.cameraHandle = handle;
    WriteLog(__LINE__, "%s: Camera OPENED successfully. channelID %d (%s [%s])\n", call.operation,
             call.ChannelNumber(), call.ModelName(), call.CameraId());
    return CameraOpening::Opened;
}

void GigEAdjustPacketSize(const CZorvikAPIAccess& api, ZvkHandle_t cameraHandle)
{
    constexpr const char* kName = "GigEAdjustPacketSize";
    ZvkCameraInfo_t info = {};
    if (api.ZvkCameraInfoQueryByHandle(cameraHandle, &info, sizeof info) != ZvkErrorSuccess ||
        info.streamCount == 0 || info.streamHandles == nullptr) {
        WriteLog(__LINE__, "%s: StreamCount=0\n", kName);
        return;
    }
    const ZvkHandle_t stream = info.streamHandles[0];
    if (api.ZvkFeatureCommandRun(stream, kAdjustCommand) != ZvkErrorSuccess) {
        return;
    }
    if (AwaitCommand(api, stream, kAdjustCommand, kPacketSizeLimitMilliseconds) == CommandEnd::TimedOut) {
        WriteLog(__LINE__, "%s: ERROR. Timeout exceeded. Feature='%s'.\n", kName, kAdjustCommand);
    }
    std::int64_t packetSize = 0;
    api.ZvkFeatureIntGet(stream, kPacketSize, &packetSize);
    WriteLog(__LINE__, "%s: GVSPAdjustPacketSize set to %lld\n", kName, static_cast<long long>(packetSize));
}

void LogAvailability(unsigned line, const char* routine, const VideoChannelData& channel)
{
    WriteLog(
        line,
        "%s: bExposureTimeAvail=%d, bExposureTimeAbsAvail=%d, bTriggerSourceAvail=%d, bTriggerActivationAvail=%d, bExposureModeAvail=%d, bTriggerModeAvail=%d\n",
        routine, channel.bExposureTimeAvail, channel.bExposureTimeAbsAvail, channel.bTriggerSourceAvail,
        channel.bTriggerActivationAvail, channel.bExposureModeAvail, channel.bTriggerModeAvail);
}

ZvkError_t TakeBack(const CZorvikAPIAccess& api, VideoChannelData& channel, const Holding& holding)
{
    const ZvkError_t result = (api.*holding.takeBack)(channel.cameraHandle);
    if (result == ZvkErrorSuccess) {
        channel.*holding.held = false;
    }
    return result;
}

std::pair<std::uint32_t, std::uint32_t> ForgetFrames(VideoChannelData& channel, Patience patience)
{
    channel.bAcquisitionStarted = false;
    const MutexLock lock(g_frameMutex, patience);
    channel.fifo.Clear();
    return {std::exchange(channel.framesComplete, 0), std::exchange(channel.framesIncomplete, 0)};
}

void ForgetCamera(VideoChannelData& channel, Patience patience)
{
    {
        const MutexLock lock(g_frameMutex, patience);
        g_acquiringCameras.erase(channel.cameraHandle);
    }
    channel.cameraHandle = nullptr;
    channel.bFramesAnnounced = false;
    channel.bCaptureRunning = false;
    channel.bFramesQueued = false;
    ForgetFrames(channel, patience);
}

void CloseCamera(const CZorvikAPIAccess& api, CAdapterData& data, std::uint32_t channelIndex,
                 const char* routine, Patience patience)
{
    VideoChannelData& channel = data.channels[channelIndex];
    const char* modelName = TextOrEmpty(data.cameras[channelIndex].modelName);
    const char* cameraId = TextOrEmpty(data.cameras[channelIndex].cameraIdString);
    if (api.ZvkCameraClose(channel.cameraHandle) != ZvkErrorSuccess) {
        WriteLog(__LINE__, "%s: ZvkCameraClose FAILED. channelID %d (%s [%s])\n", routine,
                 static_cast<int>(channelIndex), modelName, cameraId);
        return;
    }
    ForgetCamera(channel, patience);
    WriteLog(__LINE__, "%s: Camera CLOSED successfully. channelID %d (%s [%s])\n", routine,
             static_cast<int>(channelIndex), modelName, cameraId);
}

CommandEnd AwaitCommand(const CZorvikAPIAccess& api, ZvkHandle_t handle, const char* name,
                        std::int64_t limitMilliseconds)
{
    using std::chrono::milliseconds;
    using std::chrono::steady_clock;

    ZvkBool_t done = 0;
    const steady_clock::time_point start = steady_clock::now();
    while (done == 0) {
        if (api.ZvkFeatureCommandIsDone(handle, name, &done) != ZvkErrorSuccess) {
            return CommandEnd::QueryFailed;
        }
        const auto elapsed = std::chrono::duration_cast<milliseconds>(steady_clock::now() - start);
        if (elapsed.count() > limitMilliseconds) {
            return CommandEnd::TimedOut;
        }
        Sleep(kPollMilliseconds);
    }
    return CommandEnd::Done;
}

} // namespace maravel
