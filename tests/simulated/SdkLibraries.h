// The built libraries of an SDK folder, loaded and resolved as the adapter does it, with their control
// interfaces.
#pragma once

#include "backends/imagetransform/TransformControl.h"
#include "backends/simulated/SimulationControl.h"
#include "sdk/ImageTransformEntryPoints.h"
#include "sdk/RuntimeEntryPoints.h"
#include "support/LoadedLibrary.h"
#include "support/TestPlatform.h"

#include <string>

namespace maravel::test {

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
