#include "config/GigEPacketSize.h"

#include "adapter/CameraAccess.h"
#include "diag/Log.h"

namespace maravel {

namespace {

constexpr char kAdjustCommand[] = "GVSPAdjustPacketSize";
constexpr char kPacketSize[] = "GVSPPacketSize";
constexpr std::int64_t kLimitMilliseconds = 2000;

} // namespace

void GigEAdjustPacketSize(const CZorvikAPIAccess& api, ZvkHandle_t cameraHandle)
{
    ZvkCameraInfo_t info = {};
    if (api.ZvkCameraInfoQueryByHandle(cameraHandle, &info, sizeof info) != ZvkErrorSuccess ||
        info.streamCount == 0 || info.streamHandles == nullptr) {
        WriteLog(__LINE__, "%s: StreamCount=0\n", "GigEAdjustPacketSize");
        return;
    }
    const ZvkHandle_t stream = info.streamHandles[0];
    if (api.ZvkFeatureCommandRun(stream, kAdjustCommand) != ZvkErrorSuccess) {
        return;
    }
    if (AwaitCommand(api, stream, kAdjustCommand, kLimitMilliseconds) == CommandEnd::TimedOut) {
        WriteLog(__LINE__, "%s: ERROR. Timeout exceeded. Feature='%s'.\n", "GigEAdjustPacketSize",
                 kAdjustCommand);
    }
    std::int64_t packetSize = 0;
    api.ZvkFeatureIntGet(stream, kPacketSize, &packetSize);
    WriteLog(__LINE__, "%s: GVSPAdjustPacketSize set to %lld\n", "GigEAdjustPacketSize",
             static_cast<long long>(packetSize));
}

} // namespace maravel
