#include "FeatureBuilder.h"

#include <cctype>

namespace maravel::simulated {
namespace {

// "ExposureTime" is shown as "Exposure Time".
std::string DisplayName(const std::string& name)
{
    std::string text;
    for (std::size_t i = 0; i < name.size(); ++i) {
        const bool upper = std::isupper(static_cast<unsigned char>(name[i])) != 0;
        if (upper && i > 0 && std::islower(static_cast<unsigned char>(name[i - 1])) != 0) {
            text += ' ';
        }
        text += name[i];
    }
    return text;
}

} // namespace

Feature& FeatureBuilder::Add(const char* name, ZvkFeatureDataType type, const char* description)
{
    Feature feature;
    feature.name = name;
    feature.category = category_;
    feature.displayName = DisplayName(name);
    feature.description = description;
    feature.type = type;
    return set_.Add(std::move(feature));
}

Feature& FeatureBuilder::Int(const char* name, std::int64_t value, Range<std::int64_t> range,
                             std::int64_t increment, const char* unit, const char* description)
{
    Feature& feature = Add(name, ZvkFeatureDataInt, description);
    feature.values[0].integer = value;
    feature.intRange = range;
    feature.increment = increment;
    feature.unit = unit;
    return feature;
}

Feature& FeatureBuilder::Float(const char* name, double value, Range<double> range, const char* unit,
                               const char* description)
{
    Feature& feature = Add(name, ZvkFeatureDataFloat, description);
    feature.values[0].real = value;
    feature.floatRange = range;
    feature.unit = unit;
    return feature;
}

Feature& FeatureBuilder::Enum(const char* name, const char* value, std::initializer_list<const char*> entries,
                              const char* description)
{
    std::vector<EnumEntry> numbered;
    for (const char* entry : entries) {
        numbered.push_back({entry, static_cast<std::int64_t>(numbered.size()), {}});
    }
    return Enum(name, value, std::move(numbered), description);
}

Feature& FeatureBuilder::Enum(const char* name, const char* value, std::vector<EnumEntry> entries,
                              const char* description)
{
    Feature& feature = Add(name, ZvkFeatureDataEnum, description);
    feature.entries = std::move(entries);
    const EnumEntry* entry = feature.FindEntry(value);
    feature.values[0].integer = entry == nullptr ? feature.entries.front().value : entry->value;
    return feature;
}

Feature& FeatureBuilder::Bool(const char* name, bool value, const char* description)
{
    Feature& feature = Add(name, ZvkFeatureDataBool, description);
    feature.values[0].integer = value ? 1 : 0;
    return feature;
}

Feature& FeatureBuilder::String(const char* name, const std::string& value, const char* description)
{
    Feature& feature = Add(name, ZvkFeatureDataString, description);
    feature.values[0].text = value;
    return feature;
}

Feature& FeatureBuilder::Command(const char* name, std::uint32_t durationMs, const char* description)
{
    Feature& feature = Add(name, ZvkFeatureDataCommand, description);
    feature.readable = false;
    feature.duration = std::chrono::milliseconds(durationMs);
    return feature;
}

Feature& FeatureBuilder::Raw(const char* name, std::uint32_t length, const char* description)
{
    Feature& feature = Add(name, ZvkFeatureDataRaw, description);
    feature.values[0].text.assign(length, '\0');
    feature.maxLength = length;
    return feature;
}

Feature& FeatureBuilder::FixedInt(const char* name, std::int64_t value, const char* description)
{
    Feature& feature = Int(name, value, {value, value}, 1, "", description);
    feature.writable = false;
    return feature;
}

Feature& FeatureBuilder::FixedString(const char* name, const std::string& value, const char* description)
{
    Feature& feature = String(name, value, description);
    feature.writable = false;
    return feature;
}

Feature& FeatureBuilder::FixedEnum(const char* name, const char* value,
                                   std::initializer_list<const char*> entries, const char* description)
{
    Feature& feature = Enum(name, value, entries, description);
    feature.writable = false;
    return feature;
}

Feature& FeatureBuilder::SelectedBy(Feature& feature, Feature& selector)
{
    feature.selector = &selector;
    feature.values.assign(selector.entries.size(), feature.values.front());
    selector.hasSelected = true;
    return feature;
}

} // namespace maravel::simulated
