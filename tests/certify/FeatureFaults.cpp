// Faults of a camera's features.
#include "Faults.h"

#include <cctype>
#include <cmath>
#include <cstring>
#include <limits>

namespace maravel::test {
namespace {

template <class Change>
ZvkError_t ListChanged(ZvkHandle_t handle, ZvkFeatureInfo_t* list, std::uint32_t length, std::uint32_t* found,
                       std::uint32_t size, Change change)
{
    const ZvkError_t result = own.ZvkFeaturesList(handle, list, length, found, size);
    if (list != nullptr && length > 1 && result == 0 && *found > 1) {
        change(list, length, found);
    }
    return result;
}

#define REPLACE_LIST(...)                                                                                    \
    REPLACE(ZvkFeaturesList, [](auto handle, auto array, auto room, auto filled, auto size) {                \
        return ListChanged(handle, array, room, filled, size, __VA_ARGS__);                                  \
    })

const FaultRow kFeatureFaults[] = {
    {"E1",
     [](auto&) {
         REPLACE(ZvkFeaturesList, [](auto handle, auto list, auto length, auto found, auto size) {
             const ZvkError_t result = own.ZvkFeaturesList(handle, list, length, found, size);
             if (list == nullptr && found != nullptr) {
                 ++*found;
             }
             return result;
         });
     },
     {"E2", "E3"}},
    {"E2",
     [](auto&) {
         REPLACE_LIST([](auto*, auto length, auto* found) { *found -= *found == length ? 1 : 0; });
     }},
    {"E3", [](auto&) { FORGIVE(ZvkFeaturesList, ZvkErrorMoreData); }},
    {"E4",
     [](auto&) {
         REPLACE(ZvkFeaturesList, [](auto handle, auto list, auto length, auto found, auto) {
             return own.ZvkFeaturesList(handle, list, length, found, sizeof(ZvkFeatureInfo_t));
         });
     }},
    {"E5", [](auto&) { REPLACE_LIST([](auto* list, auto, auto*) { list[1].name = list[0].name; }); }},
    {"E6",
     [](auto&) {
         REPLACE_LIST([](auto* list, auto, auto*) {
             if (++memory.calls == 5) {
                 std::swap(list[0], list[1]);
             }
         });
     }},
    {"E7", [](auto&) { REPLACE_LIST([](auto* list, auto, auto*) { list[0].featureDataType = 42; }); }},
    {"E8",
     [](auto&) {
         REPLACE_LIST([](auto* list, auto, auto*) {
             list[0].description = memory.text;
             if (++memory.calls == 4) {
                 std::strcpy(memory.text, "two");
             }
         });
     }},
    {"E9",
     [](auto&) {
         REPLACE(ZvkFeatureAccessQuery, [](auto handle, auto name, auto readable, auto writable) {
             return Is(name, "Counter") ? ZvkErrorIO
                                        : own.ZvkFeatureAccessQuery(handle, name, readable, writable);
         });
     }},
    {"E10",
     [](auto&) {
         REPLACE(ZvkFeatureAccessQuery, [](auto handle, auto name, auto readable, auto writable) {
             return Is(name, "NoSuchFeature") ? ZvkErrorSuccess
                                              : own.ZvkFeatureAccessQuery(handle, name, readable, writable);
         });
     }},
    {"E11",
     [](auto&) {
         REPLACE(ZvkFeatureAccessQuery, [](auto handle, auto name, auto readable, auto writable) {
             std::string text = name == nullptr ? "" : name;
             if (!text.empty()) {
                 text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
             }
             return own.ZvkFeatureAccessQuery(handle, text.c_str(), readable, writable);
         });
     }},
    {"E12",
     [](auto&) {
         REPLACE(ZvkFeaturesList, [](auto handle, auto list, auto length, auto found, auto size) {
             void* camera = nullptr;
             void* stream = nullptr;
             sdk->SimCameraHandles(0, &camera, &stream);
             return handle == stream ? ZvkErrorNotSupported
                                     : own.ZvkFeaturesList(handle, list, length, found, size);
         });
     }},

    {"F1",
     [](auto&) {
         REPLACE(ZvkFeatureIntRangeQuery, [](auto handle, auto name, auto minimum, auto maximum) {
             const ZvkError_t result = own.ZvkFeatureIntRangeQuery(handle, name, minimum, maximum);
             if (Is(name, "WidthMax")) {
                 *maximum = *minimum = 1;
             }
             return result;
         });
     }},
    {"F2",
     [](auto&) {
         REPLACE(ZvkFeatureIntRangeQuery, [](auto handle, auto name, auto minimum, auto maximum) {
             return Is(name, "WidthMax") ? own.ZvkFeatureIntRangeQuery(handle, "Counter", maximum, minimum)
                                         : own.ZvkFeatureIntRangeQuery(handle, name, minimum, maximum);
         });
     },
     {"F1"}},
    {"F3", [](auto&) { GIVE(ZvkFeatureIntSet, Is(name, "Counter") && value == 1, ZvkErrorSuccess); }},
    {"F4", [](auto&) { GIVE(ZvkFeatureIntSet, Is(name, "Counter") && value == 10, ZvkErrorIO); }},
    {"F5", [](auto&) { GIVE(ZvkFeatureIntSet, Is(name, "Counter") && value == 5, ZvkErrorIO); }},
    {"F6", [](auto&) { GIVE(ZvkFeatureIntSet, Is(name, "Counter") && value < 1, ZvkErrorSuccess); }},
    {"F7",
     [](auto&) {
         REPLACE(ZvkFeatureIntSet, [](auto handle, auto name, auto value) {
             return own.ZvkFeatureIntSet(handle, name, Is(name, "Counter") && value > 10 ? 10 : value);
         });
     }},
    {"F8", [](auto&) { GIVE(ZvkFeatureIntSet, Is(name, "WidthMax"), ZvkErrorSuccess); }},
    {"F9",
     [](auto&) {
         REPLACE(ZvkFeatureFloatGet, [](auto handle, auto name, auto value) {
             if (!Is(name, "Counter")) {
                 return own.ZvkFeatureFloatGet(handle, name, value);
             }
             *value = 5;
             return ZvkErrorSuccess;
         });
     }},
    {"F10", [](auto&) { GIVE(ZvkFeatureIntGet, value == nullptr, ZvkErrorSuccess); }},

    {"G1",
     [](auto&) {
         REPLACE(ZvkFeatureFloatGet, [](auto handle, auto name, auto value) {
             const ZvkError_t result = own.ZvkFeatureFloatGet(handle, name, value);
             if (Is(name, "Temperature") && value != nullptr) {
                 *value = std::numeric_limits<double>::quiet_NaN();
             }
             return result;
         });
     }},
    {"G2",
     [](auto&) {
         REPLACE(ZvkFeatureFloatRangeQuery, [](auto handle, auto name, auto minimum, auto maximum) {
             return Is(name, "Temperature") ? own.ZvkFeatureFloatRangeQuery(handle, name, maximum, minimum)
                                            : own.ZvkFeatureFloatRangeQuery(handle, name, minimum, maximum);
         });
     }},
    {"G3", [](auto&) { GIVE(ZvkFeatureFloatSet, Is(name, "Level") && value == 1, ZvkErrorSuccess); }},
    {"G4", [](auto&) { GIVE(ZvkFeatureFloatSet, Is(name, "Level") && value == 10, ZvkErrorIO); }},
    {"G5", [](auto&) { GIVE(ZvkFeatureFloatSet, Is(name, "Level") && value == 5.5, ZvkErrorSuccess); }},
    {"G6",
     [](auto&) {
         GIVE(ZvkFeatureFloatSet, Is(name, "Level") && (value > 10 || value < 1) && std::isfinite(value),
              ZvkErrorSuccess);
     }},
    {"G7", [](auto&) { GIVE(ZvkFeatureFloatSet, Is(name, "Level") && std::isnan(value), ZvkErrorSuccess); }},
    {"G8", [](auto&) { GIVE(ZvkFeatureFloatSet, Is(name, "Temperature"), ZvkErrorSuccess); }},
    {"G9", [](auto&) { GIVE(ZvkFeatureFloatGet, value == nullptr, ZvkErrorSuccess); }},

    {"H1",
     [](auto&) {
         REPLACE(ZvkFeatureEnumGet, [](auto handle, auto name, auto value) {
             if (!Is(name, "Lens") || value == nullptr) {
                 return own.ZvkFeatureEnumGet(handle, name, value);
             }
             *value = "Fisheye";
             return ZvkErrorSuccess;
         });
     },
     {"H5"}},
    {"H2",
     [](auto&) {
         REPLACE(ZvkFeatureEnumRangeQuery, [](auto handle, auto name, auto entries, auto length, auto found) {
             const ZvkError_t result = own.ZvkFeatureEnumRangeQuery(handle, name, entries, length, found);
             return result == ZvkErrorMoreData && Is(name, "Filter") ? ZvkErrorSuccess : result;
         });
     }},
    {"H3",
     [](auto&) {
         REPLACE(ZvkFeatureEnumRangeQuery, [](auto handle, auto name, auto entries, auto length, auto found) {
             const ZvkError_t result = own.ZvkFeatureEnumRangeQuery(handle, name, entries, length, found);
             if (entries != nullptr && length > 2 && result == 0 && Is(name, "Filter")) {
                 entries[2] = "";
             }
             return result;
         });
     },
     {"H4"}},
    {"H4",
     [](auto&) {
         REPLACE(ZvkFeatureEnumIsAvailable, [](auto handle, auto name, auto entry, auto available) {
             return Is(entry, "Green") ? ZvkErrorIO
                                       : own.ZvkFeatureEnumIsAvailable(handle, name, entry, available);
         });
     },
     {"H7"}},
    {"H5",
     [](auto&) {
         REPLACE(ZvkFeatureEnumIsAvailable, [](auto handle, auto name, auto entry, auto available) {
             const ZvkError_t result = own.ZvkFeatureEnumIsAvailable(handle, name, entry, available);
             if (Is(entry, "Wide") && available != nullptr) {
                 *available = 0;
             }
             return result;
         });
     }},
    {"H6", [](auto&) { GIVE(ZvkFeatureEnumSet, Is(value, "Blue"), ZvkErrorSuccess); }},
    {"H7", [](auto&) { GIVE(ZvkFeatureEnumSet, Is(value, "Infrared"), ZvkErrorSuccess); }},
    {"H8",
     [](auto&) { GIVE(ZvkFeatureEnumSet, Is(name, "Filter") && Is(value, "NoSuchEntry"), ZvkErrorSuccess); }},
    {"H9",
     [](auto&) {
         REPLACE(ZvkFeatureEnumAsInt, [](auto handle, auto name, auto entry, auto number) {
             return own.ZvkFeatureEnumAsInt(handle, name, Is(entry, "Green") ? "Red" : entry, number);
         });
     }},
    {"H10", [](auto&) { GIVE(ZvkFeatureEnumSet, Is(name, "Lens") && value != nullptr, ZvkErrorSuccess); }},
    {"H11", [](auto&) { GIVE(ZvkFeatureEnumSet, value == nullptr, ZvkErrorSuccess); }},
};

} // namespace

std::span<const FaultRow> FeatureFaults()
{
    return kFeatureFaults;
}

} // namespace maravel::test
