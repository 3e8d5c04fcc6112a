// Faults of the folder, of start and stop, of the list of cameras, and of opening and closing.
#include "Faults.h"
#include "support/TestPlatform.h"

#include <cstring>
#include <fstream>

namespace maravel::test {
namespace {

namespace fs = std::filesystem;

void Overwrite(const fs::path& target, const fs::path& source)
{
    fs::remove(target); // MinGW's copy_file cannot overwrite
    fs::copy_file(source, target);
}

// Of the list's call: whether it fills records.
bool Fills(const ZvkCameraInfo_t* list, std::uint32_t length, const std::uint32_t* found, ZvkError_t result)
{
    return list != nullptr && length > 0 && found != nullptr && result == 0;
}

// `change` is done to each camera of the list.
#define CHANGE_CAMERAS(change)                                                                               \
    REPLACE(ZvkCamerasList, [](auto list, auto length, auto found, auto size) {                              \
        const ZvkError_t result = own.ZvkCamerasList(list, length, found, size);                             \
        for (std::uint32_t i = 0; Fills(list, length, found, result) && i < *found; ++i) {                   \
            ZvkCameraInfo_t& camera = list[i];                                                               \
            change;                                                                                          \
        }                                                                                                    \
        return result;                                                                                       \
    })

Lingerers g_stray; // that a start left behind

std::vector<std::vector<char>> g_hoard;
fs::path g_home;
std::thread::id g_thread;

// Remembers the handle that was closed last.
void RememberClosed()
{
    REPLACE(ZvkCameraClose, [](auto camera) {
        const ZvkError_t result = own.ZvkCameraClose(camera);
        if (result == 0) {
            memory.handle = camera;
        }
        return result;
    });
}

const FaultRow kSdkFaults[] = {
    {"A1",
     [](auto& settings) {
         UseCopy(settings, [](auto& sdkFolder) { fs::remove(sdkFolder / "bin" / "ZvkImageTransform.dll"); });
     },
     {"A2", "A3", "A4", "A5", "A7", "A13", "A14"}},
    {"A2",
     [](auto& settings) {
         UseCopy(settings, [](auto& sdkFolder) {
             std::ofstream(sdkFolder / "bin" / "ZvkImageTransform.dll")
                 << "This is no library of any machine.";
         });
     },
     {"A3", "A4", "A5", "A7", "A13", "A14"}},
    {"A3",
     [](auto& settings) {
         UseCopy(settings, [](auto& sdkFolder) {
             Overwrite(sdkFolder / "bin" / "ZvkImageTransform.dll",
                       fs::path(ExecutableFolder()) / "needy" / MARAVEL_NEEDY_LIBRARY);
         });
     },
     {"A4", "A5", "A7", "A13", "A14"}},
    {"A4",
     [](auto&) {
         g_home = fs::current_path();
         REPLACE(ZvkVersionQuery, [](auto version, auto size) {
             return fs::current_path() == g_home ? own.ZvkVersionQuery(version, size) : ZvkErrorIO;
         });
     }},
    {"A5",
     [](auto& settings) {
         UseCopy(settings, [](auto& sdkFolder) {
             fs::create_directories(sdkFolder.parent_path() / "pictures");
             std::ofstream(sdkFolder.parent_path() / "pictures" / "a.pgm") << "P5\n1 1\n255\n0";
             std::ofstream(sdkFolder / "cameras.toml")
                 << "[[camera]]\nid = \"P\"\nmodel = \"P\"\nvendor = \"P\"\nserial = \"P\"\n"
                    "interface = \"USB3\"\ntransport_vendor = \"P\"\nwidth = 64\nheight = 48\n"
                    "pixel_formats = [\"Mono8\"]\nframe_rate = 10.0\nexposure_us = 1000.0\n"
                    "pictures = \"../pictures\"\n";
         });
     }},
    {"A6",
     [](auto& settings) {
         UseCopy(settings, [](auto& sdkFolder) {
             Overwrite(sdkFolder / "bin" / "ZvkC.dll", sdkFolder / "bin" / "ZvkImageTransform.dll");
         });
     },
     {"A4", "A5", "A13", "A14"}},
    {"A7",
     [](auto& settings) {
         UseCopy(settings, [](auto& sdkFolder) {
             Overwrite(sdkFolder / "bin" / "ZvkImageTransform.dll", sdkFolder / "bin" / "ZvkC.dll");
         });
     },
     {"A4", "A5", "A13", "A14"}},
    {"A8",
     [](auto&) {
         REPLACE(ZvkVersionQuery, [](auto version, auto size) {
             return State().started != 0 ? own.ZvkVersionQuery(version, size) : ZvkErrorApiNotStarted;
         });
     },
     {"A4", "A11", "A13"}},
    {"A9",
     [](auto&) {
         REPLACE(ZvkVersionQuery,
                 [](auto version, auto) { return own.ZvkVersionQuery(version, sizeof(*version)); });
     }},
    {"A10",
     [](auto&) {
         REPLACE(ZvkVersionQuery, [](auto version, auto size) {
             return version == nullptr ? ZvkErrorSuccess : own.ZvkVersionQuery(version, size);
         });
     }},
    {"A11",
     [](auto&) {
         REPLACE(ZvkVersionQuery, [](auto version, auto size) {
             const ZvkError_t result = own.ZvkVersionQuery(version, size);
             if (result == 0) {
                 *version = {};
             }
             return result;
         });
     }},
    {"A12",
     [](auto&) {
         REPLACE_TRANSFORM(ZvkGetImageTransformVersion, [](auto version) {
             *version = 4;
             return ZvkErrorSuccess;
         });
     }},
    {"A13", [](auto&) { sdk->SimFailCall("ZvkVersionQuery", 2, ZvkErrorInternalFault, 1); }, {"A11"}},
    {"A14",
     [](auto&) {
         g_hoard.clear();
         REPLACE(ZvkVersionQuery, [](auto version, auto size) {
             g_hoard.emplace_back(2 << 20, 'x');
             return own.ZvkVersionQuery(version, size);
         });
     }},

    {"B1",
     [](auto&) {
         REPLACE(ZvkStartup, [](auto path) {
             memory.flag = true;
             return own.ZvkStartup(path);
         });
         REPLACE(ZvkCaptureEnd,
                 [](auto handle) { return memory.flag ? own.ZvkCaptureEnd(handle) : ZvkErrorSuccess; });
     }},
    {"B2",
     [](auto&) {
         REPLACE(ZvkStartup,
                 [](auto path) { return path == nullptr ? ZvkErrorBadParameter : own.ZvkStartup(path); });
     },
     {"B3", "B5", "B6", "B9", "B10", "B11"}},
    {"B3",
     [](auto&) {
         REPLACE(ZvkStartup, [](auto path) {
             const ZvkError_t result = own.ZvkStartup(path);
             return result == ZvkErrorAlready ? ZvkErrorInternalFault : result;
         });
     }},
    {"B4",
     [](auto&) {
         REPLACE(ZvkStartup, [](auto path) {
             const ZvkError_t result = own.ZvkStartup(nullptr);
             return path != nullptr ? ZvkErrorNotFound : result;
         });
     }},
    {"B5",
     [](auto&) {
         REPLACE(ZvkShutdown, [] {
             own.ZvkShutdown();
             memory.flag = true;
         });
         REPLACE(ZvkStartup, [](auto path) {
             memory.flag = false;
             return own.ZvkStartup(path);
         });
         REPLACE(ZvkCamerasList, [](auto list, auto length, auto found, auto size) {
             return memory.flag ? ZvkErrorSuccess : own.ZvkCamerasList(list, length, found, size);
         });
     },
     {"B7"}},
    {"B6",
     [](auto&) {
         REPLACE(ZvkShutdown, [] {
             own.ZvkShutdown();
             ++memory.calls;
         });
         REPLACE(ZvkStartup, [](auto path) {
             const bool spoilt = memory.calls > 1;
             memory.calls = 0;
             return spoilt ? ZvkErrorInternalFault : own.ZvkStartup(path);
         });
     }},
    {"B7",
     [](auto&) {
         REPLACE(ZvkShutdown, [] {
             own.ZvkShutdown();
             memory.flag = true;
         });
         REPLACE(ZvkPayloadSizeGet, [](auto handle, auto payload) {
             if (memory.flag) {
                 *payload = 0;
             }
             return own.ZvkPayloadSizeGet(handle, payload);
         });
     }},
    {"B8",
     [](auto&) {
         REPLACE(ZvkStartup, [](auto path) {
             if (++memory.calls == 3) {
                 sdk->SimUnplug(1, 1);
             }
             return own.ZvkStartup(path);
         });
     }},
    {"B9",
     [](auto&) {
         g_thread = std::this_thread::get_id();
         REPLACE(ZvkStartup, [](auto path) {
             return std::this_thread::get_id() == g_thread ? own.ZvkStartup(path) : ZvkErrorInvalidCall;
         });
     }},
    {"B10",
     [](auto& settings) {
         settings.startSeconds = 0.02;
         REPLACE(ZvkStartup, [](auto path) {
             if (++memory.calls == 1) {
                 std::this_thread::sleep_for(std::chrono::milliseconds(40));
             }
             return own.ZvkStartup(path);
         });
     }},
    {"B11",
     [](auto&) {
         g_stray.End();
         REPLACE(ZvkStartup, [](auto path) {
             if (++memory.calls < 4) {
                 g_stray.Add();
             }
             return own.ZvkStartup(path);
         });
     }},
    {"B12", [](auto&) { FORGIVE(ZvkFeatureIntGet, ZvkErrorBadHandle); }},

    {"C1",
     [](auto&) {
         REPLACE(ZvkCamerasList, [](auto list, auto length, auto found, auto size) {
             const ZvkError_t result = own.ZvkCamerasList(list, length, found, size);
             if (list == nullptr && found != nullptr) {
                 ++*found;
             }
             return result;
         });
     },
     {"C2", "C3"}},
    {"C2",
     [](auto&) {
         REPLACE(ZvkCamerasList, [](auto list, auto length, auto found, auto size) {
             const ZvkError_t result = own.ZvkCamerasList(list, length, found, size);
             if (Fills(list, length, found, result) && *found == length) {
                 --*found;
             }
             return result;
         });
     }},
    {"C3", [](auto&) { FORGIVE(ZvkCamerasList, ZvkErrorMoreData); }},
    {"C4",
     [](auto&) {
         REPLACE(ZvkCamerasList, [](auto list, auto length, auto found, auto size) {
             const ZvkError_t result = own.ZvkCamerasList(list, length, found, size);
             if (Fills(list, length, found, result) && *found < length) {
                 list[*found] = {};
             }
             return result;
         });
     }},
    {"C5",
     [](auto&) {
         REPLACE(ZvkCamerasList, [](auto list, auto length, auto found, auto) {
             return own.ZvkCamerasList(list, length, found, sizeof(ZvkCameraInfo_t));
         });
     }},
    {"C6",
     [](auto&) {
         REPLACE(ZvkCamerasList, [](auto list, auto length, auto found, auto size) {
             return found == nullptr ? ZvkErrorSuccess : own.ZvkCamerasList(list, length, found, size);
         });
     }},
    {"C7", [](auto&) { CHANGE_CAMERAS(camera.cameraIdString = list[0].cameraIdString); }},
    {"C8", [](auto&) { CHANGE_CAMERAS(camera.modelName = nullptr); }},
    {"C9", [](auto&) { CHANGE_CAMERAS(camera.serialString = nullptr); }},
    {"C10",
     [](auto&) {
         CHANGE_CAMERAS(camera.modelName = memory.text);
         REPLACE(ZvkCameraOpen, [](auto id, auto mode, auto camera) {
             std::strcpy(memory.text, "two");
             return own.ZvkCameraOpen(id, mode, camera);
         });
     }},
    {"C11",
     [](auto&) {
         REPLACE(ZvkCamerasList, [](auto list, auto length, auto found, auto size) {
             const ZvkError_t result = own.ZvkCamerasList(list, length, found, size);
             if (Fills(list, length, found, result) && ++memory.calls == 5) {
                 std::swap(list[0], list[1]);
             }
             return result;
         });
     }},
    {"C12",
     [](auto&) {
         REPLACE(ZvkFeatureStringGet, [](auto, auto, auto, auto, auto) { return ZvkErrorNotFound; });
     }},
    {"C13",
     [](auto&) {
         REPLACE(ZvkCameraInfoQueryByHandle, [](auto handle, auto info, auto size) {
             const ZvkError_t result = own.ZvkCameraInfoQueryByHandle(handle, info, size);
             if (result == 0) {
                 info->streamHandles = nullptr;
             }
             return result;
         });
     }},
    {"C14",
     [](auto&) {
         REPLACE(ZvkCamerasList, [](auto list, auto length, auto found, auto size) {
             return State().capturingCameras > 0 ? ZvkErrorBusy
                                                 : own.ZvkCamerasList(list, length, found, size);
         });
     }},

    {"D1", [](auto&) { sdk->SimFailCall("ZvkCameraOpen", 1, ZvkErrorIO, 0); }, {"D8", "D9", "D11", "D12"}},
    {"D2",
     [](auto&) {
         REPLACE(ZvkCameraOpen, [](auto id, auto mode, auto camera) {
             const ZvkError_t result = own.ZvkCameraOpen(id, mode, camera);
             return result == ZvkErrorNotFound ? own.ZvkCameraOpen("FAST-1", mode, camera) : result;
         });
     }},
    {"D3",
     [](auto&) {
         REPLACE(ZvkCameraOpen, [](auto id, auto mode, auto camera) {
             return own.ZvkCameraOpen(id == nullptr ? "FAST-1" : id, mode, camera);
         });
     }},
    {"D4",
     [](auto&) {
         REPLACE(ZvkCameraOpen, [](auto id, auto mode, auto camera) {
             if (camera != nullptr) {
                 return own.ZvkCameraOpen(id, mode, camera);
             }
             ZvkHandle_t nobodys = nullptr;
             own.ZvkCameraOpen(id, mode, &nobodys);
             return ZvkErrorBadParameter;
         });
     }},
    {"D5",
     [](auto&) {
         REPLACE(ZvkCameraOpen, [](auto id, auto mode, auto camera) {
             const ZvkError_t result = own.ZvkCameraOpen(id, mode, camera);
             if (result == 0) {
                 memory.handle = *camera;
             }
             else if (result == ZvkErrorInUse) {
                 *camera = memory.handle;
             }
             return result == ZvkErrorInUse ? ZvkErrorSuccess : result;
         });
     }},
    {"D6",
     [](auto&) { sdk->SimFailCall("ZvkPayloadSizeGet", 1, ZvkErrorIO, 1); },
     {"D1", "D5", "D10", "D11", "D12", "D13"}},
    {"D7",
     [](auto&) {
         REPLACE(ZvkCameraOpen, [](auto id, auto mode, auto camera) {
             return mode != ZvkAccessModeFull ? ZvkErrorSuccess : own.ZvkCameraOpen(id, mode, camera);
         });
     }},
    {"D8",
     [](auto&) {
         RememberClosed();
         REPLACE(ZvkCaptureEnd, [](auto handle) {
             return handle != nullptr && handle == memory.handle ? ZvkErrorSuccess
                                                                 : own.ZvkCaptureEnd(handle);
         });
     }},
    {"D9",
     [](auto&) {
         REPLACE(ZvkCameraClose, [](auto camera) {
             const ZvkError_t result = own.ZvkCameraClose(camera);
             if (result == 0) {
                 memory.handle = camera;
             }
             return camera != nullptr && camera == memory.handle ? ZvkErrorSuccess : result;
         });
     },
     {"D8"}},
    {"D10",
     [](auto&) {
         REPLACE(ZvkCaptureEnd,
                 [](auto handle) { return handle == nullptr ? ZvkErrorSuccess : own.ZvkCaptureEnd(handle); });
     }},
    {"D11", [](auto&) { sdk->SimFailCall("ZvkCameraOpen", 5, ZvkErrorBusy, 0); }},
    {"D12",
     [](auto&) {
         REPLACE(ZvkPayloadSizeGet, [](auto handle, auto payload) {
             return State().openCameras > 1 ? ZvkErrorResources : own.ZvkPayloadSizeGet(handle, payload);
         });
     }},
    {"D13",
     [](auto&) {
         REPLACE(ZvkCameraClose, [](auto camera) {
             return State().capturingCameras > 0 ? ZvkErrorSuccess : own.ZvkCameraClose(camera);
         });
     }},
    {"D14",
     [](auto&) {
         REPLACE(ZvkCameraInfoQueryByHandle, [](auto handle, auto info, auto size) {
             const ZvkError_t result = own.ZvkCameraInfoQueryByHandle(handle, info, size);
             if (result == 0) {
                 info->serialString = "another";
             }
             return result;
         });
     }},
};

} // namespace

std::span<const FaultRow> SdkFaults()
{
    return kSdkFaults;
}

} // namespace maravel::test
