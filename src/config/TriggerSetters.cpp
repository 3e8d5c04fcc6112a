#include "config/TriggerSetters.h"

#include "sdk/ResultNames.h"

#include <string_view>

namespace maravel {

namespace {

void LogEntrySet(unsigned line, const char* setter, const char* entry)
{
    WriteLog(line, "%s: Set to '%s'\n", setter, entry);
}

} // namespace

bool SetTriggerSelector(const ChannelCall& call, const char* selector)
{
    constexpr const char* kName = "SetTriggerSelector";
    if (!call.channel.bTriggerSourceAvail) {
        WriteLog(__LINE__, "%s: WARNING. TriggerSelector not supported.\n", kName);
        return false;
    }
    const ZvkError_t result =
        call.api.ZvkFeatureEnumSet(call.channel.cameraHandle, "TriggerSelector", selector);
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR. ZvkFeatureEnumSet TriggerSelector failed. ChannelID=%lld. Reason=%s (%d)",
                    kName, call.channelID, ErrorCodeName(result), result);
        return false;
    }
    LogEntrySet(__LINE__, kName, selector);
    return true;
}

bool SetTriggerMode(const ChannelCall& call, bool on)
{
    constexpr const char* kName = "SetTriggerMode";
    if (!call.channel.bTriggerModeAvail) {
        return false;
    }
    const char* entry = on ? "On" : "Off";
    const ZvkError_t result = call.api.ZvkFeatureEnumSet(call.channel.cameraHandle, "TriggerMode", entry);
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR. ZvkFeatureEnumSet TriggerMode failed. ChannelID=%lld. Reason=%s (%d)", kName,
                    call.channelID, ErrorCodeName(result), result);
        return false;
    }
    LogEntrySet(__LINE__, kName, entry);
    return true;
}

bool SetExposureMode(const ChannelCall& call, bool timed)
{
    constexpr const char* kName = "SetExposureMode";
    if (!call.channel.bExposureModeAvail) {
        return false;
    }
    const char* entry = timed ? "Timed" : "Off";
    const ZvkError_t result = call.api.ZvkFeatureEnumSet(call.channel.cameraHandle, "ExposureMode", entry);
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR. ZvkFeatureEnumSet ExposureMode failed. ChannelID=%lld. Reason=%s (%d)", kName,
                    call.channelID, ErrorCodeName(result), result);
        return false;
    }
    LogEntrySet(__LINE__, kName, entry);
    return true;
}

void SetTriggerSource(const ChannelCall& call)
{
    constexpr const char* kName = "SetTriggerSource";
    const ZvkError_t result =
        call.api.ZvkFeatureEnumSet(call.channel.cameraHandle, "TriggerSource", "Software");
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR. ZvkFeatureEnumSet TriggerSource failed. ChannelID=%lld. Reason=%s (%d)",
                    kName, call.channelID, ErrorCodeName(result), result);
        return;
    }
    LogEntrySet(__LINE__, kName, "Software");
}

void ResetTriggerSource(const ChannelCall& call)
{
    constexpr const char* kName = "ResetTriggerSource";
    const char* current = nullptr;
    ZvkError_t result = call.api.ZvkFeatureEnumGet(call.channel.cameraHandle, "TriggerSource", &current);
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR. ZvkFeatureEnumGet TriggerSource failed. ChannelID=%lld. Reason=%s (%d)",
                    kName, call.channelID, ErrorCodeName(result), result);
        return;
    }
    const std::string_view source = TextOrEmpty(current);
    if (source != "Software" && source != "Freerun") {
        return;
    }
    result = call.api.ZvkFeatureEnumSet(call.channel.cameraHandle, "TriggerSource", "Line0");
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR. ZvkFeatureEnumSet TriggerSource failed. ChannelID=%lld. Reason=%s (%d)",
                    kName, call.channelID, ErrorCodeName(result), result);
        return;
    }
    LogEntrySet(__LINE__, kName, "Line0");
}

void SetAcquisitionMode(const ChannelCall& call)
{
    constexpr const char* kName = "SetAcquisitionMode";
    const ZvkError_t result =
        call.api.ZvkFeatureEnumSet(call.channel.cameraHandle, "AcquisitionMode", "Continuous");
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR. ZvkFeatureEnumSet AcquisitionMode failed. ChannelID=%lld. Reason=%s (%d)",
                    kName, call.channelID, ErrorCodeName(result), result);
        return;
    }
    LogEntrySet(__LINE__, kName, "Continuous");
}

void SetTriggerActivation(const ChannelCall& call, bool lowToHigh)
{
    constexpr const char* kName = "SetTriggerActivation";
    if (!call.channel.bTriggerActivationAvail) {
        WriteLog(__LINE__, "%s: WARNING. TriggerActivation not supported.\n", kName);
        return;
    }
    const char* entry = lowToHigh ? "RisingEdge" : "FallingEdge";
    const ZvkError_t result =
        call.api.ZvkFeatureEnumSet(call.channel.cameraHandle, "TriggerActivation", entry);
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR. ZvkFeatureEnumSet TriggerActivation failed. ChannelID=%lld. Reason=%s (%d)",
                    kName, call.channelID, ErrorCodeName(result), result);
        return;
    }
    LogEntrySet(__LINE__, kName, entry);
}

} // namespace maravel
