#include "config/TriggerSetters.h"

#include "sdk/Names.h"

#include <string_view>

namespace maravel {

namespace {

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

} // namespace

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

void SetTriggerSource(const ChannelCall& call)
{
    SetEntry(__LINE__, call, "SetTriggerSource", "TriggerSource", "Software");
}

void ResetTriggerSource(const ChannelCall& call)
{
    constexpr const char* kName = "ResetTriggerSource";
    const char* current = nullptr;
    const ZvkError_t result =
        call.api.ZvkFeatureEnumGet(call.channel.cameraHandle, "TriggerSource", &current);
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR. ZvkFeatureEnumGet TriggerSource failed. ChannelID=%lld. Reason=%s (%d)",
                    kName, call.channelID, ErrorCodeName(result), result);
        return;
    }
    const std::string_view source = TextOrEmpty(current);
    if (source == "Software" || source == "Freerun") {
        SetEntry(__LINE__, call, kName, "TriggerSource", "Line0");
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

} // namespace maravel
