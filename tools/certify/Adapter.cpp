// The adapter above this SDK and this camera: what it hands out, and that it tells of features what the SDK
// tells.
#include "Groups.h"
#include "Images.h"
#include "Values.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <map>

namespace maravel::certify::adapter {

using Descriptor = VideoChannelDescriptor;

// A descriptor of that size that the adapter fills between two walls.
void HandOut(const Session& session, std::size_t size, Output<Descriptor>& record)
{
    record->structSize = static_cast<std::int32_t>(size);
    const host::Outcome outcome = session.HandOut(session.CameraIndex(), record.Get());
    CERTIFY(outcome.ok, "the channel is not handed out: " << outcome.text);
    CERTIFY(record.WallsStand(), "the adapter wrote outside the record");
}

bool IsUntouched(const Descriptor& record, std::size_t begin, std::size_t end)
{
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(&record);
    return std::all_of(bytes + begin, bytes + end, [](std::uint8_t byte) { return byte == Memory::kFill; });
}

// A call of a channel whose text buffer and index are the caller's.
struct Call
{
    const char* name;
    std::int32_t (*make)(const Descriptor& d, char* text, std::int64_t index);
};

// What the calls below write to and nobody looks at.
CommonParams g_params{};
ImageAttributes g_attributes{};
std::uint32_t g_status = 0;
std::int32_t g_type = 0;
char g_text[MARAVEL_TEXT_SIZE];

#define CALL(name, ...)                                                                                      \
    {                                                                                                        \
#name, [](const Descriptor& d, char* text, std::int64_t index) { return d.name(text, __VA_ARGS__); } \
    }

// Every callback that can be refused, with good arguments.
const Call kCalls[] = {
    CALL(SetupCommonParams, index, &g_params),
    CALL(GetImageAttributes, index, &g_attributes, &g_status),
    CALL(GetImage, index, g_text, &g_status),
    CALL(StartAcquisition, index),
    CALL(StopAcquisition, index),
    CALL(ExecuteCommand, index, "AcquisitionStop"),
    CALL(ReadValue, index, "Width", g_text),
    CALL(WriteValue, index, "Width", "64"),
    CALL(GetFeatureName, index, 0, g_text),
    CALL(GetFeatureType, index, "Width", &g_type),
    CALL(GetValidEnum, index, "PixelFormat", 0, g_text),
    CALL(GetFeatureAttr, index, "Width", FeatureAttrDescription, g_text),
    CALL(ReleaseVideoChannel, index),
};

// Each argument that must not be null, left out in turn.
const Call kCallsWithNull[] = {
    CALL(SetupCommonParams, index, nullptr),
    CALL(GetImageAttributes, index, nullptr, &g_status),
    CALL(GetImageAttributes, index, &g_attributes, nullptr),
    CALL(GetImage, index, nullptr, &g_status),
    CALL(GetImage, index, g_text, nullptr),
    CALL(ExecuteCommand, index, nullptr),
    CALL(ReadValue, index, nullptr, g_text),
    CALL(ReadValue, index, "Width", nullptr),
    CALL(WriteValue, index, nullptr, "64"),
    CALL(WriteValue, index, "Width", nullptr),
    CALL(GetFeatureName, index, 0, nullptr),
    CALL(GetFeatureType, index, nullptr, &g_type),
    CALL(GetFeatureType, index, "Width", nullptr),
    CALL(GetValidEnum, index, nullptr, 0, g_text),
    CALL(GetValidEnum, index, "PixelFormat", 0, nullptr),
    CALL(GetFeatureAttr, index, nullptr, FeatureAttrDescription, g_text),
    CALL(GetFeatureAttr, index, "Width", FeatureAttrDescription, nullptr),
};

// The calls are refused with a text; `index` is the channel's.
void ExpectRefused(const Session& session, std::span<const Call> calls, std::int64_t index)
{
    Findings findings;
    for (const Call& call : calls) {
        findings.About(call.name, [&] {
            Output<char> text(MARAVEL_TEXT_SIZE);
            const std::int32_t result = call.make(session.Channel().Descriptor(), text.Get(), index);
            CERTIFY_EQUAL(result, MARAVEL_FAILURE);
            CERTIFY(!text.IsUntouched() && std::memchr(text.Get(), 0, MARAVEL_TEXT_SIZE) != nullptr,
                    "it gives no reason");
            CERTIFY(text.WallsStand(), "it wrote outside the text buffer");
        });
    }
    findings.Judge();
}

std::int32_t HostTypeOf(std::uint32_t type)
{
    switch (type) {
    case ZvkFeatureDataInt:
        return FeatureTypeInt;
    case ZvkFeatureDataFloat:
        return FeatureTypeFloat;
    case ZvkFeatureDataEnum:
        return FeatureTypeEnum;
    case ZvkFeatureDataString:
        return FeatureTypeString;
    case ZvkFeatureDataBool:
        return FeatureTypeBool;
    case ZvkFeatureDataCommand:
        return FeatureTypeCommand;
    default:
        return FeatureTypeUnsupported;
    }
}

std::uint32_t TypeOf(const Session& session, const std::string& name)
{
    return std::ranges::find(session.Seen().features, name, &Feature::name)->type;
}

// For each name of the map.
template <class Map, class Body>
void ForEachIn(const Map& map, const Body& body)
{
    Findings findings;
    for (const auto& entry : map) {
        findings.About(entry.first, [&] { body(entry.first, entry.second); });
    }
    findings.Judge();
}

template <class Body>
void ForEachSeen(const Session& session, const Body& body)
{
    Findings findings;
    for (const Feature& feature : session.Seen().features) {
        findings.About(feature.name, [&] { body(feature); });
    }
    findings.Judge();
}

// As the interface writes it.
bool IsSame(std::uint32_t type, const std::string& sdk, const std::string& adapter)
{
    switch (type) {
    case ZvkFeatureDataInt:
        return std::to_string(static_cast<std::uint64_t>(std::strtoll(sdk.c_str(), nullptr, 10))) == adapter;
    case ZvkFeatureDataFloat: {
        const double value = std::strtod(sdk.c_str(), nullptr);
        return std::abs(value - std::strtod(adapter.c_str(), nullptr)) <= 1e-6 + 1e-9 * std::abs(value);
    }
    case ZvkFeatureDataBool:
        return adapter == (sdk == "1" ? "True" : "False");
    default:
        return sdk.substr(0, MARAVEL_TEXT_SIZE - 1) == adapter;
    }
}

// Another value that the camera takes, as the interface writes it; empty: there is none.
std::string OtherValue(const Session& session, const Feature& feature, const std::string& value)
{
    if (feature.type == ZvkFeatureDataBool) {
        return value == "1" ? "False" : "True";
    }
    if (feature.type == ZvkFeatureDataInt) {
        std::int64_t minimum = 0;
        std::int64_t maximum = 0;
        CERTIFY_OK(session.Sdk().ZvkFeatureIntRangeQuery(session.Camera(), feature.name.c_str(), &minimum,
                                                         &maximum));
        return std::to_string(static_cast<std::uint64_t>(minimum));
    }
    for (const std::string& entry : session.EntriesOf(feature.name)) {
        if (entry != value && entry != "Once") {
            return entry;
        }
    }
    return {};
}

const Check kChecks[] = {
    {"P1", Stage::Opened, Effect::Reads,
     [](Session& session) {
         try {
             session.Reach(Stage::Adapter);
         }
         catch (const Skip& why) {
             throw Failed{why.reason};
         }
     }},
    {"P2", Stage::Adapter, Effect::Reads,
     [](Session& session) {
         const auto& serials = session.Seen().serials;
         CERTIFY_EQUAL(session.Channels().size(), serials.size());
         for (std::size_t i = 0; i < serials.size(); ++i) {
             CERTIFY_EQUAL(session.Channels()[i].SerialNumber(), serials[i]);
         }
     }},
    {"P3", Stage::Adapter, Effect::Reads,
     [](Session& session) {
         constexpr std::size_t kBegin = offsetof(Descriptor, GetFeatureName);
         constexpr std::size_t kEnd = offsetof(Descriptor, openResult);
         for (const std::size_t size : {608U, 609U, 684U, 700U}) {
             Output<Descriptor> record;
             HandOut(session, size, record);
             CERTIFY(IsUntouched(*record, kBegin, kEnd) == (size == 608),
                     "a record of " << size << " bytes has the wrong callbacks");
         }
     }},
    {"P4", Stage::Adapter, Effect::Reads,
     [](Session& session) {
         Output<Descriptor> record;
         HandOut(session, sizeof(Descriptor), record);
         CERTIFY_EQUAL(record->structSize, static_cast<std::int32_t>(sizeof(Descriptor)));
         CERTIFY(IsUntouched(*record, 4, 8) && IsUntouched(*record, 608, 624),
                 "the adapter wrote where the host keeps data of its own");
     }},
    {"P5", Stage::Adapter, Effect::Reads,
     [](Session& session) {
         const auto seen = [&](const char* name) {
             const auto value = session.Seen().values.find(name);
             return value == session.Seen().values.end() ? 0 : std::strtod(value->second.c_str(), nullptr);
         };
         const Descriptor& record = session.Channel().Descriptor();
         CERTIFY_EQUAL(record.width, seen("Width"));
         CERTIFY_EQUAL(record.height, seen("Height"));
         const double seconds = std::max(seen("ExposureTime"), seen("ExposureTimeAbs")) / 1e6;
         CERTIFY(std::abs(record.exposureTime - seconds) <= 1e-9 + 1e-6 * seconds,
                 "the exposure time is " << record.exposureTime << " s, the camera has " << seconds << " s");
     }},
    {"P6", Stage::Adapter, Effect::Reads,
     [](Session& session) {
         Output<Descriptor> record;
         HandOut(session, sizeof(Descriptor), record);
         CERTIFY(std::memchr(record->label, 0, sizeof(record->label)) != nullptr, "the label has no end");
         CERTIFY(std::memchr(record->serialNumber, 0, sizeof(record->serialNumber)) != nullptr,
                 "the serial number has no end");
         CERTIFY(std::string(record->label).find(session.Seen().model) != std::string::npos,
                 "the label " << record->label << " does not hold the model " << session.Seen().model);
     }},
    {"P7", Stage::Adapter, Effect::Reads,
     [](Session& session) {
         ExpectRefused(session, kCallsWithNull, static_cast<std::int64_t>(session.CameraIndex()));
     }},
    {"P8", Stage::Adapter, Effect::Reads,
     [](Session& session) {
         const auto count = static_cast<std::int64_t>(session.Channels().size());
         for (const std::int64_t index :
              {std::int64_t{-1}, count, std::int64_t{1} << 40, std::numeric_limits<std::int64_t>::min()}) {
             ExpectRefused(session, kCalls, index);
             session.Channel().Descriptor().QueryImageStatus(g_text, index, &g_status);
             CERTIFY_EQUAL(g_status, std::uint32_t{ImageStatusUnavailable});
         }
     }},
    {"P9", Stage::Adapter, Effect::Reads,
     [](Session& session) {
         std::vector<std::string> names;
         for (const Feature& feature : session.Seen().features) {
             if (HostTypeOf(feature.type) != FeatureTypeUnsupported) {
                 names.push_back(feature.name);
             }
         }
         std::ranges::sort(names); // by bytes, as the adapter lists them
         const auto listed = session.Channel().FeatureNames();
         CERTIFY_EQUAL(listed.size(), names.size());
         for (std::size_t i = 0; i < names.size(); ++i) {
             CERTIFY_EQUAL(listed[i], names[i]);
         }
     }},
    {"P10", Stage::Adapter, Effect::Reads,
     [](Session& session) {
         ForEachSeen(session, [&](const Feature& feature) {
             std::int32_t type = 0;
             const host::Outcome outcome = session.Channel().GetFeatureType(feature.name, &type);
             CERTIFY(outcome.ok, outcome.text);
             CERTIFY_EQUAL(type, HostTypeOf(feature.type));
         });
     }},
    {"P11", Stage::Adapter, Effect::Reads,
     [](Session& session) {
         Read(session.Channel(), "Width"); // opens
         ForEachSeen(session, [&](const Feature& feature) {
             CERTIFY_EQUAL(session.Channel().IsReadable(feature.name), feature.readable);
             CERTIFY_EQUAL(session.Channel().IsWritable(feature.name), feature.writable);
         });
     }},
    {"P12", Stage::Adapter, Effect::Reads,
     [](Session& session) {
         Read(session.Channel(), "Width"); // opens
         ForEachIn(session.Seen().entries, [&](const std::string& name, const auto& entries) {
             const auto listed = session.Channel().EnumEntries(name);
             CERTIFY_EQUAL(listed.size(), entries.size());
             for (std::size_t i = 0; i < entries.size(); ++i) {
                 CERTIFY_EQUAL(listed[i], entries[i]);
             }
         });
     }},
    {"P13", Stage::Adapter, Effect::Reads,
     [](Session& session) {
         std::map<std::string, std::string> others;
         for (const auto& [name, value] : session.Seen().values) {
             std::string read;
             session.Channel().ReadValue(name, &read);
             if (!name.starts_with("Gev") && !IsSame(TypeOf(session, name), value, read)) {
                 others[name] = read; // the adapter itself sets the packet size
             }
         }
         if (others.empty()) {
             return;
         }
         session.Reach(Stage::Opened);
         ForEachIn(others, [&](const std::string& name, const std::string& read) {
             const std::string& seen = session.Seen().values.at(name);
             CERTIFY(session.Value(name) != seen, // else it changes by itself
                     "it reads as '" << read << "', the SDK has '" << seen << "'");
         });
     }},
    {"P14", Stage::Opened, Effect::Writes,
     [](Session& session) {
         std::map<std::string, std::string> others;
         for (const std::uint32_t type : {ZvkFeatureDataInt, ZvkFeatureDataEnum, ZvkFeatureDataBool}) {
             for (const std::string& name : SettableOf(session, type)) {
                 if (const auto value = session.Value(name)) {
                     others[name] = OtherValue(session, *session.Find(name), *value);
                 }
             }
         }
         session.Reach(Stage::Adapter);
         Read(session.Channel(), "Width"); // opens
         ForEachIn(others, [&](const std::string& name, const std::string& value) {
             if (value.empty() || !session.Channel().IsWritable(name)) {
                 return;
             }
             const std::string before = Read(session.Channel(), name);
             for (const std::string& written : {value, before}) {
                 const host::Outcome outcome = session.Channel().WriteValue(name, written);
                 CERTIFY(outcome.ok, "writing " << written << " is refused: " << outcome.text);
                 CERTIFY_EQUAL(Read(session.Channel(), name), written);
             }
         });
     }},
    {"P15", Stage::Adapter, Effect::Writes,
     [](Session& session) {
         const host::Outcome runs = session.Channel().ExecuteCommand("AcquisitionStop");
         CERTIFY(runs.ok, "AcquisitionStop is refused: " << runs.text);
         for (const char* name : {"NoSuchCommand", "Width"}) {
             const host::Outcome outcome = session.Channel().ExecuteCommand(name);
             CERTIFY(!outcome.ok && !outcome.text.empty(), name << " runs as a command");
         }
     }},
};

const Group kGroup{'P', kChecks};

} // namespace maravel::certify::adapter
