// Whole numbers of a camera.
#include "Groups.h"
#include "Output.h"
#include "Values.h"

#include <limits>

namespace maravel::certify::integers {

struct Range
{
    std::int64_t minimum = 0;
    std::int64_t maximum = 0;
};

Range RangeOf(const Session& session, const std::string& name)
{
    Range range;
    CERTIFY_OK(session.Sdk().ZvkFeatureIntRangeQuery(session.Camera(), name.c_str(), &range.minimum,
                                                     &range.maximum));
    return range;
}

std::int64_t Get(const Session& session, const std::string& name)
{
    std::int64_t value = 0;
    CERTIFY_OK(session.Sdk().ZvkFeatureIntGet(session.Camera(), name.c_str(), &value));
    return value;
}

ZvkError_t Set(const Session& session, const std::string& name, std::int64_t value)
{
    return session.Sdk().ZvkFeatureIntSet(session.Camera(), name.c_str(), value);
}

// The value that `choose` takes from the range is set and read back.
void ExpectSettable(Session& session, std::int64_t Range::*choice)
{
    ForEach(SettableOf(session, ZvkFeatureDataInt), [&](const std::string& name) {
        const Kept kept(session, name);
        const std::int64_t value = RangeOf(session, name).*choice;
        CERTIFY_OK(Set(session, name, value));
        CERTIFY_EQUAL(Get(session, name), value);
    });
}

// One step outside may be refused for its increment alone; a whole range outside is a multiple of it.
void ExpectRefusedOutside(Session& session, std::int64_t Range::*end, std::int64_t direction,
                          std::int64_t last)
{
    constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max() / 8;
    ForEach(SettableOf(session, ZvkFeatureDataInt), [&](const std::string& name) {
        const Kept kept(session, name);
        const Range range = RangeOf(session, name);
        if (range.*end == last) {
            return;
        }
        std::vector<std::int64_t> steps{1};
        if (range.minimum >= -kMost && range.maximum <= kMost && range.maximum > range.minimum) {
            steps.push_back(range.maximum - range.minimum);
        }
        for (const std::int64_t step : steps) {
            CERTIFY_REFUSED(Set(session, name, range.*end + direction * step), ZvkErrorInvalidValue);
            CERTIFY_EQUAL(std::to_string(Get(session, name)), kept.Value());
        }
    });
}

const Check kChecks[] = {
    {"F1", Stage::Opened, Effect::Reads,
     [](Session& session) {
         ForEach(session.FeaturesOf(ZvkFeatureDataInt, "r"), [&](const std::string& name) {
             const Range range = RangeOf(session, name);
             const std::int64_t value = Get(session, name);
             CERTIFY(value >= range.minimum && value <= range.maximum,
                     value << " is not in " << range.minimum << " to " << range.maximum);
         });
     }},
    {"F2", Stage::Opened, Effect::Reads,
     [](Session& session) {
         ForEach(session.FeaturesOf(ZvkFeatureDataInt, "r"), [&](const std::string& name) {
             const Range range = RangeOf(session, name);
             CERTIFY(range.minimum <= range.maximum,
                     "the minimum " << range.minimum << " is above the maximum " << range.maximum);
         });
     }},
    {"F3", Stage::Opened, Effect::Writes, [](Session& session) { ExpectSettable(session, &Range::minimum); }},
    {"F4", Stage::Opened, Effect::Writes, [](Session& session) { ExpectSettable(session, &Range::maximum); }},
    {"F5", Stage::Opened, Effect::Writes,
     [](Session& session) {
         ForEach(SettableOf(session, ZvkFeatureDataInt), [&](const std::string& name) {
             const Range range = RangeOf(session, name);
             const std::int64_t before = Get(session, name);
             Set(session, name, range.minimum);
             Set(session, name, range.maximum);
             CERTIFY_OK(Set(session, name, before));
             CERTIFY_EQUAL(Get(session, name), before);
         });
     }},
    {"F6", Stage::Opened, Effect::Writes,
     [](Session& session) {
         ExpectRefusedOutside(session, &Range::minimum, -1, std::numeric_limits<std::int64_t>::min());
     }},
    {"F7", Stage::Opened, Effect::Writes,
     [](Session& session) {
         ExpectRefusedOutside(session, &Range::maximum, 1, std::numeric_limits<std::int64_t>::max());
     }},
    {"F8", Stage::Opened, Effect::Writes,
     [](Session& session) {
         ForEach(ReadOnlyOf(session, ZvkFeatureDataInt), [&](const std::string& name) {
             CERTIFY_REFUSED(Set(session, name, Get(session, name)), ZvkErrorInvalidAccess);
         });
     }},
    {"F9", Stage::Opened, Effect::Reads,
     [](Session& session) {
         ForEach(session.FeaturesOf(ZvkFeatureDataInt, "r"), [&](const std::string& name) {
             Output<double> value;
             CERTIFY_REFUSED(session.Sdk().ZvkFeatureFloatGet(session.Camera(), name.c_str(), value.Get()),
                             ZvkErrorWrongType);
             CERTIFY(value.IsUntouched(), "it wrote a value");
         });
     }},
    {"F10", Stage::Opened, Effect::Reads,
     [](Session& session) {
         ForEach(session.FeaturesOf(ZvkFeatureDataInt, "r"), [&](const std::string& name) {
             CERTIFY_REFUSED(session.Sdk().ZvkFeatureIntGet(session.Camera(), name.c_str(), nullptr),
                             ZvkErrorBadParameter);
         });
     }},
};

const Group kGroup{'F', kChecks};

} // namespace maravel::certify::integers
