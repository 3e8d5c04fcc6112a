// Features by their names: values, read and written as text, and commands.
#include "core/Callbacks.h"
#include "core/CameraAccess.h"
#include "platform/Win32.h"
#include "sdk/Names.h"

#include <algorithm>
#include <cstring>

namespace maravel {

namespace {

constexpr const char* kRead = "ReadValue";
constexpr const char* kWrite = "WriteValue";
constexpr const char* kExecute = "ExecuteCommand";
constexpr std::int64_t kCommandLimitMilliseconds = 1000;

// The C locale, so that the host's own does not decide what a decimal point is.
class PlainLocale
{
public:
    PlainLocale() : locale_(_create_locale(LC_ALL, "C")) {}
    PlainLocale(const PlainLocale&) = delete;
    PlainLocale& operator=(const PlainLocale&) = delete;
    ~PlainLocale() { _free_locale(locale_); }

    double ParseFloat(const char* text) const { return _atof_l(text, locale_); }

private:
    _locale_t locale_;
};

// The feature by its name, with the camera open; null when either is not to be had, which is reported.
const ZvkFeatureInfo_t* ReachFeature(const ChannelCall& call, const char* name)
{
    if (OpenCameraIfClosed(call) == CameraOpening::Failed) {
        return nullptr;
    }
    const ZvkFeatureInfo_t* feature = call.channel.FindFeature(name);
    if (feature == nullptr) {
        ReportError(__LINE__, call.errorText, "%s: ERROR. Feature '%s' not found for channelID=%lld.",
                    call.operation, name, call.channelID);
    }
    return feature;
}

// The end of a read: success, or the report of a failure.
bool EndRead(unsigned line, const ChannelCall& call, const char* name, const char* type, ZvkError_t result)
{
    return result == ZvkErrorSuccess ||
           ReportError(line, call.errorText, "%s: ERROR for feature '%s' [%s]. Reason=%s (%d).", kRead, name,
                       type, ErrorCodeName(result), result);
}

// Reads a value of the type that the entry point gives, and has it printed if that succeeds.
template <class Value, class Print>
bool Read(unsigned line, const ChannelCall& call, const char* name, const char* type,
          ZvkError_t (*get)(ZvkHandle_t, const char*, Value*), Print print)
{
    Value value = {};
    const ZvkError_t result = get(call.channel.cameraHandle, name, &value);
    if (result == ZvkErrorSuccess) {
        print(value);
    }
    return EndRead(line, call, name, type, result);
}

bool ReadString(const ChannelCall& call, const char* name, char* text)
{
    std::uint32_t length = 0;
    const ZvkError_t result =
        call.api.ZvkFeatureStringGet(call.channel.cameraHandle, name, text, MARAVEL_TEXT_SIZE, &length);
    if (result == ZvkErrorSuccess) {
        text[MARAVEL_TEXT_SIZE - 1] = '\0';
    }
    return EndRead(__LINE__, call, name, "ZvkFeatureDataString", result);
}

bool ReadFeature(const ChannelCall& call, const char* name, char* text)
{
    const ZvkFeatureInfo_t* feature = ReachFeature(call, name);
    if (feature == nullptr) {
        return false;
    }
    switch (feature->featureDataType) {
    case ZvkFeatureDataInt:
        return Read(__LINE__, call, name, "ZvkFeatureDataInt", call.api.ZvkFeatureIntGet, [&](auto value) {
            FormatErrorText(text, MARAVEL_TEXT_SIZE, "%llu", static_cast<unsigned long long>(value));
        });
    case ZvkFeatureDataFloat:
        return Read(__LINE__, call, name, "ZvkFeatureDataFloat", call.api.ZvkFeatureFloatGet,
                    [&](auto value) { FormatErrorText(text, MARAVEL_TEXT_SIZE, "%f", value); });
    case ZvkFeatureDataEnum:
        return Read(__LINE__, call, name, "ZvkFeatureDataEnum", call.api.ZvkFeatureEnumGet,
                    [&](auto value) { CopyTextBounded(text, MARAVEL_TEXT_SIZE, value); });
    case ZvkFeatureDataString:
        return ReadString(call, name, text);
    case ZvkFeatureDataBool:
        return Read(__LINE__, call, name, "ZvkFeatureDataBool", call.api.ZvkFeatureBoolGet, [&](auto value) {
            CopyTextBounded(text, MARAVEL_TEXT_SIZE, value == 1 ? "True" : "False");
        });
    case ZvkFeatureDataCommand:
        return true; // a command has no value
    default:
        return ReportError(__LINE__, call.errorText, "%s: ERROR for feature '%s'. Unknown feature type=%d.",
                           kRead, name, static_cast<int>(feature->featureDataType));
    }
}

// Whether a number's range could be read; reports it when not.
bool HasRange(unsigned line, const ChannelCall& call, const char* name, const char* entry, ZvkError_t result)
{
    return result == ZvkErrorSuccess ||
           ReportError(line, call.errorText, "%s: ERROR. %s for feature '%s' failed. Reason=%s (%d).", kWrite,
                       entry, name, ErrorCodeName(result), result);
}

bool WriteInt(const ChannelCall& call, const char* name, const char* text)
{
    const ZvkHandle_t camera = call.channel.cameraHandle;
    std::int64_t minimum = 0;
    std::int64_t maximum = 0;
    if (!HasRange(__LINE__, call, name, "ZvkFeatureIntRangeQuery",
                  call.api.ZvkFeatureIntRangeQuery(camera, name, &minimum, &maximum))) {
        return false;
    }
    const auto wanted = static_cast<std::int64_t>(_strtoui64(text, nullptr, 10));
    const std::int64_t value = std::min(std::max(wanted, minimum), maximum);
    const ZvkError_t result = call.api.ZvkFeatureIntSet(camera, name, value);
    if (result != ZvkErrorSuccess) {
        return ReportError(__LINE__, call.errorText,
                           "%s: ERROR. ZvkFeatureIntSet for feature '%s' failed. Value=%llu. Reason=%s (%d).",
                           kWrite, name, static_cast<unsigned long long>(value), ErrorCodeName(result),
                           result);
    }
    WriteLog(__LINE__, "%s: '%s' set to '%d'\n", kWrite, name, static_cast<int>(value));
    return true;
}

bool WriteFloat(const ChannelCall& call, const char* name, const char* text)
{
    const ZvkHandle_t camera = call.channel.cameraHandle;
    double minimum = 0.0;
    double maximum = 0.0;
    if (!HasRange(__LINE__, call, name, "ZvkFeatureFloatRangeQuery",
                  call.api.ZvkFeatureFloatRangeQuery(camera, name, &minimum, &maximum))) {
        return false;
    }
    // In this order of operands a text that is not a number becomes the minimum.
    const double value = std::min(maximum, std::max(minimum, PlainLocale().ParseFloat(text)));
    const ZvkError_t result = call.api.ZvkFeatureFloatSet(camera, name, value);
    if (result != ZvkErrorSuccess) {
        return ReportError(__LINE__, call.errorText,
                           "%s: ERROR. ZvkFeatureFloatSet for feature '%s' failed. Value=%f. Reason=%s (%d).",
                           kWrite, name, value, ErrorCodeName(result), result);
    }
    WriteLog(__LINE__, "%s: ZvkFeatureDataFloat: '%s' set to '%f'\n", kWrite, name, value);
    return true;
}

// Reports a text that a feature does not take.
bool RefuseText(unsigned line, const ChannelCall& call, const char* entry, const char* name, const char* text,
                ZvkError_t result)
{
    return ReportError(line, call.errorText,
                       "%s: ERROR. %s for feature '%s' failed. Value='%s'. Reason=%s (%d).", kWrite, entry,
                       name, text, ErrorCodeName(result), result);
}

bool WriteEnum(const ChannelCall& call, const char* name, const char* text)
{
    const ZvkError_t result = call.api.ZvkFeatureEnumSet(call.channel.cameraHandle, name, text);
    if (result != ZvkErrorSuccess) {
        return RefuseText(__LINE__, call, "ZvkFeatureEnumSet", name, text, result);
    }
    WriteLog(__LINE__, " %s: ZvkFeatureDataEnum: '%s' set to '%s'\n", kWrite, name, text);
    return true;
}

bool WriteString(const ChannelCall& call, const char* name, const char* text)
{
    const ZvkError_t result = call.api.ZvkFeatureStringSet(call.channel.cameraHandle, name, text);
    if (result != ZvkErrorSuccess) {
        return RefuseText(__LINE__, call, "ZvkFeatureStringSet", name, text, result);
    }
    WriteLog(__LINE__, "%s(): ZvkFeatureDataString '%s' set to '%s'\n", kWrite, name, text);
    return true;
}

bool WriteBool(const ChannelCall& call, const char* name, const char* text)
{
    const ZvkBool_t value = std::strcmp(text, "True") == 0 ? 1 : 0;
    const ZvkError_t result = call.api.ZvkFeatureBoolSet(call.channel.cameraHandle, name, value);
    if (result != ZvkErrorSuccess) {
        return RefuseText(__LINE__, call, "ZvkFeatureDataBool", name, value != 0 ? "1" : "0", result);
    }
    WriteLog(__LINE__, "%s(): ZvkFeatureDataBool '%s' set to '%s'\n", kWrite, name, text);
    return true;
}

bool WriteFeature(const ChannelCall& call, const char* name, const char* text)
{
    const ZvkFeatureInfo_t* feature = ReachFeature(call, name);
    if (feature == nullptr) {
        return false;
    }
    switch (feature->featureDataType) {
    case ZvkFeatureDataInt:
        return WriteInt(call, name, text);
    case ZvkFeatureDataFloat:
        return WriteFloat(call, name, text);
    case ZvkFeatureDataEnum:
        return WriteEnum(call, name, text);
    case ZvkFeatureDataString:
        return WriteString(call, name, text);
    case ZvkFeatureDataBool:
        return WriteBool(call, name, text);
    case ZvkFeatureDataCommand:
        WriteLog(__LINE__, "%s: WARNING. ZvkFeatureDataCommand called (unhandeled).\n", kWrite);
        return false;
    default:
        WriteLog(__LINE__, "%s: WARNING. Unknown featureDataType (unhandeled).\n", kWrite);
        return false;
    }
}

bool Execute(const ChannelCall& call, const char* name)
{
    if (ReachFeature(call, name) == nullptr) {
        return false;
    }
    const ZvkHandle_t camera = call.channel.cameraHandle;
    const ZvkError_t result = call.api.ZvkFeatureCommandRun(camera, name);
    if (result != ZvkErrorSuccess) {
        return ReportError(__LINE__, call.errorText,
                           "%s: ERROR while executing command. ChannelID=%lld. Feature='%s'. Reason=%s (%d)",
                           kExecute, call.channelID, name, ErrorCodeName(result), result);
    }
    WriteLog(__LINE__, "%s: SUCCESS. ChannelID=%d. Feature='%s' executed.\n", kExecute, call.ChannelNumber(),
             name);
    if (AwaitCommand(call.api, camera, name, kCommandLimitMilliseconds) == CommandEnd::TimedOut) {
        WriteLog(__LINE__, "%s: ERROR. Timeout exceeded. ChannelID=%d. Feature='%s'.\n", kExecute,
                 call.ChannelNumber(), name);
    }
    return true;
}

} // namespace

std::int32_t MARAVEL_CALL ReadValue(char* errorText, std::int64_t channelID, const char* featureName,
                                    char* valueText) noexcept
{
    WriteLog(__LINE__, "%s: channelID=%lld, addr='%s'\n", kRead, static_cast<long long>(channelID),
             featureName);
    return HostCall({__LINE__, kRead, NoSuchChannelText::CapitalCameras}, errorText, channelID,
                    {featureName, valueText},
                    [&](const ChannelCall& call) { return ReadFeature(call, featureName, valueText); });
}

std::int32_t MARAVEL_CALL WriteValue(char* errorText, std::int64_t channelID, const char* featureName,
                                     const char* valueText) noexcept
{
    WriteLog(__LINE__, "%s: channelID=%lld, addr='%s', val='%s'\n", kWrite, static_cast<long long>(channelID),
             featureName, valueText);
    return HostCall({__LINE__, kWrite, NoSuchChannelText::Cameras}, errorText, channelID,
                    {featureName, valueText},
                    [&](const ChannelCall& call) { return WriteFeature(call, featureName, valueText); });
}

std::int32_t MARAVEL_CALL ExecuteCommand(char* errorText, std::int64_t channelID,
                                         const char* featureName) noexcept
{
    WriteLog(__LINE__, "%s: channelID=%lld, feature='%s'\n", kExecute, static_cast<long long>(channelID),
             featureName);
    return HostCall({__LINE__, kExecute, NoSuchChannelText::Cameras}, errorText, channelID, {featureName},
                    [&](const ChannelCall& call) { return Execute(call, featureName); });
}

} // namespace maravel
