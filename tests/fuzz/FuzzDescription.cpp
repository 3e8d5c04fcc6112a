// Any description of cameras: the SDK starts with it or says in one line why not, and every camera of it can
// be listed and opened.
#include "sdk/RuntimeEntryPoints.h"
#include "simulated/SimulationControl.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

extern "C" {
#define PROTOTYPE(result, name, parameters) result name parameters;
ZVK_RUNTIME_ENTRY_POINTS(PROTOTYPE)
SIM_CONTROL_FUNCTIONS(PROTOTYPE)
#undef PROTOTYPE
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    SimSetDescription(text.c_str());
    if (ZvkStartup(nullptr) != ZvkErrorSuccess) {
        char line[4096] = "";
        if (SimLastError(line, sizeof line) == 0 || std::strchr(line, '\n') != nullptr) {
            std::abort();
        }
        return 0;
    }
    std::uint32_t count = 0;
    ZvkCamerasList(nullptr, 0, &count, sizeof(ZvkCameraInfo_t));
    std::vector<ZvkCameraInfo_t> cameras(count);
    ZvkCamerasList(cameras.data(), count, &count, sizeof(ZvkCameraInfo_t));
    for (const ZvkCameraInfo_t& camera : cameras) {
        ZvkHandle_t handle = nullptr;
        if (ZvkCameraOpen(camera.cameraIdString, ZvkAccessModeFull, &handle) == ZvkErrorSuccess) {
            std::uint32_t features = 0;
            ZvkFeaturesList(handle, nullptr, 0, &features, sizeof(ZvkFeatureInfo_t));
            ZvkCameraClose(handle);
        }
    }
    ZvkShutdown();
    return 0;
}
