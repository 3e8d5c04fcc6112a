// Faults of a camera's texts, booleans and commands, of its standard features and of its region.
#include "Faults.h"
#include "certify/Frames.h"

#include <algorithm>

namespace maravel::test {
namespace {

// Texts that are set are changed before.
#define CHANGE_TEXT(...)                                                                                     \
    REPLACE(ZvkFeatureStringSet, [](auto handle, auto name, auto value) {                                    \
        std::string text = value == nullptr ? "" : value;                                                    \
        __VA_ARGS__;                                                                                         \
        return own.ZvkFeatureStringSet(handle, name, text.c_str());                                          \
    })
// Running the named command gives `result` and does nothing.
#define COMMAND_GIVES(command, result)                                                                       \
    REPLACE(ZvkFeatureCommandRun, [](auto handle, auto name) {                                               \
        return Is(name, command) ? (result) : own.ZvkFeatureCommandRun(handle, name);                        \
    })

// The feature is said not to be readable.
#define UNREADABLE(feature)                                                                                  \
    REPLACE(ZvkFeatureAccessQuery, [](auto handle, auto name, auto readable, auto writable) {                \
        const ZvkError_t result = own.ZvkFeatureAccessQuery(handle, name, readable, writable);               \
        if (Is(name, feature))                                                                               \
            *readable = 0;                                                                                   \
        return result;                                                                                       \
    })
// The list has `info` of the named feature changed.
#define CHANGE_INFO(feature, change)                                                                         \
    REPLACE(ZvkFeaturesList, [](auto handle, auto list, auto length, auto found, auto size) {                \
        const ZvkError_t result = own.ZvkFeaturesList(handle, list, length, found, size);                    \
        for (std::uint32_t i = 0; list != nullptr && i < std::min(length, *found); ++i)                      \
            if (ZvkFeatureInfo_t& info = list[i]; Is(info.name, feature))                                    \
                change;                                                                                      \
        return result;                                                                                       \
    })
// The enumeration has entries that no standard has.
#define RENAME_ENTRIES(feature)                                                                              \
    REPLACE(ZvkFeatureEnumRangeQuery, [](auto handle, auto name, auto entries, auto length, auto found) {    \
        const ZvkError_t result = own.ZvkFeatureEnumRangeQuery(handle, name, entries, length, found);        \
        if (Is(name, feature) && entries != nullptr)                                                         \
            std::fill_n(entries, length, "Other");                                                           \
        return result;                                                                                       \
    })

// The payload is one byte short for the format at the width.
#define SHORT_PAYLOAD(format, size)                                                                          \
    REPLACE(ZvkPayloadSizeGet, [](auto handle, auto bytes) {                                                 \
        const ZvkError_t result = own.ZvkPayloadSizeGet(handle, bytes);                                      \
        std::int64_t width = 0;                                                                              \
        const char* current = nullptr;                                                                       \
        own.ZvkFeatureIntGet(handle, "Width", &width);                                                       \
        own.ZvkFeatureEnumGet(handle, "PixelFormat", &current);                                              \
        *bytes -= Is(current, format) && width == (size) ? 1 : 0;                                            \
        return result;                                                                                       \
    })

const FaultRow kCameraFaults[] = {
    {"I1",
     [](auto&) {
         REPLACE(ZvkFeatureStringGet, [](auto handle, auto name, auto buffer, auto size, auto length) {
             return own.ZvkFeatureStringGet(handle, name, buffer, size - (size < 64 ? 1 : 0), length);
         });
     }},
    {"I2", [](auto&) { FORGIVE(ZvkFeatureStringGet, ZvkErrorMoreData); }},
    {"I3",
     [](auto&) {
         REPLACE(ZvkFeatureStringGet, [](auto handle, auto name, auto buffer, auto size, auto length) {
             const ZvkError_t result = own.ZvkFeatureStringGet(handle, name, buffer, size, length);
             *length = 0;
             return result;
         });
     }},
    {"I4", [](auto&) { GIVE(ZvkFeatureStringSet, Is(name, "Note") && Is(value, "A1"), ZvkErrorSuccess); }},
    {"I5", [](auto&) { CHANGE_TEXT(text = text.substr(0, 32)); }},
    {"I6",
     [](auto&) {
         CHANGE_TEXT(std::ranges::replace_if(
             text, [](char letter) { return letter < 0; }, '?'));
     }},
    {"I7",
     [](auto&) {
         GIVE(ZvkFeatureStringSet, Is(name, "DeviceVersion") && value != nullptr, ZvkErrorSuccess);
     }},
    {"I8", [](auto&) { GIVE(ZvkFeatureBoolSet, Is(name, "ReverseX") && value != 0, ZvkErrorSuccess); }},
    {"I9", [](auto&) { GIVE(ZvkFeatureBoolSet, Is(name, "LineStatus") && value < 2, ZvkErrorSuccess); }},
    {"I10", [](auto&) { COMMAND_GIVES("TimestampLatch", ZvkErrorIO); }},
    {"I11",
     [](auto&) {
         REPLACE(ZvkFeatureCommandIsDone, [](auto handle, auto name, auto done) {
             const ZvkError_t result = own.ZvkFeatureCommandIsDone(handle, name, done);
             if (Is(name, "CounterReset")) {
                 *done = 0;
             }
             return result;
         });
     }},
    {"I12", [](auto&) { COMMAND_GIVES("TriggerSoftware", ZvkErrorSuccess); }},
    {"I13", [](auto&) { COMMAND_GIVES("Width", ZvkErrorSuccess); }},
    {"I14",
     [](auto&) {
         REPLACE(ZvkFeatureIntGet, [](auto handle, auto name, auto value) {
             return own.ZvkFeatureIntGet(handle, Is(name, "AcquisitionStart") ? "Width" : name, value);
         });
     }},

    {"J1", [](auto&) { UNREADABLE("Width"); }},
    {"J2", [](auto&) { UNREADABLE("Height"); }},
    {"J3", [](auto&) { UNREADABLE("PixelFormat"); }},
    {"J4", [](auto&) { UNREADABLE("PayloadSize"); }},
    {"J5", [](auto&) { UNREADABLE("AcquisitionMode"); }},
    {"J6", [](auto&) { CHANGE_INFO("AcquisitionStart", info.name = "Start"); }},
    {"J7", [](auto&) { CHANGE_INFO("AcquisitionStop", info.name = "Stop"); }},
    {"J8",
     [](auto&) {
         REPLACE(ZvkFeatureStringGet, [](auto handle, auto name, auto buffer, auto size, auto length) {
             return own.ZvkFeatureStringGet(handle, Is(name, "DeviceModelName") ? "DeviceUserID" : name,
                                            buffer, size, length);
         });
     }},
    {"J9", [](auto&) { GIVE(ZvkFeatureFloatGet, Is(name, "ExposureTime"), ZvkErrorIO); }},
    {"J10",
     [](auto&) {
         REPLACE(ZvkFeatureFloatRangeQuery, [](auto handle, auto name, auto minimum, auto maximum) {
             return own.ZvkFeatureFloatRangeQuery(handle, Is(name, "ExposureTime") ? "Sharpness" : name,
                                                  minimum, maximum);
         });
     }},
    {"J11", [](auto&) { RENAME_ENTRIES("TriggerMode"); }},
    {"J12", [](auto&) { RENAME_ENTRIES("TriggerSource"); }},
    {"J13", [](auto&) { RENAME_ENTRIES("TriggerSelector"); }},
    {"J14", [](auto&) { RENAME_ENTRIES("TriggerActivation"); }},
    {"J15", [](auto&) { GIVE(ZvkFeatureIntSet, Is(name, "OffsetX") && value == 0, ZvkErrorSuccess); }},
    {"J16",
     [](auto&) {
         REPLACE(ZvkFeatureIntGet, [](auto handle, auto name, auto value) {
             const ZvkError_t result = own.ZvkFeatureIntGet(handle, name, value);
             *value += Is(name, "Width") ? 8 : 0;
             return result;
         });
     }},
    {"J17",
     [](auto&) {
         REPLACE(ZvkFeatureIntRangeQuery, [](auto handle, auto name, auto minimum, auto maximum) {
             const ZvkError_t result = own.ZvkFeatureIntRangeQuery(handle, name, minimum, maximum);
             *maximum += Is(name, "Width") ? 8 : 0;
             return result;
         });
     }},
    {"J18", [](auto&) { CHANGE_INFO("Gamma", info.featureDataType = ZvkFeatureDataInt); }},
    {"J19",
     [](auto&) {
         REPLACE(ZvkFeatureEnumAsInt, [](auto handle, auto name, auto entry, auto number) {
             const ZvkError_t result = own.ZvkFeatureEnumAsInt(handle, name, entry, number);
             if (Is(entry, "Mono12")) {
                 *number = ZvkPixelFormatMono12Packed;
             }
             return result;
         });
     }},
    {"J20",
     [](auto&) {
         REPLACE(ZvkFeatureEnumSet, [](auto handle, auto name, auto entry) {
             if (Is(name, "GainSelector")) {
                 own.ZvkFeatureIntSet(handle, "Counter", 9);
             }
             return own.ZvkFeatureEnumSet(handle, name, entry);
         });
     }},

    {"K1", [](auto&) { SHORT_PAYLOAD("Mono12", 64); }},
    {"K2",
     [](auto&) {
         REPLACE(ZvkPayloadSizeGet, [](auto handle, auto bytes) {
             const ZvkError_t result = own.ZvkPayloadSizeGet(handle, bytes);
             memory.calls = std::max(memory.calls, static_cast<int>(*bytes));
             *bytes = static_cast<std::uint32_t>(memory.calls);
             return result;
         });
     }},
    {"K3", [](auto&) { SHORT_PAYLOAD("Mono8", 24); }},
    {"K4", [](auto&) { REPLACE_ARRIVAL(frame->height -= frame->width == 64 ? 1 : 0;); }},
    {"K5",
     [](auto&) {
         REPLACE_ARRIVAL(frame->receiveStatus -= frame->offsetX == 0 && frame->width == 16 ? 1 : 0;);
     }},
    {"K6",
     [](auto&) {
         REPLACE(ZvkFeatureIntSet, [](auto handle, auto name, auto value) {
             return own.ZvkFeatureIntSet(handle, name, Is(name, "Width") ? value / 8 * 8 : value);
         });
     }},
    {"K7",
     [](auto&) { GIVE(ZvkFeatureIntSet, Is(name, "OffsetY") && value == 12, ZvkErrorSuccess); },
     {"K9"}},
    {"K8",
     [](auto&) {
         REPLACE(ZvkFeatureIntRangeQuery, [](auto handle, auto name, auto minimum, auto maximum) {
             const ZvkError_t result = own.ZvkFeatureIntRangeQuery(handle, name, minimum, maximum);
             if (Is(name, "Width")) {
                 *maximum = 64;
             }
             return result;
         });
     }},
    {"K9", [](auto&) { GIVE(ZvkFeatureIntSet, Is(name, "OffsetX") && value == 12, ZvkErrorSuccess); }},
    {"K10", [](auto&) { FORGIVE(ZvkFeatureIntSet, ZvkErrorInvalidAccess); }},
    {"K11", [](auto&) { REPLACE_ARRIVAL(frame->offsetX = 0;); }},
    {"K12",
     [](auto&) {
         REPLACE(ZvkFeatureIntSet, [](auto handle, auto name, auto value) {
             std::int64_t before = 0;
             own.ZvkFeatureIntGet(handle, "OffsetY", &before);
             return Is(name, "OffsetY") && before == 46 && value == 0
                        ? ZvkErrorIO
                        : own.ZvkFeatureIntSet(handle, name, value);
         });
     }},
};

} // namespace

std::span<const FaultRow> CameraFaults()
{
    return kCameraFaults;
}

} // namespace maravel::test
