// Faults of an adapter, and of an SDK below it.
#include "Faults.h"
#include "camhost/System.h"
#include "certify/Sdk.h"
#include "host/Utf8Path.h"

#include <cstring>
#include <deque>

namespace maravel::test {
namespace {

VideoChannelDescriptor theirs; // as the adapter filled it

// Each descriptor, before the check sees it.
#define ALTER(...)                                                                                           \
    settings.alter = [](VideoChannelDescriptor& channel) {                                                   \
        theirs = channel;                                                                                    \
        __VA_ARGS__                                                                                          \
    }
// A callback becomes a lambda that captures nothing; records of older hosts have room for some only.
#define ALTER_CALLBACK(name, ...) ALTER(if (channel.structSize > 608) channel.name = __VA_ARGS__;)
#define CHANGE_ATTRIBUTES(change)                                                                            \
    ALTER_CALLBACK(GetImageAttributes, [](auto text, auto index, auto attributes, auto status) {             \
        const std::int32_t result = theirs.GetImageAttributes(text, index, attributes, status);              \
        change;                                                                                              \
        return result;                                                                                       \
    })

std::deque<std::vector<char>> g_kept;
std::atomic<int> g_inside;

Lingerers g_lingerers;

const FaultRow kAdapterFaults[] = {
    {"P1",
     [](auto& settings) { settings.adapter = host::TextOf(settings.sdk / "bin" / certify::kRuntimeFile); }},
    {"P2",
     [](auto& settings) { ALTER(if (channel.channelID == 1) std::strcpy(channel.serialNumber, "7");); }},
    {"P3", [](auto& settings) { ALTER(if (channel.structSize == 608) channel.GetFeatureName = nullptr;); }},
    {"P4", [](auto& settings) { ALTER(channel.hostData608[3] = 0;); }},
    {"P5", [](auto& settings) { ALTER(channel.exposureTime *= 1000;); }},
    {"P6", [](auto& settings) { ALTER(std::strcpy(channel.label, "Zorvik/Other: Slow");); }},
    {"P7",
     [](auto& settings) {
         ALTER_CALLBACK(ReadValue, [](auto text, auto index, auto name, auto value) {
             return name == nullptr ? MARAVEL_SUCCESS : theirs.ReadValue(text, index, name, value);
         });
     }},
    {"P8",
     [](auto& settings) {
         ALTER_CALLBACK(ReadValue, [](auto text, auto index, auto name, auto value) {
             return theirs.ReadValue(text, index < 0 ? 0 : index, name, value);
         });
     }},
    {"P9",
     [](auto& settings) {
         ALTER_CALLBACK(GetFeatureName, [](auto text, auto index, auto place, auto name) {
             return theirs.GetFeatureName(text, index, place + 1, name);
         });
     }},
    {"P10",
     [](auto& settings) {
         ALTER_CALLBACK(GetFeatureType, [](auto text, auto index, auto name, auto type) {
             const std::int32_t result = theirs.GetFeatureType(text, index, name, type);
             if (Is(name, "Counter") && type != nullptr) {
                 *type = FeatureTypeFloat;
             }
             return result;
         });
     }},
    {"P11",
     [](auto& settings) {
         ALTER_CALLBACK(GetFeatureAttr, [](auto text, auto index, auto name, auto kind, auto value) {
             const bool wrong = Is(name, "Counter") && kind == FeatureAttrReadable;
             return theirs.GetFeatureAttr(text, index, wrong ? "AcquisitionStart" : name, kind, value);
         });
     }},
    {"P12",
     [](auto& settings) {
         ALTER_CALLBACK(GetValidEnum, [](auto text, auto index, auto name, auto place, auto entry) {
             return theirs.GetValidEnum(text, index, name, Is(name, "Filter") ? place + 1 : place, entry);
         });
     }},
    {"P13",
     [](auto& settings) {
         ALTER_CALLBACK(ReadValue, [](auto text, auto index, auto name, auto value) {
             return theirs.ReadValue(text, index, Is(name, "Lens") ? "Filter" : name, value);
         });
     }},
    {"P14",
     [](auto& settings) {
         ALTER_CALLBACK(WriteValue, [](auto text, auto index, auto name, auto value) {
             return Is(name, "Counter") && value != nullptr ? MARAVEL_SUCCESS
                                                            : theirs.WriteValue(text, index, name, value);
         });
     }},
    {"P15",
     [](auto& settings) {
         ALTER_CALLBACK(ExecuteCommand, [](auto text, auto index, auto name) {
             return Is(name, "Width") ? MARAVEL_SUCCESS : theirs.ExecuteCommand(text, index, name);
         });
     }},

    {"Q1", [](auto& settings) { CHANGE_ATTRIBUTES(++attributes->pitch); }},
    {"Q2",
     [](auto& settings) {
         ALTER_CALLBACK(StartAcquisition, [](auto text, auto index) {
             theirs.StartAcquisition(text, index);
             std::this_thread::sleep_for(std::chrono::milliseconds(5));
             return theirs.StartAcquisition(text, index);
         });
     }},
    {"Q3",
     [](auto& settings) {
         ALTER_CALLBACK(SetupCommonParams, [](auto text, auto index, auto params) {
             CommonParams others = *params;
             others.acqTriggered = 0;
             return theirs.SetupCommonParams(text, index, &others);
         });
     }},
    {"Q4",
     [](auto& settings) {
         ALTER_CALLBACK(SetupCommonParams, [](auto text, auto index, auto params) {
             CommonParams others = *params;
             others.roiwidth = others.roiwidth > 64 ? 32 : others.roiwidth;
             return theirs.SetupCommonParams(text, index, &others);
         });
     }},
    {"Q5",
     [](auto& settings) {
         ALTER(
             channel.WriteValue =
                 [](auto text, auto index, auto name, auto value) {
                     memory.flag = Is(value, "Mono12");
                     return theirs.WriteValue(text, index, name, value);
                 };
             channel.GetImage =
                 [](auto text, auto index, auto destination, auto status) {
                     if (memory.flag) {
                         static_cast<std::uint8_t*>(destination)[-1] = 0;
                     }
                     return theirs.GetImage(text, index, destination, status);
                 };);
     }},
    {"Q6", [](auto& settings) { CHANGE_ATTRIBUTES(attributes->timestamp = 7); }},
    {"Q7",
     [](auto& settings) {
         ALTER(
             channel.StartAcquisition =
                 [](auto text, auto index) {
                     memory.flag = true;
                     return theirs.StartAcquisition(text, index);
                 };
             channel.QueryImageStatus =
                 [](auto text, auto index, auto status) {
                     const std::int32_t result = theirs.QueryImageStatus(text, index, status);
                     if (!memory.flag) {
                         *status = ImageStatusReady;
                     }
                     return result;
                 };);
     }},
    {"Q8",
     [](auto& settings) {
         CHANGE_ATTRIBUTES(attributes->timestamp += static_cast<std::uint64_t>(++memory.calls));
     }},
    {"Q9",
     [](auto&) {
         REPLACE(ZvkCaptureStart, [](auto handle) {
             return ++memory.calls > 15 ? ZvkErrorResources : own.ZvkCaptureStart(handle);
         });
     }},
    {"Q10",
     [](auto& settings) {
         ALTER(char text[MARAVEL_TEXT_SIZE]; if (++memory.calls > 2) // there are two cameras
                                             channel.StopAcquisition(text, 0););
     }},

    {"R1",
     [](auto& settings) { ALTER_CALLBACK(ReleaseVideoChannel, [](auto, auto) { return MARAVEL_SUCCESS; }); }},
    {"R2",
     [](auto& settings) {
         ALTER(
             channel.ReleaseVideoChannel =
                 [](auto text, auto index) {
                     memory.flag = true;
                     return theirs.ReleaseVideoChannel(text, index);
                 };
             channel.StartAcquisition =
                 [](auto text, auto index) {
                     return memory.flag ? MARAVEL_FAILURE : theirs.StartAcquisition(text, index);
                 };);
     }},
    {"R3", [](auto&) { GIVE(ZvkFeatureEnumSet, Is(name, "TriggerActivation"), ZvkErrorIO); }},
    {"R4",
     [](auto&) {
         REPLACE(ZvkCaptureStart, [](auto handle) {
             memory.flag = true;
             return own.ZvkCaptureStart(handle);
         });
         REPLACE(ZvkCameraClose,
                 [](auto handle) { return memory.flag ? ZvkErrorSuccess : own.ZvkCameraClose(handle); });
         REPLACE(ZvkShutdown, [] {
             if (!memory.flag) {
                 own.ZvkShutdown();
             }
         });
     }},
    {"R5",
     [](auto& settings) {
         ALTER_CALLBACK(ReadValue, [](auto text, auto index, auto name, auto value) {
             const bool alone = ++g_inside == 1;
             std::this_thread::sleep_for(std::chrono::milliseconds(1));
             const std::int32_t result = theirs.ReadValue(text, index, name, value);
             --g_inside;
             return alone ? result : MARAVEL_FAILURE;
         });
     }},
    {"R6",
     [](auto& settings) {
         ALTER(channel.openResult = camhost::Variable("ZORVIK_HOME").size() > 190 ? 1 : 0;);
     }},
    {"R7",
     [](auto& settings) {
         g_kept.clear();
         settings.loadMemory = 4U << 20; // a busy machine fetches few images
         ALTER_CALLBACK(GetImage, [](auto text, auto index, auto destination, auto status) {
             g_kept.emplace_back(8U << 20, 'x');
             return theirs.GetImage(text, index, destination, status);
         });
     }},
    {"R8",
     [](auto& settings) {
         g_kept.clear();
         ALTER(g_kept.emplace_back(16U << 20, 'x'););
     }},
    {"R9",
     [](auto& settings) {
         g_lingerers.End();
         ALTER(g_lingerers.Add(););
     }},
    {"R10",
     [](auto& settings) {
         g_lingerers.End();
         ALTER(channel.QueryImageStatus = [](auto text, auto index, auto status) {
             const std::int32_t result = theirs.QueryImageStatus(text, index, status);
             if (*status == ImageStatusReady && ++memory.calls > 12) {
                 *status = ImageStatusPending;
             }
             return result;
         };);
     },
     {"R7"}},
};

} // namespace

std::span<const FaultRow> AdapterFaults()
{
    return kAdapterFaults;
}

} // namespace maravel::test
