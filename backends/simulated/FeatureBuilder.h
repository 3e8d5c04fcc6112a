// Makes features in a set, a line each, for the code that lists a module's features.
#pragma once

#include "Feature.h"

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace maravel::simulated {

class FeatureBuilder
{
public:
    explicit FeatureBuilder(FeatureSet& set) : set_(set) {}

    void Category(const char* category) { category_ = category; }

    Feature& Int(const char* name, std::int64_t value, Range<std::int64_t> range, std::int64_t increment,
                 const char* unit, const char* description);
    Feature& Float(const char* name, double value, Range<double> range, const char* unit,
                   const char* description);
    // Entries have the values 0, 1, ...
    Feature& Enum(const char* name, const char* value, std::initializer_list<const char*> entries,
                  const char* description);
    Feature& Enum(const char* name, const char* value, std::vector<EnumEntry> entries,
                  const char* description);
    Feature& Bool(const char* name, bool value, const char* description);
    Feature& String(const char* name, const std::string& value, const char* description);
    Feature& Command(const char* name, std::uint32_t durationMs, const char* description);
    Feature& Raw(const char* name, std::uint32_t length, const char* description);

    // Read-only ones.
    Feature& FixedInt(const char* name, std::int64_t value, const char* description);
    Feature& FixedString(const char* name, const std::string& value, const char* description);
    Feature& FixedEnum(const char* name, const char* value, std::initializer_list<const char*> entries,
                       const char* description);

    // Gives the feature a value of its own for each entry of the selector, the present one to begin with.
    static Feature& SelectedBy(Feature& feature, Feature& selector);

private:
    Feature& Add(const char* name, ZvkFeatureDataType type, const char* description);

    FeatureSet& set_;
    std::string category_ = "Root";
};

} // namespace maravel::simulated
