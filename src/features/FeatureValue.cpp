#include "features/FeatureValue.h"

#include "adapter/CameraAccess.h"
#include "diag/TextFormat.h"
#include "features/FeatureLookup.h"
#include "platform/Win32.h"
#include "sdk/ResultNames.h"

#include <algorithm>
#include <cstring>

namespace maravel {

namespace {

constexpr const char* kRead = "ReadValue";
constexpr const char* kWrite = "WriteValue";

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

std::int32_t ReadInt(const ChannelCall& call, const char* name, char* text)
{
    std::int64_t value = 0;
    const ZvkError_t result = call.api.ZvkFeatureIntGet(call.channel.cameraHandle, name, &value);
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR for feature '%s' [ZvkFeatureDataInt]. Reason=%s (%d).", kRead, name,
                    ErrorCodeName(result), result);
        return MARAVEL_FAILURE;
    }
    FormatTextInto(text, MARAVEL_TEXT_SIZE, "%llu", static_cast<unsigned long long>(value));
    return MARAVEL_SUCCESS;
}

std::int32_t ReadFloat(const ChannelCall& call, const char* name, char* text)
{
    double value = 0.0;
    const ZvkError_t result = call.api.ZvkFeatureFloatGet(call.channel.cameraHandle, name, &value);
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR for feature '%s' [ZvkFeatureDataFloat]. Reason=%s (%d).", kRead, name,
                    ErrorCodeName(result), result);
        return MARAVEL_FAILURE;
    }
    FormatTextInto(text, MARAVEL_TEXT_SIZE, "%f", value);
    return MARAVEL_SUCCESS;
}

std::int32_t ReadEnum(const ChannelCall& call, const char* name, char* text)
{
    const char* entry = nullptr;
    const ZvkError_t result = call.api.ZvkFeatureEnumGet(call.channel.cameraHandle, name, &entry);
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR for feature '%s' [ZvkFeatureDataEnum]. Reason=%s (%d).", kRead, name,
                    ErrorCodeName(result), result);
        return MARAVEL_FAILURE;
    }
    CopyTextBounded(text, MARAVEL_TEXT_SIZE, entry);
    return MARAVEL_SUCCESS;
}

std::int32_t ReadString(const ChannelCall& call, const char* name, char* text)
{
    std::uint32_t length = 0;
    const ZvkError_t result =
        call.api.ZvkFeatureStringGet(call.channel.cameraHandle, name, text, MARAVEL_TEXT_SIZE, &length);
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR for feature '%s' [ZvkFeatureDataString]. Reason=%s (%d).", kRead, name,
                    ErrorCodeName(result), result);
        return MARAVEL_FAILURE;
    }
    text[MARAVEL_TEXT_SIZE - 1] = '\0';
    return MARAVEL_SUCCESS;
}

std::int32_t ReadBool(const ChannelCall& call, const char* name, char* text)
{
    ZvkBool_t value = 0;
    const ZvkError_t result = call.api.ZvkFeatureBoolGet(call.channel.cameraHandle, name, &value);
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR for feature '%s' [ZvkFeatureDataBool]. Reason=%s (%d).", kRead, name,
                    ErrorCodeName(result), result);
        return MARAVEL_FAILURE;
    }
    CopyTextBounded(text, MARAVEL_TEXT_SIZE, value == 1 ? "True" : "False");
    return MARAVEL_SUCCESS;
}

std::int32_t ReadFeature(const ChannelCall& call, const ZvkFeatureInfo_t& feature, const char* name,
                         char* text)
{
    switch (feature.featureDataType) {
    case ZvkFeatureDataInt:
        return ReadInt(call, name, text);
    case ZvkFeatureDataFloat:
        return ReadFloat(call, name, text);
    case ZvkFeatureDataEnum:
        return ReadEnum(call, name, text);
    case ZvkFeatureDataString:
        return ReadString(call, name, text);
    case ZvkFeatureDataBool:
        return ReadBool(call, name, text);
    case ZvkFeatureDataCommand:
        return MARAVEL_SUCCESS; // a command has no value
    default:
        ReportError(__LINE__, call.errorText, "%s: ERROR for feature '%s'. Unknown feature type=%d.", kRead,
                    name, static_cast<int>(feature.featureDataType));
        return MARAVEL_FAILURE;
    }
}

std::int32_t WriteInt(const ChannelCall& call, const char* name, const char* text)
{
    const ZvkHandle_t camera = call.channel.cameraHandle;
    auto value = static_cast<std::int64_t>(_strtoui64(text, nullptr, 10));
    std::int64_t minimum = 0;
    std::int64_t maximum = 0;
    ZvkError_t result = call.api.ZvkFeatureIntRangeQuery(camera, name, &minimum, &maximum);
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR. ZvkFeatureIntRangeQuery for feature '%s' failed. Reason=%s (%d).", kWrite,
                    name, ErrorCodeName(result), result);
        return MARAVEL_FAILURE;
    }
    value = std::min(std::max(value, minimum), maximum);
    result = call.api.ZvkFeatureIntSet(camera, name, value);
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR. ZvkFeatureIntSet for feature '%s' failed. Value=%llu. Reason=%s (%d).",
                    kWrite, name, static_cast<unsigned long long>(value), ErrorCodeName(result), result);
        return MARAVEL_FAILURE;
    }
    WriteLog(__LINE__, "%s: '%s' set to '%d'\n", kWrite, name, static_cast<int>(value));
    return MARAVEL_SUCCESS;
}

std::int32_t WriteFloat(const ChannelCall& call, const char* name, const char* text)
{
    const ZvkHandle_t camera = call.channel.cameraHandle;
    double minimum = 0.0;
    double maximum = 0.0;
    ZvkError_t result = call.api.ZvkFeatureFloatRangeQuery(camera, name, &minimum, &maximum);
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR. ZvkFeatureFloatRangeQuery for feature '%s' failed. Reason=%s (%d).", kWrite,
                    name, ErrorCodeName(result), result);
        return MARAVEL_FAILURE;
    }
    // In this order of operands a text that is not a number becomes the minimum.
    const double value = std::min(maximum, std::max(minimum, PlainLocale().ParseFloat(text)));
    result = call.api.ZvkFeatureFloatSet(camera, name, value);
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR. ZvkFeatureFloatSet for feature '%s' failed. Value=%f. Reason=%s (%d).",
                    kWrite, name, value, ErrorCodeName(result), result);
        return MARAVEL_FAILURE;
    }
    WriteLog(__LINE__, "%s: ZvkFeatureDataFloat: '%s' set to '%f'\n", kWrite, name, value);
    return MARAVEL_SUCCESS;
}

std::int32_t WriteEnum(const ChannelCall& call, const char* name, const char* text)
{
    const ZvkError_t result = call.api.ZvkFeatureEnumSet(call.channel.cameraHandle, name, text);
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR. ZvkFeatureEnumSet for feature '%s' failed. Value='%s'. Reason=%s (%d).",
                    kWrite, name, text, ErrorCodeName(result), result);
        return MARAVEL_FAILURE;
    }
    WriteLog(__LINE__, " %s: ZvkFeatureDataEnum: '%s' set to '%s'\n", kWrite, name, text);
    return MARAVEL_SUCCESS;
}

std::int32_t WriteString(const ChannelCall& call, const char* name, const char* text)
{
    const ZvkError_t result = call.api.ZvkFeatureStringSet(call.channel.cameraHandle, name, text);
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR. ZvkFeatureStringSet for feature '%s' failed. Value='%s'. Reason=%s (%d).",
                    kWrite, name, text, ErrorCodeName(result), result);
        return MARAVEL_FAILURE;
    }
    WriteLog(__LINE__, "%s(): ZvkFeatureDataString '%s' set to '%s'\n", kWrite, name, text);
    return MARAVEL_SUCCESS;
}

std::int32_t WriteBool(const ChannelCall& call, const char* name, const char* text)
{
    const ZvkBool_t value = std::strcmp(text, "True") == 0 ? 1 : 0;
    const ZvkError_t result = call.api.ZvkFeatureBoolSet(call.channel.cameraHandle, name, value);
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, call.errorText,
                    "%s: ERROR. ZvkFeatureDataBool for feature '%s' failed. Value='%d'. Reason=%s (%d).",
                    kWrite, name, value, ErrorCodeName(result), result);
        return MARAVEL_FAILURE;
    }
    WriteLog(__LINE__, "%s(): ZvkFeatureDataBool '%s' set to '%s'\n", kWrite, name, text);
    return MARAVEL_SUCCESS;
}

std::int32_t WriteFeature(const ChannelCall& call, const ZvkFeatureInfo_t& feature, const char* name,
                          const char* text)
{
    switch (feature.featureDataType) {
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
        return MARAVEL_FAILURE;
    default:
        WriteLog(__LINE__, "%s: WARNING. Unknown featureDataType (unhandeled).\n", kWrite);
        return MARAVEL_FAILURE;
    }
}

// The feature by its name, with the camera open; null when either is not to be had, which is reported.
const ZvkFeatureInfo_t* ReachFeature(const ChannelCall& call, const char* name)
{
    if (OpenCameraIfClosed(call) == CameraOpening::Failed) {
        return nullptr;
    }
    const ZvkFeatureInfo_t* feature = FindFeature(call.channel, name);
    if (feature == nullptr) {
        ReportError(__LINE__, call.errorText, "%s: ERROR. Feature '%s' not found for channelID=%lld.",
                    call.operation, name, call.channelID);
    }
    return feature;
}

} // namespace

std::int32_t MARAVEL_CALL ReadValue(char* errorText, std::int64_t channelID, const char* featureName,
                                    char* valueText) noexcept
{
    WriteLog(__LINE__, "%s: channelID=%lld, addr='%s'\n", kRead, static_cast<long long>(channelID),
             featureName);
    return HostCall(
        {__LINE__, kRead, "%s: ERROR. Invalid class pointer.",
         "%s: ERROR. Invalid channelID=%lld. Available Cameras=%d"},
        errorText, channelID, [&](const ChannelCall& call) -> std::int32_t {
            if (RejectNull(__LINE__, call, featureName) || RejectNull(__LINE__, call, valueText)) {
                return MARAVEL_FAILURE;
            }
            const ZvkFeatureInfo_t* feature = ReachFeature(call, featureName);
            return feature != nullptr ? ReadFeature(call, *feature, featureName, valueText) : MARAVEL_FAILURE;
        });
}

std::int32_t MARAVEL_CALL WriteValue(char* errorText, std::int64_t channelID, const char* featureName,
                                     const char* valueText) noexcept
{
    WriteLog(__LINE__, "%s: channelID=%lld, addr='%s', val='%s'\n", kWrite, static_cast<long long>(channelID),
             featureName, valueText);
    return HostCall({__LINE__, kWrite, "%s: ERROR. Invalid class pointer.",
                     "%s: ERROR. Invalid channelID=%lld. Available cameras=%d"},
                    errorText, channelID, [&](const ChannelCall& call) -> std::int32_t {
                        if (RejectNull(__LINE__, call, featureName) ||
                            RejectNull(__LINE__, call, valueText)) {
                            return MARAVEL_FAILURE;
                        }
                        const ZvkFeatureInfo_t* feature = ReachFeature(call, featureName);
                        return feature != nullptr ? WriteFeature(call, *feature, featureName, valueText)
                                                  : MARAVEL_FAILURE;
                    });
}

} // namespace maravel
