// What the checks of a camera's values share.
#pragma once

#include "Session.h"

namespace maravel::certify {

// Features of a type that can be read and set, and that a check may set: what the transport layer works with
// is not touched, nor what a camera keeps without power.
inline std::vector<std::string> SettableOf(const Session& session, std::uint32_t type)
{
    std::vector<std::string> names = session.FeaturesOf(type, "rw");
    std::erase_if(names, [](const std::string& name) {
        return name.starts_with("Gev") || name.starts_with("UserSetDefault") ||
               name.starts_with("DeviceLink") || name == "DeviceUserID";
    });
    return names;
}

inline std::vector<std::string> ReadOnlyOf(const Session& session, std::uint32_t type)
{
    std::vector<std::string> names;
    for (const Feature& feature : session.Features()) {
        if (feature.type == type && feature.readable && !feature.writable) {
            names.push_back(feature.name);
        }
    }
    return names;
}

// Asks the same of each feature, by its name.
template <class Body>
void ForEach(const std::vector<std::string>& names, const Body& body)
{
    Findings findings;
    for (const std::string& name : names) {
        findings.About(name, [&] { body(name); });
    }
    findings.Judge("the camera has no such feature");
}

// Puts a feature's value back at its end.
class Kept
{
public:
    Kept(const Session& session, const std::string& name)
        : session_(session), name_(name), value_(session.Value(name))
    {
        if (!value_) {
            throw Failed{"it cannot be read"};
        }
    }
    ~Kept() { session_.SetValue(name_, *value_); }
    Kept(const Kept&) = delete;
    Kept& operator=(const Kept&) = delete;

    const std::string& Value() const { return *value_; }

private:
    const Session& session_;
    const std::string name_;
    const std::optional<std::string> value_;
};

} // namespace maravel::certify
