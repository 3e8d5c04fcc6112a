#include "Feature.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <string>
#include <system_error>

namespace maravel::simulated {

FeatureValue& Feature::Current()
{
    if (selector == nullptr || values.size() == 1) {
        return values.front();
    }
    const std::int64_t chosen = selector->Current().integer;
    for (std::size_t i = 0; i < selector->entries.size() && i < values.size(); ++i) {
        if (selector->entries[i].value == chosen) {
            return values[i];
        }
    }
    return values.front();
}

const EnumEntry* Feature::FindEntry(const char* entry) const
{
    for (const EnumEntry& known : entries) {
        if (known.name == entry) {
            return &known;
        }
    }
    return nullptr;
}

const EnumEntry* Feature::FindEntry(std::int64_t value) const
{
    for (const EnumEntry& known : entries) {
        if (known.value == value) {
            return &known;
        }
    }
    return nullptr;
}

const char* Feature::EntryName() const
{
    const EnumEntry* entry = FindEntry(Int());
    return entry == nullptr ? "" : entry->name.c_str();
}

Feature& FeatureSet::Add(Feature feature)
{
    features_.push_back(std::make_unique<Feature>(std::move(feature)));
    return *features_.back();
}

void FeatureSet::Hide(const std::string& name)
{
    const auto found = std::find_if(features_.begin(), features_.end(),
                                    [&name](const auto& feature) { return feature->name == name; });
    hidden_.push_back(std::move(*found));
    features_.erase(found);
}

Feature* FeatureSet::Find(const char* name) const
{
    for (const auto& feature : features_) {
        if (feature->name == name) {
            return feature.get();
        }
    }
    return nullptr;
}

Feature& FeatureSet::At(const char* name) const
{
    for (const auto& feature : hidden_) {
        if (feature->name == name) {
            return *feature;
        }
    }
    return *Find(name);
}

bool FeatureSet::IsReadable(const Feature& feature) const
{
    return feature.readable && feature.type != ZvkFeatureDataCommand && feature.IsAvailable();
}

bool FeatureSet::IsWritable(const Feature& feature) const
{
    return feature.writable && feature.IsAvailable() && !(streaming_ && feature.lockedByStreaming) &&
           (!feature.writableNow || feature.writableNow());
}

ZvkError_t FeatureSet::CheckRead(const Feature& feature, ZvkFeatureDataType type) const
{
    if (feature.type != type) {
        return ZvkErrorWrongType;
    }
    if (!feature.IsAvailable()) {
        return ZvkErrorNotAvailable;
    }
    return feature.readable ? ZvkErrorSuccess : ZvkErrorInvalidAccess;
}

ZvkError_t FeatureSet::CheckWrite(const Feature& feature, ZvkFeatureDataType type) const
{
    if (feature.type != type) {
        return ZvkErrorWrongType;
    }
    if (!feature.IsAvailable()) {
        return ZvkErrorNotAvailable;
    }
    return IsWritable(feature) ? ZvkErrorSuccess : ZvkErrorInvalidAccess;
}

void FeatureSet::Written(Feature& feature)
{
    if (feature.written) {
        feature.written();
    }
    if (!changed) {
        return;
    }
    changed(feature.name.c_str());
    for (const std::string& name : feature.influences) {
        changed(name.c_str());
    }
    for (const auto& other : features_) {
        if (other->selector == &feature) {
            changed(other->name.c_str());
        }
    }
}

ZvkError_t FeatureSet::GetInt(const Feature& feature, std::int64_t* value) const
{
    const ZvkError_t error = CheckRead(feature, ZvkFeatureDataInt);
    if (error == ZvkErrorSuccess) {
        *value = feature.Int();
    }
    return error;
}

ZvkError_t FeatureSet::StoreInt(Feature& feature, std::int64_t value)
{
    const auto range = feature.IntRange();
    if (value < range.minimum || value > range.maximum) {
        return ZvkErrorInvalidValue;
    }
    // Unsigned, because the distance from the smallest of all minimums does not fit.
    const auto distance = static_cast<std::uint64_t>(value) - static_cast<std::uint64_t>(range.minimum);
    if (feature.increment > 1 && distance % static_cast<std::uint64_t>(feature.increment) != 0) {
        return ZvkErrorInvalidValue;
    }
    const auto& valid = feature.validValues;
    if (!valid.empty() && std::find(valid.begin(), valid.end(), value) == valid.end()) {
        return ZvkErrorInvalidValue;
    }
    feature.Current().integer = value;
    Written(feature);
    return ZvkErrorSuccess;
}

ZvkError_t FeatureSet::SetInt(Feature& feature, std::int64_t value)
{
    const ZvkError_t error = CheckWrite(feature, ZvkFeatureDataInt);
    return error == ZvkErrorSuccess ? StoreInt(feature, value) : error;
}

ZvkError_t FeatureSet::GetFloat(const Feature& feature, double* value) const
{
    const ZvkError_t error = CheckRead(feature, ZvkFeatureDataFloat);
    if (error == ZvkErrorSuccess) {
        *value = feature.Float();
    }
    return error;
}

ZvkError_t FeatureSet::StoreFloat(Feature& feature, double value)
{
    const auto range = feature.FloatRange();
    if (!(value >= range.minimum && value <= range.maximum)) { // refuses what is not a number, too
        return ZvkErrorInvalidValue;
    }
    feature.Current().real = value;
    Written(feature);
    return ZvkErrorSuccess;
}

ZvkError_t FeatureSet::SetFloat(Feature& feature, double value)
{
    const ZvkError_t error = CheckWrite(feature, ZvkFeatureDataFloat);
    return error == ZvkErrorSuccess ? StoreFloat(feature, value) : error;
}

ZvkError_t FeatureSet::GetEnum(const Feature& feature, const char** value) const
{
    const ZvkError_t error = CheckRead(feature, ZvkFeatureDataEnum);
    if (error == ZvkErrorSuccess) {
        *value = feature.EntryName();
    }
    return error;
}

ZvkError_t FeatureSet::StoreEnum(Feature& feature, const char* value)
{
    const EnumEntry* entry = feature.FindEntry(value);
    if (entry == nullptr || (entry->available && !entry->available())) {
        return ZvkErrorInvalidValue;
    }
    feature.Current().integer = entry->value;
    Written(feature);
    return ZvkErrorSuccess;
}

ZvkError_t FeatureSet::SetEnum(Feature& feature, const char* value)
{
    const ZvkError_t error = CheckWrite(feature, ZvkFeatureDataEnum);
    return error == ZvkErrorSuccess ? StoreEnum(feature, value) : error;
}

ZvkError_t FeatureSet::GetBool(const Feature& feature, ZvkBool_t* value) const
{
    const ZvkError_t error = CheckRead(feature, ZvkFeatureDataBool);
    if (error == ZvkErrorSuccess) {
        *value = feature.Int() != 0 ? 1 : 0;
    }
    return error;
}

ZvkError_t FeatureSet::SetBool(Feature& feature, ZvkBool_t value)
{
    const ZvkError_t error = CheckWrite(feature, ZvkFeatureDataBool);
    if (error != ZvkErrorSuccess) {
        return error;
    }
    feature.Current().integer = value != 0 ? 1 : 0;
    Written(feature);
    return ZvkErrorSuccess;
}

const std::string* FeatureSet::GetText(const Feature& feature, ZvkFeatureDataType type,
                                       ZvkError_t* code) const
{
    *code = CheckRead(feature, type);
    return *code == ZvkErrorSuccess ? &feature.Current().text : nullptr;
}

ZvkError_t FeatureSet::StoreText(Feature& feature, const char* value, std::size_t length)
{
    const bool fits =
        feature.type == ZvkFeatureDataRaw ? length == feature.maxLength : length < feature.maxLength;
    if (!fits) {
        return ZvkErrorInvalidValue;
    }
    feature.Current().text.assign(value, length);
    Written(feature);
    return ZvkErrorSuccess;
}

ZvkError_t FeatureSet::SetText(Feature& feature, ZvkFeatureDataType type, const char* value,
                               std::size_t length)
{
    const ZvkError_t error = CheckWrite(feature, type);
    return error == ZvkErrorSuccess ? StoreText(feature, value, length) : error;
}

ZvkError_t FeatureSet::Run(Feature& feature)
{
    const ZvkError_t error = CheckWrite(feature, ZvkFeatureDataCommand);
    if (error != ZvkErrorSuccess) {
        return error;
    }
    Finish(feature);
    if (feature.running) {
        return ZvkErrorBusy;
    }
    const ZvkError_t result = feature.run ? feature.run() : ZvkErrorSuccess;
    if (result != ZvkErrorSuccess) {
        return result;
    }
    feature.running = true;
    feature.doneAt = std::chrono::steady_clock::now() + feature.duration;
    if (feature.duration.count() == 0) {
        Finish(feature);
    }
    Written(feature);
    return ZvkErrorSuccess;
}

// A command ends when its time is over and somebody looks.
void FeatureSet::Finish(Feature& feature)
{
    if (!feature.running || std::chrono::steady_clock::now() < feature.doneAt) {
        return;
    }
    if (held && held(feature.name.c_str())) {
        return;
    }
    feature.running = false;
    if (feature.finished) {
        feature.finished();
    }
}

ZvkError_t FeatureSet::IsDone(Feature& feature, ZvkBool_t* done)
{
    if (feature.type != ZvkFeatureDataCommand) {
        return ZvkErrorWrongType;
    }
    if (!feature.IsAvailable()) {
        return ZvkErrorNotAvailable;
    }
    Finish(feature);
    *done = feature.running || (held && held(feature.name.c_str())) ? 0 : 1;
    return ZvkErrorSuccess;
}

std::string FeatureSet::ValueText(const Feature& feature) const
{
    switch (feature.type) {
    case ZvkFeatureDataInt:
        return std::to_string(feature.Int());
    case ZvkFeatureDataFloat: {
        std::array<char, 40> digits{};
        const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), feature.Float()).ptr;
        return std::string(digits.data(), end);
    }
    case ZvkFeatureDataEnum:
        return feature.EntryName();
    case ZvkFeatureDataBool:
        return feature.Int() != 0 ? "true" : "false";
    case ZvkFeatureDataString:
        return feature.Current().text;
    default:
        return {};
    }
}

ZvkError_t FeatureSet::SetValueText(Feature& feature, const char* text)
{
    const char* const end = text + std::strlen(text);
    const auto parsed = [text, end](auto* value) {
        const auto [stop, error] = std::from_chars(text, end, *value);
        return error == std::errc() && stop == end;
    };
    switch (feature.type) {
    case ZvkFeatureDataInt: {
        std::int64_t value = 0;
        return parsed(&value) ? StoreInt(feature, value) : ZvkErrorInvalidValue;
    }
    case ZvkFeatureDataFloat: {
        double value = 0;
        return parsed(&value) ? StoreFloat(feature, value) : ZvkErrorInvalidValue;
    }
    case ZvkFeatureDataEnum:
        return StoreEnum(feature, text);
    case ZvkFeatureDataBool:
        if (std::strcmp(text, "true") != 0 && std::strcmp(text, "false") != 0) {
            return ZvkErrorInvalidValue;
        }
        feature.Current().integer = text[0] == 't' ? 1 : 0;
        Written(feature);
        return ZvkErrorSuccess;
    case ZvkFeatureDataString:
        return StoreText(feature, text, std::strlen(text));
    default:
        return ZvkErrorWrongType;
    }
}

FeatureSet::Snapshot FeatureSet::Save() const
{
    Snapshot snapshot;
    for (const auto& feature : features_) {
        snapshot.push_back(feature->values);
    }
    return snapshot;
}

void FeatureSet::Restore(const Snapshot& snapshot)
{
    for (std::size_t i = 0; i < snapshot.size() && i < features_.size(); ++i) {
        features_[i]->values = snapshot[i];
    }
    if (changed) {
        for (const auto& feature : features_) {
            changed(feature->name.c_str());
        }
    }
}

ZvkFeatureInfo_t FeatureInfo(const Feature& feature)
{
    ZvkFeatureInfo_t info{};
    info.name = feature.name.c_str();
    info.category = feature.category.c_str();
    info.displayName = feature.displayName.c_str();
    info.sfncNamespace = "Standard";
    info.description = feature.description.c_str();
    info.tooltip = feature.description.c_str();
    info.unit = feature.unit.c_str();
    info.representation = "";
    info.featureDataType = feature.type;
    info.featureFlags = (feature.readable ? 1U : 0U) | (feature.writable ? 2U : 0U);
    info.isStreamable = feature.writable && feature.type != ZvkFeatureDataCommand ? 1 : 0;
    info.hasSelectedFeatures = feature.hasSelected ? 1 : 0;
    return info;
}

} // namespace maravel::simulated
