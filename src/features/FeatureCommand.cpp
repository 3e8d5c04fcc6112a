// Command features.
#include "core/Callbacks.h"
#include "core/CameraAccess.h"
#include "sdk/Names.h"

namespace maravel {

namespace {

constexpr const char* kName = "ExecuteCommand";
constexpr std::int64_t kLimitMilliseconds = 1000;

bool Execute(const ChannelCall& call, const char* featureName)
{
    if (OpenCameraIfClosed(call) == CameraOpening::Failed) {
        return false;
    }
    if (call.channel.FindFeature(featureName) == nullptr) {
        return ReportError(__LINE__, call.errorText, "%s: ERROR. Feature '%s' not found for channelID=%lld.",
                           kName, featureName, call.channelID);
    }
    const ZvkHandle_t camera = call.channel.cameraHandle;
    const ZvkError_t result = call.api.ZvkFeatureCommandRun(camera, featureName);
    if (result != ZvkErrorSuccess) {
        return ReportError(__LINE__, call.errorText,
                           "%s: ERROR while executing command. ChannelID=%lld. Feature='%s'. Reason=%s (%d)",
                           kName, call.channelID, featureName, ErrorCodeName(result), result);
    }
    WriteLog(__LINE__, "%s: SUCCESS. ChannelID=%d. Feature='%s' executed.\n", kName, call.ChannelNumber(),
             featureName);
    if (AwaitCommand(call.api, camera, featureName, kLimitMilliseconds) == CommandEnd::TimedOut) {
        WriteLog(__LINE__, "%s: ERROR. Timeout exceeded. ChannelID=%d. Feature='%s'.\n", kName,
                 call.ChannelNumber(), featureName);
    }
    return true;
}

} // namespace

std::int32_t MARAVEL_CALL ExecuteCommand(char* errorText, std::int64_t channelID,
                                         const char* featureName) noexcept
{
    WriteLog(__LINE__, "%s: channelID=%lld, feature='%s'\n", kName, static_cast<long long>(channelID),
             featureName);
    return HostCall(
        {__LINE__, kName, "ExecuteCommand: ERROR. Invalid class pointer.", NoSuchChannelText::Cameras},
        errorText, channelID, {featureName},
        [&](const ChannelCall& call) { return Execute(call, featureName); });
}

} // namespace maravel
