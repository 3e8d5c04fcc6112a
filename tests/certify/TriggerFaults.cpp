// Faults of a camera's triggers.
#include "Faults.h"

namespace maravel::test {
namespace {

bool IsSet(ZvkHandle_t camera, const char* name, std::string_view wanted)
{
    const char* value = nullptr;
    return own.ZvkFeatureEnumGet(camera, name, &value) == 0 && std::string_view(value).starts_with(wanted);
}

// A command does something else when `when` holds, which sees the camera and the command's name.
#define INSTEAD_OF_COMMAND(when, ...)                                                                        \
    REPLACE(ZvkFeatureCommandRun, [](auto camera, auto name) {                                               \
        if (when)                                                                                            \
            __VA_ARGS__                                                                                      \
        return own.ZvkFeatureCommandRun(camera, name);                                                       \
    })

// An entry is taken and not set when `when` holds.
#define IGNORE_ENTRY(when)                                                                                   \
    REPLACE(ZvkFeatureEnumSet, [](auto camera, auto name, auto entry) {                                      \
        return (when) ? ZvkErrorSuccess : own.ZvkFeatureEnumSet(camera, name, entry);                        \
    })

const FaultRow kTriggerFaults[] = {
    {"N1",
     [](auto&) {
         INSTEAD_OF_COMMAND(Is(name, "TriggerSoftware"), { own.ZvkFeatureCommandRun(camera, name); });
     }},
    {"N2",
     [](auto&) {
         INSTEAD_OF_COMMAND(Is(name, "TriggerSoftware") && ++memory.calls == 10, { return ZvkErrorSuccess; });
     }},
    {"N3",
     [](auto&) {
         INSTEAD_OF_COMMAND(Is(name, "TriggerSoftware") && IsSet(camera, "TriggerMode", "Off"),
                            { return own.ZvkFeatureCommandRun(camera, "AcquisitionStop"); });
     }},
    {"N5",
     [](auto&) {
         INSTEAD_OF_COMMAND(Is(name, "AcquisitionStart") && IsSet(camera, "TriggerSource", "Line"),
                            { sdk->SimEmitFrame(0, nullptr); });
     }},
    {"N6",
     [](auto&) {
         REPLACE(ZvkFeatureEnumGet, [](auto camera, auto name, auto value) {
             if (!Is(name, "TriggerMode") || !IsSet(camera, "TriggerSelector", "Acquisition")) {
                 return own.ZvkFeatureEnumGet(camera, name, value);
             }
             *value = "Off";
             return ZvkErrorSuccess;
         });
     }},
    {"N7",
     [](auto&) { IGNORE_ENTRY(Is(name, "TriggerMode") && Is(entry, "On") && State().acquiringCameras > 0); }},
    {"N8", [](auto&) { IGNORE_ENTRY(Is(entry, "Line1")); }},
    {"N9", [](auto&) { IGNORE_ENTRY(Is(entry, "AnyEdge")); }},
    {"N10", [](auto&) { REPLACE(ZvkFeatureFloatSet, [](auto, auto, auto) { return ZvkErrorSuccess; }); }},
    {"N12",
     [](auto&) {
         INSTEAD_OF_COMMAND(Is(name, "TriggerSoftware"), { memory.flag = true; });
         IGNORE_ENTRY(Is(name, "TriggerMode") && Is(entry, "Off") && memory.flag);
     }},
};

} // namespace

std::span<const FaultRow> TriggerFaults()
{
    return kTriggerFaults;
}

} // namespace maravel::test
