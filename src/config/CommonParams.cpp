// The host's one-call set-up of a camera: exposure, triggers, region of interest.
#include "core/Callbacks.h"
#include "core/CameraAccess.h"
#include "sdk/Names.h"

#include <algorithm>
#include <string_view>

namespace maravel {

namespace {

constexpr const char* kSetup = "SetupCommonParams";

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
    if (!call.channel.bExposureTimeAvail && !call.channel.bExposureTimeAbsAvail) {
        return ZvkErrorSuccess;
    }
    const char* feature = call.channel.bExposureTimeAvail ? "ExposureTime" : "ExposureTimeAbs";
    const double microseconds = seconds * MicrosecondsPerSecond;
    const ZvkError_t result = call.api.ZvkFeatureFloatSet(call.channel.cameraHandle, feature, microseconds);
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR. ZvkFeatureFloatSet %s failed. ChannelID=%lld. Reason=%s (%d)", kSetup,
                    feature, call.channelID, ErrorCodeName(result), result);
    }
    else {
        WriteLog(__LINE__, "%s: INFO: %s set to: %fus.\n", kSetup, feature, microseconds);
    }
    return result;
}

struct TriggerModeRow
{
    std::int32_t acqContinuous;
    std::int32_t acqTriggered;
    TriggerModeValue mode;
    const char* name;
};
constexpr TriggerModeRow kTriggerModes[] = {
    {0, 0, TriggerModeManual, "MANUAL"},
    {1, 0, TriggerModeFreerun, "FREERUN"},
    {1, 1, TriggerModeHardwareAuto, "HARDWARE AUTO"},
    {0, 1, TriggerModeHardwareSemiAuto, "HARDWARE SEMI-AUTO"},
};

// Flags other than 0 and 1 name no mode, and the channel keeps the one it has.
void RecordTriggerMode(VideoChannelData& channel, const CommonParams& params)
{
    WriteLog(__LINE__, "%s: INFO: acqContinuous=%d, acqTriggered=%d, acqTriggerLowToHigh=%d\n", kSetup,
             params.acqContinuous, params.acqTriggered, params.acqTriggerLowToHigh);
    for (const TriggerModeRow& row : kTriggerModes) {
        if (row.acqContinuous == params.acqContinuous && row.acqTriggered == params.acqTriggered) {
            WriteLog(__LINE__, "%s: INFO: Trigger Mode = '%s'\n", kSetup, row.name);
            channel.triggerMode = row.mode;
        }
    }
}

// Writes an enumeration feature's entry, and says under the setter's name how that went.
bool SetEntry(unsigned line, const ChannelCall& call, const char* setter, const char* feature,
              const char* entry)
{
    const ZvkError_t result = call.api.ZvkFeatureEnumSet(call.channel.cameraHandle, feature, entry);
    if (result != ZvkErrorSuccess) {
        return ReportError(line, call.errorText,
                           "%s: ERROR. ZvkFeatureEnumSet %s failed. ChannelID=%lld. Reason=%s (%d)", setter,
                           feature, call.channelID, ErrorCodeName(result), result);
    }
    WriteLog(line, "%s: Set to '%s'\n", setter, entry);
    return true;
}

// Setters of one enumeration feature each. They report a failure under their own names and otherwise never
// fail their caller; the boolean ones tell whether the entry was written.

// Needs TriggerSource, without which a camera's triggers cannot be told apart.
bool SetTriggerSelector(const ChannelCall& call, const char* selector)
{
    if (!call.channel.bTriggerSourceAvail) {
        WriteLog(__LINE__, "%s: WARNING. TriggerSelector not supported.\n", "SetTriggerSelector");
        return false;
    }
    return SetEntry(__LINE__, call, "SetTriggerSelector", "TriggerSelector", selector);
}

bool SetTriggerMode(const ChannelCall& call, bool on)
{
    return call.channel.bTriggerModeAvail &&
           SetEntry(__LINE__, call, "SetTriggerMode", "TriggerMode", on ? "On" : "Off");
}

bool SetExposureMode(const ChannelCall& call, bool timed)
{
    return call.channel.bExposureModeAvail &&
           SetEntry(__LINE__, call, "SetExposureMode", "ExposureMode", timed ? "Timed" : "Off");
}

// Only for a camera that has TriggerSource.
void SetTriggerSource(const ChannelCall& call)
{
    SetEntry(__LINE__, call, "SetTriggerSource", "TriggerSource", "Software");
}

// To "Line0" if the source is "Software" or "Freerun"; a line that the user chose stays. Only for a camera
// that has TriggerSource.
void ResetTriggerSource(const ChannelCall& call)
{
    constexpr const char* kSetter = "ResetTriggerSource";
    const char* current = nullptr;
    const ZvkError_t result =
        call.api.ZvkFeatureEnumGet(call.channel.cameraHandle, "TriggerSource", &current);
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR. ZvkFeatureEnumGet TriggerSource failed. ChannelID=%lld. Reason=%s (%d)",
                    kSetter, call.channelID, ErrorCodeName(result), result);
        return;
    }
    const std::string_view source = TextOrEmpty(current);
    if (source == "Software" || source == "Freerun") {
        SetEntry(__LINE__, call, kSetter, "TriggerSource", "Line0");
    }
}

void SetAcquisitionMode(const ChannelCall& call)
{
    SetEntry(__LINE__, call, "SetAcquisitionMode", "AcquisitionMode", "Continuous");
}

void SetTriggerActivation(const ChannelCall& call, bool lowToHigh)
{
    if (!call.channel.bTriggerActivationAvail) {
        WriteLog(__LINE__, "%s: WARNING. TriggerActivation not supported.\n", "SetTriggerActivation");
        return;
    }
    SetEntry(__LINE__, call, "SetTriggerActivation", "TriggerActivation",
             lowToHigh ? "RisingEdge" : "FallingEdge");
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

// One direction of the region of interest: its features, and what the host wants of it.
struct Axis
{
    const char* offsetFeature;
    const char* sizeFeature;
    const char* maximumFeature;
    std::int32_t offset;
    std::int32_t size;
};

// Reports a write that is only warned of.
void Warn(unsigned line, const ChannelCall& call, const char* feature, int value, ZvkError_t result)
{
    ReportError(line, call.errorText,
                "%s: WARNING. ZvkFeatureIntSet %s=%d failed. ChannelID=%lld. Reason=%s (%d)", kSetup, feature,
                value, call.channelID, ErrorCodeName(result), result);
}

// Notes a write that failed; only the first one since hardError was success is reported, and recorded there.
void NoteFailure(unsigned line, const ChannelCall& call, const char* feature, int value, ZvkError_t result,
                 ZvkError_t& hardError)
{
    if (result == ZvkErrorSuccess || hardError != ZvkErrorSuccess) {
        return;
    }
    ReportError(line, call.errorText,
                "%s: ERROR. ZvkFeatureIntSet %s=%d failed. ChannelID=%lld. Reason=%s (%d)", kSetup, feature,
                value, call.channelID, ErrorCodeName(result), result);
    hardError = result;
}

void ResetOffset(const ChannelCall& call, const Axis& axis)
{
    const ZvkError_t result = call.api.ZvkFeatureIntSet(call.channel.cameraHandle, axis.offsetFeature, 0);
    if (result != ZvkErrorSuccess) {
        Warn(__LINE__, call, axis.offsetFeature, 0, result);
    }
}

// Writes the size as the host wants it, but no larger than the camera's maximum.
void SetSize(const ChannelCall& call, const Axis& axis, ZvkError_t& hardError)
{
    const ZvkHandle_t camera = call.channel.cameraHandle;
    std::int32_t size = axis.size;
    std::int64_t maximum = 0;
    ZvkError_t result = call.api.ZvkFeatureIntGet(camera, axis.maximumFeature, &maximum);
    if (result != ZvkErrorSuccess) {
        WriteLog(__LINE__, "%s: WARNING. ZvkFeatureIntGet %s failed. ChannelID=%d. Reason=%s (%d)\n", kSetup,
                 axis.maximumFeature, call.ChannelNumber(), ErrorCodeName(result), result);
    }
    else {
        size = std::min(size, static_cast<std::int32_t>(maximum));
    }
    result = call.api.ZvkFeatureIntSet(camera, axis.sizeFeature, size);
    NoteFailure(__LINE__, call, axis.sizeFeature, size, result, hardError);
}

// A camera without offsets has nothing else to offer than 0.
void SetOffset(const ChannelCall& call, const Axis& axis, ZvkError_t& hardError)
{
    const ZvkError_t result =
        call.api.ZvkFeatureIntSet(call.channel.cameraHandle, axis.offsetFeature, axis.offset);
    if (result == ZvkErrorNotFound && axis.offset == 0 && hardError == ZvkErrorSuccess) {
        Warn(__LINE__, call, axis.offsetFeature, axis.offset, result);
        return;
    }
    NoteFailure(__LINE__, call, axis.offsetFeature, axis.offset, result, hardError);
}

// Writes the region of interest. Offsets go to 0 first, so that any size fits. Every write is tried.
void SetRegion(const ChannelCall& call, const CommonParams& params, ZvkError_t& hardError)
{
    WriteLog(__LINE__, "%s: INFO: roix=%d, roiy=%d, roiwidth=%d, roiheight=%d\n", kSetup, params.roix,
             params.roiy, params.roiwidth, params.roiheight);
    const Axis axes[] = {{"OffsetX", "Width", "WidthMax", params.roix, params.roiwidth},
                         {"OffsetY", "Height", "HeightMax", params.roiy, params.roiheight}};
    for (const Axis& axis : axes) {
        ResetOffset(call, axis);
    }
    for (const Axis& axis : axes) {
        SetSize(call, axis, hardError);
    }
    for (const Axis& axis : axes) {
        SetOffset(call, axis, hardError);
    }
}

bool SetUp(const ChannelCall& call, const CommonParams& params)
{
    const CameraOpening opening = OpenCameraIfClosed(call);
    if (opening == CameraOpening::Failed) {
        return false;
    }
    if (opening == CameraOpening::Opened) {
        GigEAdjustPacketSize(call.api, call.channel.cameraHandle);
    }
    const bool bExposureAutoOff = IsExposureAutoOff(call);
    WriteLog(__LINE__, "%s: bExposureAutoOff=%d\n", kSetup, bExposureAutoOff);
    LogAvailability(__LINE__, kSetup, call.channel);

    ZvkError_t hardError = bExposureAutoOff ? SetExposure(call, params.exposure) : ZvkErrorSuccess;
    RecordTriggerMode(call.channel, params);
    SetTriggers(call, params);
    SetRegion(call, params, hardError);
    return hardError == ZvkErrorSuccess;
}

} // namespace

std::int32_t MARAVEL_CALL SetupCommonParams(char* errorText, std::int64_t channelID,
                                            const CommonParams* params) noexcept
{
    WriteLog(__LINE__, "%s: channelID=%lld\n", kSetup, static_cast<long long>(channelID));
    return HostCall(
        {__LINE__, kSetup, NoSuchChannelText::Cameras, "SetupCommonParams: ERROR. INVALID class pointer."},
        errorText, channelID, {params}, [&](const ChannelCall& call) { return SetUp(call, *params); });
}

} // namespace maravel
