// What a host can learn of a camera's features. None of these callbacks opens a closed camera.
#include "core/Callbacks.h"
#include "core/HostCall.h"
#include "sdk/Names.h"

#include <algorithm>
#include <iterator>
#include <vector>

namespace maravel {

namespace {

constexpr const char* kFeatureName = "GetFeatureName";
constexpr const char* kFeatureType = "GetFeatureType";
constexpr const char* kValidEnum = "GetValidEnum";
constexpr const char* kFeatureAttr = "GetFeatureAttr";

// More entries than this no enumeration has; an SDK that claims them is not believed.
constexpr std::uint32_t kMaxEntries = 65'536;

bool NameAt(const ChannelCall& call, std::int32_t listIndex, char* nameText)
{
    const VideoChannelData& channel = call.channel;
    if (listIndex < 0 || static_cast<std::size_t>(listIndex) >= channel.compatibleFeatures.size()) {
        return false;
    }
    const std::uint32_t featureIndex =
        channel.compatibleFeatures[static_cast<std::size_t>(listIndex)].featureIndex;
    if (featureIndex >= channel.featureCount) {
        return ReportError(__LINE__, call.errorText, "%s: ERROR. Invalid Zorvik feature index=%d.",
                           kFeatureName, static_cast<int>(featureIndex));
    }
    CopyTextBounded(nameText, MARAVEL_TEXT_SIZE, channel.featureInfo[featureIndex].name);
    return true;
}

// The host's type of each type of the SDK, by its number.
constexpr std::int32_t kHostTypes[] = {FeatureTypeUnsupported, FeatureTypeInt,    FeatureTypeFloat,
                                       FeatureTypeEnum,        FeatureTypeString, FeatureTypeBool,
                                       FeatureTypeCommand};
static_assert(std::size(kHostTypes) == ZvkFeatureDataCommand + 1);

bool TypeOf(const ChannelCall& call, const char* featureName, std::int32_t& featureType)
{
    const ZvkFeatureInfo_t* feature = call.channel.FindFeature(featureName);
    if (feature == nullptr) {
        return ReportError(__LINE__, call.errorText, "%s: ERROR. channelID=%lld. Feature '%s' not found.",
                           kFeatureType, call.channelID, featureName);
    }
    const std::uint32_t type = feature->featureDataType;
    featureType = type < std::size(kHostTypes) ? kHostTypes[type] : FeatureTypeUnsupported;
    return true;
}

// Asks for an enumeration's entries: their number when there is no room for any. Whether that succeeded.
bool QueryEntries(const ChannelCall& call, const char* featureName, const char** entries, std::uint32_t room,
                  std::uint32_t& count)
{
    const ZvkError_t result =
        call.api.ZvkFeatureEnumRangeQuery(call.channel.cameraHandle, featureName, entries, room, &count);
    return result == ZvkErrorSuccess ||
           ReportError(__LINE__, call.errorText,
                       "%s: ERROR. ZvkFeatureEnumRangeQuery failed for feature %s. Reason=%s (%d)",
                       kValidEnum, featureName, ErrorCodeName(result), result);
}

bool IsEntryAvailable(const ChannelCall& call, const char* featureName, const char* entry)
{
    ZvkBool_t isAvailable = 0;
    return entry != nullptr &&
           call.api.ZvkFeatureEnumIsAvailable(call.channel.cameraHandle, featureName, entry, &isAvailable) ==
               ZvkErrorSuccess &&
           isAvailable != 0;
}

bool ValidEntryAt(const ChannelCall& call, const char* featureName, std::uint32_t entryIndex, char* entryText)
{
    std::uint32_t count = 0;
    if (call.channel.FindFeature(featureName) == nullptr ||
        !QueryEntries(call, featureName, nullptr, 0, count)) {
        return false;
    }
    if (count > kMaxEntries) {
        return ReportError(__LINE__, call.errorText,
                           "%s: ERROR. The SDK lists %u entries of feature %s, more than %u.", kValidEnum,
                           count, featureName, kMaxEntries);
    }
    std::vector<const char*> entries(count, nullptr);
    std::uint32_t filled = 0;
    if (!QueryEntries(call, featureName, entries.data(), count, filled)) {
        return false;
    }
    entries.resize(std::min(filled, count)); // an SDK that claims more wrote no more than it had room for
    std::erase_if(entries, [&](const char* entry) { return !IsEntryAvailable(call, featureName, entry); });
    if (entryIndex >= entries.size()) {
        WriteLog(__LINE__, "%s: INFO: Feature '%s' : %d/%d entries marked as available.\n", kValidEnum,
                 featureName, static_cast<int>(entries.size()), static_cast<int>(filled));
        return false;
    }
    CopyTextBounded(entryText, MARAVEL_TEXT_SIZE, entries[entryIndex]);
    return true;
}

bool AttributeOf(const ChannelCall& call, const char* featureName, std::uint32_t attrKind, char* attrText)
{
    const ZvkFeatureInfo_t* feature = call.channel.FindFeature(featureName);
    if (feature == nullptr) {
        return ReportError(__LINE__, call.errorText, "%s: ERROR. channelID=%lld. Feature '%s' not found.",
                           kFeatureAttr, call.channelID, featureName);
    }
    if (attrKind == FeatureAttrDescription) {
        CopyTextBounded(attrText, MARAVEL_TEXT_SIZE, feature->description);
        return true;
    }
    if (attrKind != FeatureAttrReadable && attrKind != FeatureAttrWritable) {
        return true;
    }
    ZvkBool_t isReadable = 0;
    ZvkBool_t isWriteable = 0;
    const ZvkError_t result =
        call.api.ZvkFeatureAccessQuery(call.channel.cameraHandle, featureName, &isReadable, &isWriteable);
    const bool asksRead = attrKind == FeatureAttrReadable;
    if (result != ZvkErrorSuccess) {
        isReadable = 0;
        isWriteable = 0;
        WriteLog(__LINE__, "%s: ERROR while querying %s feature access for '%s': Reason=%s (%d)\n",
                 kFeatureAttr, asksRead ? "read" : "write", featureName, ErrorCodeName(result), result);
    }
    CopyTextBounded(attrText, MARAVEL_TEXT_SIZE,
                    (asksRead ? isReadable : isWriteable) == 1 ? "True" : "False");
    return true;
}

} // namespace

std::int32_t MARAVEL_CALL GetFeatureName(char* errorText, std::int64_t channelID, std::int32_t listIndex,
                                         char* nameText) noexcept
{
    return HostCall({__LINE__, kFeatureName, NoSuchChannelText::CapitalCamerasPeriod}, errorText, channelID,
                    {nameText}, [&](const ChannelCall& call) { return NameAt(call, listIndex, nameText); });
}

std::int32_t MARAVEL_CALL GetFeatureType(char* errorText, std::int64_t channelID, const char* featureName,
                                         std::int32_t* featureType) noexcept
{
    return HostCall({__LINE__, kFeatureType, NoSuchChannelText::Cameras}, errorText, channelID,
                    {featureName, featureType},
                    [&](const ChannelCall& call) { return TypeOf(call, featureName, *featureType); });
}

std::int32_t MARAVEL_CALL GetValidEnum(char* errorText, std::int64_t channelID, const char* featureName,
                                       std::uint32_t entryIndex, char* entryText) noexcept
{
    return HostCall({__LINE__, kValidEnum, NoSuchChannelText::CamerasPeriod}, errorText, channelID,
                    {featureName, entryText}, [&](const ChannelCall& call) {
                        return ValidEntryAt(call, featureName, entryIndex, entryText);
                    });
}

std::int32_t MARAVEL_CALL GetFeatureAttr(char* errorText, std::int64_t channelID, const char* featureName,
                                         std::uint32_t attrKind, char* attrText) noexcept
{
    return HostCall({__LINE__, kFeatureAttr, NoSuchChannelText::CamerasPeriod}, errorText, channelID,
                    {featureName, attrText}, [&](const ChannelCall& call) {
                        return AttributeOf(call, featureName, attrKind, attrText);
                    });
}

} // namespace maravel
