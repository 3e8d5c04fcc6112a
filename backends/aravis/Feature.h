// A feature of any module, as the entry points for features ask for it. What a feature's type does not have
// answers ZvkErrorWrongType, which is what every operation does unless a kind of feature overrides it.
#pragma once

#include "sdk/ZvkTypes.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace maravel::aravis {

class Feature
{
public:
    Feature() = default;
    virtual ~Feature() = default;
    Feature(const Feature&) = delete;
    Feature& operator=(const Feature&) = delete;

    // Its texts live until ZvkShutdown.
    virtual ZvkFeatureInfo_t Info() const = 0;
    // What can be done with it now.
    virtual ZvkError_t QueryAccess(bool* readable, bool* writable) const = 0;
    // Features whose value depends on this one's.
    virtual std::vector<ZvkFeatureInfo_t> Selected() const { return {}; }

    virtual ZvkError_t GetInt(std::int64_t*) const { return ZvkErrorWrongType; }
    virtual ZvkError_t SetInt(std::int64_t) { return ZvkErrorWrongType; }
    virtual ZvkError_t GetIntRange(std::int64_t*, std::int64_t*) const { return ZvkErrorWrongType; }
    virtual ZvkError_t GetIntIncrement(std::int64_t*) const { return ZvkErrorWrongType; }

    virtual ZvkError_t GetFloat(double*) const { return ZvkErrorWrongType; }
    virtual ZvkError_t SetFloat(double) { return ZvkErrorWrongType; }
    virtual ZvkError_t GetFloatRange(double*, double*) const { return ZvkErrorWrongType; }
    // 0: any value of the range.
    virtual ZvkError_t GetFloatIncrement(double*) const { return ZvkErrorWrongType; }

    virtual ZvkError_t GetEnum(const char**) const { return ZvkErrorWrongType; }
    virtual ZvkError_t SetEnum(const char*) { return ZvkErrorWrongType; }
    virtual ZvkError_t GetEntries(std::vector<const char*>*) const { return ZvkErrorWrongType; }
    virtual ZvkError_t IsEntryAvailable(const char*, bool*) const { return ZvkErrorWrongType; }
    virtual ZvkError_t GetEntryValue(const char*, std::int64_t*) const { return ZvkErrorWrongType; }
    virtual ZvkError_t GetEntryName(std::int64_t, const char**) const { return ZvkErrorWrongType; }
    virtual ZvkError_t GetEntryInfo(const char*, ZvkFeatureInfo_t*) const { return ZvkErrorWrongType; }

    virtual ZvkError_t GetString(std::string*) const { return ZvkErrorWrongType; }
    virtual ZvkError_t SetString(const char*) { return ZvkErrorWrongType; }
    // Bytes with the terminating null.
    virtual ZvkError_t GetStringLimit(std::uint32_t*) const { return ZvkErrorWrongType; }

    virtual ZvkError_t GetBool(bool*) const { return ZvkErrorWrongType; }
    virtual ZvkError_t SetBool(bool) { return ZvkErrorWrongType; }

    virtual ZvkError_t Run() { return ZvkErrorWrongType; }
    virtual ZvkError_t IsDone(bool*) const { return ZvkErrorWrongType; }

    virtual ZvkError_t GetRaw(std::string*) const { return ZvkErrorWrongType; }
    virtual ZvkError_t SetRaw(const char*, std::uint32_t) { return ZvkErrorWrongType; }
    virtual ZvkError_t GetRawLength(std::uint32_t*) const { return ZvkErrorWrongType; }
};

// What has features: a camera, its stream, its transport layer and so on.
class Module
{
public:
    Module() = default;
    virtual ~Module() = default;
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    virtual std::vector<ZvkFeatureInfo_t> List() const = 0;
    // Null: there is none of that name.
    virtual std::unique_ptr<Feature> Find(const char* name) const = 0;
};

} // namespace maravel::aravis
