// The built libraries of an SDK folder, loaded and resolved as the adapter does it, with their control
// interfaces.
#pragma once

#include "backends/imagetransform/TransformControl.h"
#include "backends/simulated/SimulationControl.h"
#include "platform/Win32.h"
#include "sdk/ImageTransformEntryPoints.h"
#include "sdk/RuntimeEntryPoints.h"
#include "support/TestPlatform.h"

#include <stdexcept>
#include <string>

namespace maravel::test {

class LoadedLibrary
{
public:
    explicit LoadedLibrary(const std::string& path) : module(LoadLibraryA(path.c_str()))
    {
        if (module == nullptr)
            throw std::runtime_error("cannot load " + path);
    }
    ~LoadedLibrary()
    {
        if (module != nullptr)
            FreeLibrary(module);
    }
    LoadedLibrary(const LoadedLibrary&) = delete;
    LoadedLibrary& operator=(const LoadedLibrary&) = delete;

    template <class Function>
    Function Find(const char* name) const
    {
        const FARPROC address = GetProcAddress(module, name);
        if (address == nullptr)
            throw std::runtime_error(std::string("no entry point ") + name);
        return reinterpret_cast<Function>(reinterpret_cast<void*>(address));
    }

    HMODULE module; // null it to leave the library loaded
};

inline const std::string kSimulatedSdk = SdkFolder();

#define POINTER(result, name, parameters) result(*name) parameters = Find<result(*) parameters>(#name);

struct RuntimeLibrary : LoadedLibrary
{
    explicit RuntimeLibrary(const std::string& sdkFolder) : LoadedLibrary(sdkFolder + "/bin/ZvkC.dll") {}
    ZVK_RUNTIME_ENTRY_POINTS(POINTER)
};

struct SimulatedLibrary : RuntimeLibrary
{
    SimulatedLibrary() : RuntimeLibrary(kSimulatedSdk) {}
    SIM_CONTROL_FUNCTIONS(POINTER)
};

struct TransformLibrary : LoadedLibrary
{
    TransformLibrary() : TransformLibrary(kSimulatedSdk) {}
    explicit TransformLibrary(const std::string& sdkFolder)
        : LoadedLibrary(sdkFolder + "/bin/ZvkImageTransform.dll")
    {
    }
    ZVK_IMAGE_TRANSFORM_ENTRY_POINTS(POINTER)
    SIM_TRANSFORM_FUNCTIONS(POINTER)
};

#undef POINTER

} // namespace maravel::test
