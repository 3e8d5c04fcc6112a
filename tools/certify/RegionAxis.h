// Width or height of a camera's region with its offset, and what can be set there.
#pragma once

#include "Session.h"

#include <algorithm>

namespace maravel::certify::region {

inline constexpr std::int64_t kLargestStep = 256;

inline ZvkError_t Set(const Session& session, const char* name, std::int64_t value)
{
    return session.Sdk().ZvkFeatureIntSet(session.Camera(), name, value);
}

inline std::int64_t Get(const Session& session, const char* name)
{
    std::int64_t value = 0;
    CERTIFY_OK(session.Sdk().ZvkFeatureIntGet(session.Camera(), name, &value));
    return value;
}

inline std::int64_t MostOf(const Session& session, const char* name)
{
    std::int64_t least = 0;
    std::int64_t most = 0;
    CERTIFY_OK(session.Sdk().ZvkFeatureIntRangeQuery(session.Camera(), name, &least, &most));
    return most;
}

inline void ExpectSet(const Session& session, const char* name, std::int64_t value)
{
    const ZvkError_t result = Set(session, name, value);
    CERTIFY(result == 0, name << " = " << value << " gave " << certify::NameOf(result));
    const std::int64_t now = Get(session, name);
    CERTIFY(now == value, name << " is " << now << " after " << value << " was set");
}

// How far apart the values from `least` on are; no documented entry point tells it.
inline std::int64_t StepOf(const Session& session, const char* name, std::int64_t least, std::int64_t most)
{
    const std::int64_t largest = std::min(most - least, kLargestStep);
    for (std::int64_t step = 1; step <= largest; ++step) {
        if (Set(session, name, least + step) == 0 && Get(session, name) == least + step) {
            return step;
        }
    }
    return kLargestStep;
}

// One direction of the region. As long as the object lives, and the camera is stopped, it may be changed.
class Axis
{
public:
    Axis(const Session& session, const char* size, const char* offset)
        : session_(session), size_(size), offset_(offset)
    {
        for (const char* name : {size, offset}) {
            if (const Feature* feature = session.Find(name); feature == nullptr || !feature->writable) {
                throw NotSupported{std::string("the camera has no ") + name + " that can be set"};
            }
        }
        wasSize_ = Get(session, size);
        wasOffset_ = Get(session, offset);
        try {
            Measure();
        }
        catch (...) {
            Restore();
            throw;
        }
        Restore();
    }
    ~Axis() { Restore(); }
    Axis(const Axis&) = delete;
    Axis& operator=(const Axis&) = delete;

    const char* Size() const { return size_; }
    const char* Offset() const { return offset_; }
    std::int64_t Least() const { return least_; } // of the size
    std::int64_t Most() const { return most_; }
    std::int64_t Step() const { return step_; }
    std::int64_t WasSize() const { return wasSize_; }
    std::int64_t WasOffset() const { return wasOffset_; }
    std::int64_t OffsetLimit() const { return offsetLimit_; } // of the smallest size
    // The next smaller ones that can be set.
    std::int64_t SizeAt(std::int64_t value) const { return value - (value - least_) % step_; }
    std::int64_t OffsetAt(std::int64_t value) const { return value - value % offsetStep_; }

    // As the adapter does it.
    void Place(std::int64_t offset, std::int64_t size) const
    {
        ExpectSet(session_, offset_, 0);
        ExpectSet(session_, size_, size);
        ExpectSet(session_, offset_, offset);
    }

private:
    void Measure()
    {
        CERTIFY_OK(Set(session_, offset_, 0));
        CERTIFY_OK(session_.Sdk().ZvkFeatureIntRangeQuery(session_.Camera(), size_, &least_, &most_));
        step_ = StepOf(session_, size_, least_, most_);
        CERTIFY_OK(Set(session_, size_, least_));
        offsetLimit_ = MostOf(session_, offset_);
        offsetStep_ = StepOf(session_, offset_, 0, offsetLimit_);
    }
    void Restore() const
    {
        Set(session_, offset_, 0);
        Set(session_, size_, wasSize_);
        Set(session_, offset_, wasOffset_);
    }

    const Session& session_;
    const char* const size_;
    const char* const offset_;
    std::int64_t wasSize_ = 0, wasOffset_ = 0;
    std::int64_t least_ = 0, most_ = 0, step_ = 1, offsetLimit_ = 0, offsetStep_ = 1;
};

} // namespace maravel::certify::region
