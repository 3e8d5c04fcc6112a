// Real numbers of a camera.
#include "Groups.h"
#include "Output.h"
#include "Values.h"

#include <cmath>
#include <limits>

namespace maravel::certify::floats {

constexpr double kTolerance = 0.02; // cameras round to ticks of a clock and steps of an amplifier

struct Range
{
    double minimum = 0;
    double maximum = 0;
};

Range RangeOf(const Session& session, const std::string& name)
{
    Range range;
    CERTIFY_OK(session.Sdk().ZvkFeatureFloatRangeQuery(session.Camera(), name.c_str(), &range.minimum,
                                                       &range.maximum));
    return range;
}

double Get(const Session& session, const std::string& name)
{
    double value = 0;
    CERTIFY_OK(session.Sdk().ZvkFeatureFloatGet(session.Camera(), name.c_str(), &value));
    return value;
}

ZvkError_t Set(const Session& session, const std::string& name, double value)
{
    return session.Sdk().ZvkFeatureFloatSet(session.Camera(), name.c_str(), value);
}

// The value that lies at `part` of the range is set and read back.
void ExpectSettable(Session& session, double part)
{
    ForEach(SettableOf(session, ZvkFeatureDataFloat), [&](const std::string& name) {
        const Kept kept(session, name);
        const Range range = RangeOf(session, name);
        const double value = range.minimum + part * (range.maximum - range.minimum);
        CERTIFY_OK(Set(session, name, value));
        const double now = Get(session, name);
        CERTIFY(std::abs(now - value) <= kTolerance * std::abs(value) + 1e-9,
                "it is " << now << " after " << value << " was set");
    });
}

void ExpectRefused(Session& session, const std::string& name, double value)
{
    const Kept kept(session, name);
    CERTIFY_REFUSED(Set(session, name, value), ZvkErrorInvalidValue);
    CERTIFY(session.Value(name) == kept.Value(), "its value changed from " << kept.Value());
}

const Check kChecks[] = {
    {"G1", Stage::Opened, Effect::Reads,
     [](Session& session) {
         ForEach(session.FeaturesOf(ZvkFeatureDataFloat, "r"), [&](const std::string& name) {
             CERTIFY(std::isfinite(Get(session, name)), "its value is no number");
         });
     }},
    {"G2", Stage::Opened, Effect::Reads,
     [](Session& session) {
         ForEach(session.FeaturesOf(ZvkFeatureDataFloat, "r"), [&](const std::string& name) {
             const Range range = RangeOf(session, name);
             CERTIFY(std::isfinite(range.minimum) && std::isfinite(range.maximum),
                     "an end of its range is no number");
             CERTIFY(range.minimum <= range.maximum,
                     "the minimum " << range.minimum << " is above the maximum " << range.maximum);
         });
     }},
    {"G3", Stage::Opened, Effect::Writes, [](Session& session) { ExpectSettable(session, 0); }},
    {"G4", Stage::Opened, Effect::Writes, [](Session& session) { ExpectSettable(session, 1); }},
    {"G5", Stage::Opened, Effect::Writes, [](Session& session) { ExpectSettable(session, 0.5); }},
    {"G6", Stage::Opened, Effect::Writes,
     [](Session& session) {
         ForEach(SettableOf(session, ZvkFeatureDataFloat), [&](const std::string& name) {
             const Range range = RangeOf(session, name);
             const double beyond = 1 + (range.maximum - range.minimum);
             ExpectRefused(session, name, range.minimum - beyond);
             ExpectRefused(session, name, range.maximum + beyond);
         });
     }},
    {"G7", Stage::Opened, Effect::Writes,
     [](Session& session) {
         ForEach(SettableOf(session, ZvkFeatureDataFloat), [&](const std::string& name) {
             for (const double value :
                  {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
                   -std::numeric_limits<double>::infinity()}) {
                 ExpectRefused(session, name, value);
             }
         });
     }},
    {"G8", Stage::Opened, Effect::Writes,
     [](Session& session) {
         ForEach(ReadOnlyOf(session, ZvkFeatureDataFloat), [&](const std::string& name) {
             CERTIFY_REFUSED(Set(session, name, Get(session, name)), ZvkErrorInvalidAccess);
         });
     }},
    {"G9", Stage::Opened, Effect::Reads,
     [](Session& session) {
         ForEach(session.FeaturesOf(ZvkFeatureDataFloat, "r"), [&](const std::string& name) {
             CERTIFY_REFUSED(session.Sdk().ZvkFeatureFloatGet(session.Camera(), name.c_str(), nullptr),
                             ZvkErrorBadParameter);
         });
     }},
};

const Group kGroup{'G', kChecks};

} // namespace maravel::certify::floats
