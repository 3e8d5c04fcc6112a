#include "config/CommonParams.h"

#include "adapter/CameraAccess.h"
#include "config/GigEPacketSize.h"
#include "config/TriggerSetters.h"
#include "sdk/ResultNames.h"

#include <string_view>

namespace maravel {

namespace {

constexpr const char* kName = "SetupCommonParams";
constexpr double kMicrosecondsPerSecond = 1'000'000.0;

// Automatic exposure owns the exposure time. A camera that cannot be asked has none.
bool IsExposureAutoOff(const ChannelCall& call)
{
    const char* exposureAuto = nullptr;
    return call.api.ZvkFeatureEnumGet(call.channel.cameraHandle, "ExposureAuto", &exposureAuto) !=
               ZvkErrorSuccess ||
           std::string_view(TextOrEmpty(exposureAuto)) == "Off";
}

// Writes the exposure time to whichever feature the camera has; the result of the write, success when there
// is none.
ZvkError_t SetExposure(const ChannelCall& call, double seconds)
{
    const double microseconds = seconds * kMicrosecondsPerSecond;
    ZvkError_t result = ZvkErrorSuccess;
    if (call.channel.bExposureTimeAvail) {
        result = call.api.ZvkFeatureFloatSet(call.channel.cameraHandle, "ExposureTime", microseconds);
        if (result != ZvkErrorSuccess) {
            ReportError(__LINE__, call.errorText,
                        "%s: ERROR. ZvkFeatureFloatSet ExposureTime failed. ChannelID=%lld. Reason=%s (%d)",
                        kName, call.channelID, ErrorCodeName(result), result);
        }
        else {
            WriteLog(__LINE__, "%s: INFO: ExposureTime set to: %fus.\n", kName, microseconds);
        }
    }
    else if (call.channel.bExposureTimeAbsAvail) {
        result = call.api.ZvkFeatureFloatSet(call.channel.cameraHandle, "ExposureTimeAbs", microseconds);
        if (result != ZvkErrorSuccess) {
            ReportError(
                __LINE__, call.errorText,
                "%s: ERROR. ZvkFeatureFloatSet ExposureTimeAbs failed. ChannelID=%lld. Reason=%s (%d)", kName,
                call.channelID, ErrorCodeName(result), result);
        }
        else {
            WriteLog(__LINE__, "%s: INFO: ExposureTimeAbs set to: %fus.\n", kName, microseconds);
        }
    }
    return result;
}

// Flags other than 0 and 1 name no mode, and the channel keeps the one it has.
void RecordTriggerMode(VideoChannelData& channel, const CommonParams& params)
{
    WriteLog(__LINE__, "%s: INFO: acqContinuous=%d, acqTriggered=%d, acqTriggerLowToHigh=%d\n", kName,
             params.acqContinuous, params.acqTriggered, params.acqTriggerLowToHigh);
    if (params.acqContinuous == 0 && params.acqTriggered == 0) {
        WriteLog(__LINE__, "%s: INFO: Trigger Mode = 'MANUAL'\n", kName);
        channel.triggerMode = TriggerModeManual;
    }
    else if (params.acqContinuous == 1 && params.acqTriggered == 0) {
        WriteLog(__LINE__, "%s: INFO: Trigger Mode = 'FREERUN'\n", kName);
        channel.triggerMode = TriggerModeFreerun;
    }
    else if (params.acqContinuous == 1 && params.acqTriggered == 1) {
        WriteLog(__LINE__, "%s: INFO: Trigger Mode = 'HARDWARE AUTO'\n", kName);
        channel.triggerMode = TriggerModeHardwareAuto;
    }
    else if (params.acqContinuous == 0 && params.acqTriggered == 1) {
        WriteLog(__LINE__, "%s: INFO: Trigger Mode = 'HARDWARE SEMI-AUTO'\n", kName);
        channel.triggerMode = TriggerModeHardwareSemiAuto;
    }
}

// The selector stays on the trigger in use, so that source and activation, written later, apply to it.
void SetTriggers(const ChannelCall& call, const CommonParams& params)
{
    const bool continuous = params.acqContinuous != 0;
    const bool triggered = params.acqTriggered != 0;
    const bool startTriggered = triggered && !continuous;
    SetTriggerSelector(call, startTriggered ? "FrameStart" : "AcquisitionStart");
    SetTriggerMode(call, false);
    SetTriggerSelector(call, startTriggered ? "AcquisitionStart" : "FrameStart");
    SetTriggerMode(call, triggered || !continuous);
    if (!call.channel.bTriggerSourceAvail) {
        SetExposureMode(call, triggered);
    }
    else if (triggered) {
        ResetTriggerSource(call);
    }
    else {
        SetTriggerSource(call);
    }
    SetAcquisitionMode(call);
    SetTriggerActivation(call, params.acqTriggerLowToHigh != 0);
}

void WarnOffsetX(unsigned line, const ChannelCall& call, int offset, ZvkError_t result)
{
    ReportError(line, call.errorText,
                "%s: WARNING. ZvkFeatureIntSet OffsetX=%d failed. ChannelID=%lld. Reason=%s (%d)", kName,
                offset, call.channelID, ErrorCodeName(result), result);
}

void WarnOffsetY(unsigned line, const ChannelCall& call, int offset, ZvkError_t result)
{
    ReportError(line, call.errorText,
                "%s: WARNING. ZvkFeatureIntSet OffsetY=%d failed. ChannelID=%lld. Reason=%s (%d)", kName,
                offset, call.channelID, ErrorCodeName(result), result);
}

// The size as the host wants it, but no larger than the maximum that was read.
std::int32_t Limited(std::int32_t wanted, std::int64_t maximum)
{
    const auto limit = static_cast<std::int32_t>(maximum);
    return wanted > limit ? limit : wanted;
}

// Writes the region of interest. Offsets go to 0 first, so that any size fits. Every write is tried; only the
// first failure since hardError was success is reported, and recorded there.
void SetRegion(const ChannelCall& call, const CommonParams& params, ZvkError_t& hardError)
{
    const CZorvikAPIAccess& api = call.api;
    const ZvkHandle_t camera = call.channel.cameraHandle;
    WriteLog(__LINE__, "%s: INFO: roix=%d, roiy=%d, roiwidth=%d, roiheight=%d\n", kName, params.roix,
             params.roiy, params.roiwidth, params.roiheight);

    ZvkError_t result = api.ZvkFeatureIntSet(camera, "OffsetX", 0);
    if (result != ZvkErrorSuccess) {
        WarnOffsetX(__LINE__, call, 0, result);
    }
    result = api.ZvkFeatureIntSet(camera, "OffsetY", 0);
    if (result != ZvkErrorSuccess) {
        WarnOffsetY(__LINE__, call, 0, result);
    }

    std::int32_t width = params.roiwidth;
    std::int64_t maximum = 0;
    result = api.ZvkFeatureIntGet(camera, "WidthMax", &maximum);
    if (result != ZvkErrorSuccess) {
        WriteLog(__LINE__, "%s: WARNING. ZvkFeatureIntGet WidthMax failed. ChannelID=%d. Reason=%s (%d)\n",
                 kName, call.ChannelNumber(), ErrorCodeName(result), result);
    }
    else {
        width = Limited(width, maximum);
    }
    result = api.ZvkFeatureIntSet(camera, "Width", width);
    if (result != ZvkErrorSuccess && hardError == ZvkErrorSuccess) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR. ZvkFeatureIntSet Width=%d failed. ChannelID=%lld. Reason=%s (%d)", kName,
                    width, call.channelID, ErrorCodeName(result), result);
        hardError = result;
    }

    std::int32_t height = params.roiheight;
    maximum = 0;
    result = api.ZvkFeatureIntGet(camera, "HeightMax", &maximum);
    if (result != ZvkErrorSuccess) {
        WriteLog(__LINE__, "%s: WARNING. ZvkFeatureIntGet HeightMax failed. ChannelID=%d. Reason=%s (%d)\n",
                 kName, call.ChannelNumber(), ErrorCodeName(result), result);
    }
    else {
        height = Limited(height, maximum);
    }
    result = api.ZvkFeatureIntSet(camera, "Height", height);
    if (result != ZvkErrorSuccess && hardError == ZvkErrorSuccess) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR. ZvkFeatureIntSet Height=%d failed. ChannelID=%lld. Reason=%s (%d)", kName,
                    height, call.channelID, ErrorCodeName(result), result);
        hardError = result;
    }

    // A camera without offsets has nothing else to offer than 0.
    result = api.ZvkFeatureIntSet(camera, "OffsetX", params.roix);
    if (result != ZvkErrorSuccess && hardError == ZvkErrorSuccess) {
        if (result == ZvkErrorNotFound && params.roix == 0) {
            WarnOffsetX(__LINE__, call, params.roix, result);
        }
        else {
            ReportError(__LINE__, call.errorText,
                        "%s: ERROR. ZvkFeatureIntSet OffsetX=%d failed. ChannelID=%lld. Reason=%s (%d)",
                        kName, params.roix, call.channelID, ErrorCodeName(result), result);
            hardError = result;
        }
    }
    result = api.ZvkFeatureIntSet(camera, "OffsetY", params.roiy);
    if (result != ZvkErrorSuccess && hardError == ZvkErrorSuccess) {
        if (result == ZvkErrorNotFound && params.roiy == 0) {
            WarnOffsetY(__LINE__, call, params.roiy, result);
        }
        else {
            ReportError(__LINE__, call.errorText,
                        "%s: ERROR. ZvkFeatureIntSet OffsetY=%d failed. ChannelID=%lld. Reason=%s (%d)",
                        kName, params.roiy, call.channelID, ErrorCodeName(result), result);
            hardError = result;
        }
    }
}

std::int32_t SetUp(const ChannelCall& call, const CommonParams& params)
{
    switch (OpenCameraIfClosed(call)) {
    case CameraOpening::Failed:
        return MARAVEL_FAILURE;
    case CameraOpening::Opened:
        GigEAdjustPacketSize(call.api, call.channel.cameraHandle);
        break;
    case CameraOpening::AlreadyOpen:
        break;
    }
    const VideoChannelData& channel = call.channel;
    const bool bExposureAutoOff = IsExposureAutoOff(call);
    WriteLog(__LINE__, "%s: bExposureAutoOff=%d\n", kName, bExposureAutoOff);
    WriteLog(
        __LINE__,
        "%s: bExposureTimeAvail=%d, bExposureTimeAbsAvail=%d, bTriggerSourceAvail=%d, bTriggerActivationAvail=%d, bExposureModeAvail=%d, bTriggerModeAvail=%d\n",
        kName, channel.bExposureTimeAvail, channel.bExposureTimeAbsAvail, channel.bTriggerSourceAvail,
        channel.bTriggerActivationAvail, channel.bExposureModeAvail, channel.bTriggerModeAvail);

    ZvkError_t hardError = bExposureAutoOff ? SetExposure(call, params.exposure) : ZvkErrorSuccess;
    RecordTriggerMode(call.channel, params);
    SetTriggers(call, params);
    SetRegion(call, params, hardError);
    return hardError == ZvkErrorSuccess ? MARAVEL_SUCCESS : MARAVEL_FAILURE;
}

} // namespace

std::int32_t MARAVEL_CALL SetupCommonParams(char* errorText, std::int64_t channelID,
                                            const CommonParams* params) noexcept
{
    WriteLog(__LINE__, "%s: channelID=%lld\n", kName, static_cast<long long>(channelID));
    return HostCall({__LINE__, kName, "%s: ERROR. INVALID class pointer.",
                     "%s: ERROR. Invalid channelID=%lld. Available cameras=%d"},
                    errorText, channelID, [&](const ChannelCall& call) -> std::int32_t {
                        if (RejectNull(__LINE__, call, params)) {
                            return MARAVEL_FAILURE;
                        }
                        return SetUp(call, *params);
                    });
}

} // namespace maravel
