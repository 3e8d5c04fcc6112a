#include "adapter/CameraAccess.h"

#include "platform/Win32.h"
#include "sdk/ResultNames.h"

#include <chrono>

namespace maravel {

namespace {

constexpr DWORD kPollMilliseconds = 50;

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
