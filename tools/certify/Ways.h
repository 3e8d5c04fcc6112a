// The ways of acquiring that a host chooses from, set as the adapter sets them.
#pragma once

#include "Values.h"

#include <algorithm>
#include <string_view>

namespace maravel::certify {

inline constexpr const char* kSelector = "TriggerSelector";
inline constexpr const char* kMode = "TriggerMode";
inline constexpr const char* kSource = "TriggerSource";
inline constexpr const char* kEdge = "TriggerActivation";

// What the adapter sets for a way of acquiring: `first` is off, then `second` is on or off and stays
// selected.
struct Way
{
    std::string_view name, first, second, mode;
    bool isHardware;
};
inline constexpr Way kManual{"manual", "AcquisitionStart", "FrameStart", "On", false};
inline constexpr Way kFreeRun{"free run", "AcquisitionStart", "FrameStart", "Off", false};
inline constexpr Way kHardware{"a pulse for each image", "AcquisitionStart", "FrameStart", "On", true};
inline constexpr Way kHardwareStart{"a pulse for the start", "FrameStart", "AcquisitionStart", "On", true};

// The triggers of the camera, which are put back at the end.
class Triggers
{
public:
    explicit Triggers(Session& session) : session_(session)
    {
        if (!Has(kMode, "On")) {
            throw NotSupported{"the camera has no trigger"};
        }
        const auto selected = session.Value(kSelector);
        for (const std::string& trigger : All()) {
            Put(kSelector, trigger);
            for (const char* name : {kSelector, kMode, kSource, kEdge, "ExposureMode"}) {
                if (const auto value = session.Value(name)) {
                    before_.emplace_back(name, *value);
                }
            }
        }
        if (selected) {
            Put(kSelector, *selected);
            before_.emplace_back(kSelector, *selected);
        }
    }
    ~Triggers()
    {
        for (const auto& [name, value] : before_) {
            session_.SetValue(name, value);
        }
    }
    Triggers(const Triggers&) = delete;
    Triggers& operator=(const Triggers&) = delete;

    // Names of the triggers; one without a name when they have none.
    std::vector<std::string> All() const
    {
        return session_.Find(kSelector) == nullptr ? std::vector<std::string>{""}
                                                   : session_.EntriesOf(kSelector);
    }
    bool Has(const char* name, std::string_view entry) const
    {
        return session_.Find(name) != nullptr && std::ranges::count(session_.EntriesOf(name), entry) > 0;
    }
    // Whether the trigger that stays selected is one of the camera's.
    bool Knows(const Way& way) const { return way.second == "FrameStart" || Has(kSelector, way.second); }
    bool HasSource() const { return session_.Find(kSource) != nullptr; }

    // Sets what the camera has.
    void Put(const std::string& name, std::string_view value) const
    {
        if (session_.Find(name) == nullptr) {
            return;
        }
        const std::string why = session_.SetValue(name, std::string(value));
        CERTIFY(why.empty(), name << " cannot be set to " << value << ": " << why);
    }

    void Use(const Way& way) const
    {
        if (Has(kSelector, way.first)) {
            Put(kSelector, way.first);
            Put(kMode, "Off");
        }
        if (Has(kSelector, way.second)) {
            Put(kSelector, way.second);
        }
        Put(kMode, way.mode);
        const char* exposure = way.isHardware ? "Timed" : "Off";
        if (!HasSource() && Has("ExposureMode", exposure)) {
            Put("ExposureMode", exposure);
        }
        if (!HasSource()) {
            return;
        }
        if (way.isHardware) {
            Put(kSource, Line());
        }
        else if (Has(kSource, "Software")) {
            Put(kSource, "Software");
        }
    }

    // Line0, which the adapter sets, or the first one that there is.
    std::string Line() const
    {
        if (Has(kSource, "Line0")) {
            return "Line0";
        }
        for (const std::string& source : session_.EntriesOf(kSource)) {
            if (source.starts_with("Line")) {
                return source;
            }
        }
        throw NotSupported{"the camera has no input line"};
    }

    // Manual mode, for cameras that have it.
    void UseManual() const
    {
        if (session_.Find("TriggerSoftware") == nullptr || (HasSource() && !Has(kSource, "Software"))) {
            throw NotSupported{"the camera has no software trigger"};
        }
        Use(kManual);
    }

private:
    Session& session_;
    std::vector<std::pair<std::string, std::string>> before_; // in the order of writing
};

} // namespace maravel::certify
