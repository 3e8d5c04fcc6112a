// Features that GenICam's Standard Features Naming Convention (SFNC) describes.
#include "Groups.h"
#include "StandardNames.h"
#include "Values.h"
#include "sdk/Names.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <map>

namespace maravel::certify::standard {

constexpr const char* kEdges[] = {"RisingEdge", "FallingEdge", "AnyEdge", "LevelHigh", "LevelLow"};

const Feature& FindOrSkip(const Session& session, const std::string& name)
{
    const Feature* feature = session.Find(name);
    if (feature == nullptr) {
        throw NotSupported{"the camera has no " + name};
    }
    return *feature;
}

// What every camera has.
void ExpectThere(const Session& session, const char* name, std::uint32_t type)
{
    const Feature* feature = session.Find(name);
    CERTIFY(feature != nullptr, "the camera has no " << name);
    CERTIFY_EQUAL(feature->type, type);
    CERTIFY(type == ZvkFeatureDataCommand || feature->readable, name << " cannot be read");
}

void ExpectText(Session& session, std::initializer_list<const char*> names)
{
    const auto* const name = std::ranges::find_if(
        names, [&](const char* candidate) { return session.Find(candidate) != nullptr; });
    if (name == names.end()) {
        return session.Warn(std::string("the camera has no ") + *names.begin());
    }
    CERTIFY_EQUAL(session.Find(*name)->type, std::uint32_t{ZvkFeatureDataString});
    CERTIFY(!session.Value(*name).value_or("").empty(), *name << " is empty");
}

std::string ExposureOf(const Session& session)
{
    for (const char* name : {"ExposureTime", "ExposureTimeAbs"}) {
        if (session.Find(name) != nullptr) {
            return name;
        }
    }
    throw NotSupported{"the camera has no ExposureTime and no ExposureTimeAbs"};
}

bool HasEntry(const Session& session, const std::string& name, const std::string& entry)
{
    const auto entries = session.EntriesOf(name, false);
    return std::ranges::find(entries, entry) != entries.end();
}

// Both directions; the camera may have no such maximum.
struct Side
{
    const char* size;
    const char* offset;
    const char* maximum;
};
constexpr Side kSides[] = {{"Width", "OffsetX", "WidthMax"}, {"Height", "OffsetY", "HeightMax"}};

template <class Body>
void ForEachSide(const Session& session, const Body& body)
{
    Findings findings;
    for (const Side& side : kSides) {
        if (const auto maximum = session.Integer(side.maximum)) {
            findings.About(side.size, [&] { body(side, *maximum); });
        }
    }
    findings.Judge("the camera has no WidthMax and no HeightMax");
}

// Set to 0 from as far off as the smallest size allows.
void ExpectZeroSettable(const Session& session, const Side& side)
{
    const Sdk& sdk = session.Sdk();
    const Kept size(session, side.size);
    const Kept offset(session, side.offset);
    std::int64_t least = 0;
    std::int64_t most = 0;
    if (sdk.ZvkFeatureIntRangeQuery(session.Camera(), side.size, &least, &most) == 0) {
        sdk.ZvkFeatureIntSet(session.Camera(), side.size, least);
    }
    if (sdk.ZvkFeatureIntRangeQuery(session.Camera(), side.offset, &least, &most) == 0) {
        sdk.ZvkFeatureIntSet(session.Camera(), side.offset, most);
    }
    CERTIFY_OK(sdk.ZvkFeatureIntSet(session.Camera(), side.offset, 0));
    CERTIFY_EQUAL(session.Integer(side.offset).value_or(-1), 0);
}

void ExpectStandardTypes(const Session& session)
{
    const std::int64_t version = session.Integer("DeviceSFNCVersionMajor").value_or(1);
    Findings findings;
    for (const StandardType& row : kStandardTypes) {
        std::istringstream names(row.names);
        for (std::string name; names >> name;) {
            if (const Feature* feature = session.Find(name); feature != nullptr && row.since <= version) {
                findings.About(name, [&] { CERTIFY_EQUAL(feature->type, row.type); });
            }
        }
    }
    findings.Judge();
}

// Regardless of case: the SDK's names differ in that from the standard's.
std::string Lower(std::string name)
{
    std::ranges::transform(name, name.begin(),
                           [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return name;
}

// Before PFNC the names of colour formats ended so.
bool IsSameName(const std::string& entry, const std::string& name, ZvkPixelFormat_t code)
{
    return Lower(entry) == Lower(name) || (code >> 24 == 2 && Lower(entry) == Lower(name + "Packed"));
}

// Whether it is the name of the code, as far as the SDK's names tell.
void ExpectPfncName(Session& session, const std::string& entry, std::int64_t number)
{
    const auto code = static_cast<ZvkPixelFormat_t>(number);
    const bool hasForm =
        (code >> 31) != 0 || ((code >> 24) >= 1 && (code >> 24) <= 2 && (code >> 16 & 255) > 0);
    CERTIFY(number == std::int64_t{code} && hasForm, number << " is no PFNC code");
    const std::string known = PixelFormatName(code);
    constexpr std::string_view prefix = "ZvkPixelFormat";
    if (!known.starts_with(prefix)) {
        return session.Tell("the SDK has no name for " + entry);
    }
    const bool isOther = std::ranges::any_of(kOtherNames, [&](const auto& other) {
        return other.second == code && IsSameName(entry, other.first, code);
    });
    CERTIFY(isOther || IsSameName(entry, known.substr(prefix.size()), code), "its code is that of " << known);
}

std::map<std::string, std::string> SettingsOf(const Session& session)
{
    std::map<std::string, std::string> settings;
    for (const Feature& feature : session.Features()) {
        if (feature.readable && feature.writable) {
            if (const auto value = session.Value(feature.name)) {
                settings[feature.name] = *value;
            }
        }
    }
    return settings;
}

// Every entry of the selector is set, and its own one again.
void ExpectOthersAlone(const Session& session, const std::string& selector)
{
    const auto before = SettingsOf(session);
    const auto again = SettingsOf(session); // what changes by itself is not asked
    {
        const Kept kept(session, selector);
        for (const std::string& entry : session.EntriesOf(selector)) {
            session.SetValue(selector, entry);
        }
    }
    for (const auto& [name, value] : SettingsOf(session)) {
        const auto was = before.find(name);
        if (was != before.end() && was->second == again.at(name)) {
            CERTIFY(value == was->second, name << " was " << was->second << " and is " << value);
        }
    }
}

#define THERE(id, name, type)                                                                                \
    {                                                                                                        \
        id, Stage::Opened, Effect::Reads, [](Session& session) { ExpectThere(session, name, type); }         \
    }

const Check kChecks[] = {
    THERE("J1", "Width", ZvkFeatureDataInt),
    THERE("J2", "Height", ZvkFeatureDataInt),
    THERE("J3", "PixelFormat", ZvkFeatureDataEnum),
    THERE("J4", "PayloadSize", ZvkFeatureDataInt),
    THERE("J5", "AcquisitionMode", ZvkFeatureDataEnum),
    THERE("J6", "AcquisitionStart", ZvkFeatureDataCommand),
    THERE("J7", "AcquisitionStop", ZvkFeatureDataCommand),
    {"J8", Stage::Opened, Effect::Reads,
     [](Session& session) {
         ExpectText(session, {"DeviceVendorName"});
         ExpectText(session, {"DeviceModelName"});
         ExpectText(session, {"DeviceSerialNumber", "DeviceID"});
     }},
    {"J9", Stage::Opened, Effect::Reads,
     [](Session& session) {
         const std::string name = ExposureOf(session);
         double value = 0;
         CERTIFY_OK(session.Sdk().ZvkFeatureFloatGet(session.Camera(), name.c_str(), &value));
         CERTIFY(std::isfinite(value) && value > 0, name << " is " << value);
     }},
    {"J10", Stage::Opened, Effect::Reads,
     [](Session& session) {
         const std::string name = ExposureOf(session);
         double minimum = 0;
         double maximum = 0;
         CERTIFY_OK(
             session.Sdk().ZvkFeatureFloatRangeQuery(session.Camera(), name.c_str(), &minimum, &maximum));
         CERTIFY(minimum >= 0 && maximum > 0 && minimum <= maximum,
                 name << " has the range " << minimum << " to " << maximum);
     }},
    {"J11", Stage::Opened, Effect::Reads,
     [](Session& session) {
         FindOrSkip(session, "TriggerMode");
         for (const char* entry : {"Off", "On"}) {
             CERTIFY(HasEntry(session, "TriggerMode", entry), "it has no entry " << entry);
         }
     }},
    {"J12", Stage::Opened, Effect::Reads,
     [](Session& session) {
         FindOrSkip(session, "TriggerSoftware");
         FindOrSkip(session, "TriggerSource");
         CERTIFY(HasEntry(session, "TriggerSource", "Software"), "it has no entry Software");
     }},
    {"J13", Stage::Opened, Effect::Reads,
     [](Session& session) {
         FindOrSkip(session, "TriggerSelector");
         CERTIFY(HasEntry(session, "TriggerSelector", "FrameStart") ||
                     HasEntry(session, "TriggerSelector", "AcquisitionStart"),
                 "it has neither FrameStart nor AcquisitionStart");
     }},
    {"J14", Stage::Opened, Effect::Reads,
     [](Session& session) {
         FindOrSkip(session, "TriggerActivation");
         bool hasStandard = false;
         for (const std::string& entry : session.EntriesOf("TriggerActivation", false)) {
             const bool isStandard = std::ranges::find(kEdges, entry) != std::end(kEdges);
             hasStandard = hasStandard || isStandard;
             if (!isStandard) {
                 session.Warn(entry + " is no edge or level of the standard");
             }
         }
         CERTIFY(hasStandard, "it has no edge or level of the standard");
     }},
    {"J15", Stage::Opened, Effect::Writes,
     [](Session& session) {
         Findings findings;
         for (const Side& side : kSides) {
             if (const Feature* feature = session.Find(side.offset);
                 feature != nullptr && feature->writable) {
                 findings.About(side.offset, [&] { ExpectZeroSettable(session, side); });
             }
         }
         findings.Judge("the camera has no offsets that can be set");
     }},
    {"J16", Stage::Opened, Effect::Reads,
     [](Session& session) {
         ForEachSide(session, [&](const Side& side, std::int64_t maximum) {
             const std::int64_t size = session.Integer(side.size).value_or(0);
             const std::int64_t offset = session.Integer(side.offset).value_or(0);
             CERTIFY(offset + size <= maximum,
                     offset << " + " << size << " is above " << side.maximum << " = " << maximum);
         });
     }},
    {"J17", Stage::Opened, Effect::Reads,
     [](Session& session) {
         ForEachSide(session, [&](const Side& side, std::int64_t maximum) {
             std::int64_t least = 0;
             std::int64_t most = 0;
             CERTIFY_OK(session.Sdk().ZvkFeatureIntRangeQuery(session.Camera(), side.size, &least, &most));
             CERTIFY(most <= maximum,
                     "its range ends at " << most << ", " << side.maximum << " is " << maximum);
         });
     }},
    {"J18", Stage::Opened, Effect::Reads, [](Session& session) { ExpectStandardTypes(session); }},
    {"J19", Stage::Opened, Effect::Reads,
     [](Session& session) {
         ForEach(session.EntriesOf("PixelFormat"), [&](const std::string& entry) {
             std::int64_t number = 0;
             CERTIFY_OK(
                 session.Sdk().ZvkFeatureEnumAsInt(session.Camera(), "PixelFormat", entry.c_str(), &number));
             ExpectPfncName(session, entry, number);
         });
     }},
    {"J20", Stage::Opened, Effect::Writes,
     [](Session& session) {
         auto selectors = SettableOf(session, ZvkFeatureDataEnum);
         std::erase_if(selectors, [](const std::string& name) { return !name.ends_with("Selector"); });
         ForEach(selectors, [&](const std::string& selector) { ExpectOthersAlone(session, selector); });
     }},
};

const Group kGroup{'J', kChecks};

} // namespace maravel::certify::standard
