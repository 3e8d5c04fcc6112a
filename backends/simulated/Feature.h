// A GenICam feature of a simulated module, and the set of features that a module has. Not locked: the
// library's lock guards them. Texts and features live as long as their set, which is until ZvkShutdown.
#pragma once

#include "sdk/ZvkTypes.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

namespace maravel::simulated {

struct EnumEntry
{
    std::string name;
    std::int64_t value = 0;
    std::function<bool()> available; // empty: always
};

// A value of any type: enumerations, booleans and integers in `integer`, texts and raw bytes in `text`.
struct FeatureValue
{
    std::int64_t integer = 0;
    double real = 0.0;
    std::string text;
};

template <typename T>
struct Range
{
    T minimum;
    T maximum;
};

struct Feature
{
    std::string name;
    std::string category;
    std::string displayName;
    std::string description;
    std::string unit;
    ZvkFeatureDataType type = ZvkFeatureDataUnknown;

    bool readable = true;
    bool writable = true;
    bool lockedByStreaming = false;      // not writable while the camera acquires
    std::function<bool()> available;     // empty: always
    std::function<bool()> writableNow;   // empty: always
    std::function<void()> written;       // follows a write
    std::vector<std::string> influences; // features whose value or limits a write may change

    // One value, or one for each entry of the selector.
    std::vector<FeatureValue> values = std::vector<FeatureValue>(1);
    const Feature* selector = nullptr;
    bool hasSelected = false;

    Range<std::int64_t> intRange{INT64_MIN, INT64_MAX};
    std::int64_t increment = 1;
    std::vector<std::int64_t> validValues; // empty: every value of the range
    std::function<Range<std::int64_t>()> intRangeNow;
    std::function<std::int64_t()> intNow; // a computed value; the stored one is not used then

    Range<double> floatRange{-1e308, 1e308};
    std::function<Range<double>()> floatRangeNow;
    std::function<double()> floatNow;

    std::vector<EnumEntry> entries;
    std::uint32_t maxLength = 64; // of texts, terminator included; of raw values, exactly

    // Commands: `run` is the start, `finished` follows once the time is over.
    std::chrono::milliseconds duration{0};
    std::function<ZvkError_t()> run;
    std::function<void()> finished;
    bool running = false;
    std::chrono::steady_clock::time_point doneAt{};

    FeatureValue& Current();
    const FeatureValue& Current() const { return const_cast<Feature*>(this)->Current(); }
    bool IsAvailable() const { return !available || available(); }
    const EnumEntry* FindEntry(const char* entry) const;
    const EnumEntry* FindEntry(std::int64_t value) const;
    Range<std::int64_t> IntRange() const
    {
        // What has one value and cannot be set moves with it.
        const bool fixed = !writable && intRange.minimum == intRange.maximum;
        return intRangeNow ? intRangeNow() : fixed ? Range<std::int64_t>{Int(), Int()} : intRange;
    }
    Range<double> FloatRange() const { return floatRangeNow ? floatRangeNow() : floatRange; }
    std::int64_t Int() const { return intNow ? intNow() : Current().integer; }
    double Float() const { return floatNow ? floatNow() : Current().real; }
    // The current entry's name; of an enumeration.
    const char* EntryName() const;
};

// The features of one module, in the order in which they are listed.
class FeatureSet
{
public:
    FeatureSet() = default;
    FeatureSet(const FeatureSet&) = delete;
    FeatureSet& operator=(const FeatureSet&) = delete;

    Feature& Add(Feature feature);
    // Takes a feature out of sight. Others may still count on it, so it lives on.
    void Hide(const std::string& name);
    Feature* Find(const char* name) const;
    // A feature that the caller knows to be there, hidden or not.
    Feature& At(const char* name) const;
    std::size_t Size() const { return features_.size(); }
    const Feature& operator[](std::size_t index) const { return *features_[index]; }

    // While locked, features that streaming locks are not writable.
    void SetStreaming(bool streaming) { streaming_ = streaming; }
    // Called with the name of every feature that a write may have changed.
    std::function<void(const char*)> changed;
    // Tells of a command that is held back from being done.
    std::function<bool(const char*)> held;

    // Access as the SDK's entry points have it.
    bool IsReadable(const Feature& feature) const;
    bool IsWritable(const Feature& feature) const;
    ZvkError_t GetInt(const Feature& feature, std::int64_t* value) const;
    ZvkError_t SetInt(Feature& feature, std::int64_t value);
    ZvkError_t GetFloat(const Feature& feature, double* value) const;
    ZvkError_t SetFloat(Feature& feature, double value);
    ZvkError_t GetEnum(const Feature& feature, const char** value) const;
    ZvkError_t SetEnum(Feature& feature, const char* value);
    ZvkError_t GetBool(const Feature& feature, ZvkBool_t* value) const;
    ZvkError_t SetBool(Feature& feature, ZvkBool_t value);
    // Null when not readable now; `code` says why.
    const std::string* GetText(const Feature& feature, ZvkFeatureDataType type, ZvkError_t* code) const;
    ZvkError_t SetText(Feature& feature, ZvkFeatureDataType type, const char* value, std::size_t length);
    ZvkError_t Run(Feature& feature);
    ZvkError_t IsDone(Feature& feature, ZvkBool_t* done);

    // Values as text, whatever the access (commands have none).
    std::string ValueText(const Feature& feature) const;
    // Parses and stores, within the feature's limits only.
    ZvkError_t SetValueText(Feature& feature, const char* text);

    // All stored values, to be put back later.
    using Snapshot = std::vector<std::vector<FeatureValue>>;
    Snapshot Save() const;
    void Restore(const Snapshot& snapshot);

private:
    ZvkError_t CheckRead(const Feature& feature, ZvkFeatureDataType type) const;
    ZvkError_t CheckWrite(const Feature& feature, ZvkFeatureDataType type) const;
    ZvkError_t StoreInt(Feature& feature, std::int64_t value);
    ZvkError_t StoreFloat(Feature& feature, double value);
    ZvkError_t StoreEnum(Feature& feature, const char* value);
    ZvkError_t StoreText(Feature& feature, const char* value, std::size_t length);
    void Written(Feature& feature);
    void Finish(Feature& feature);

    std::vector<std::unique_ptr<Feature>> features_;
    std::vector<std::unique_ptr<Feature>> hidden_;
    bool streaming_ = false;
};

// Fills the SDK's record of a feature.
ZvkFeatureInfo_t FeatureInfo(const Feature& feature);

} // namespace maravel::simulated
