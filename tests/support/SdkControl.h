// The control interfaces of the simulated SDK, resolved from its libraries.
#pragma once

#include "imagetransform/TransformControl.h"
#include "simulated/SimulationControl.h"
#include "support/LoadedLibrary.h"

#include <string>
#include <vector>

namespace maravel::test {

// Keeps both libraries of the SDK folder loaded, so that they can be steered before the adapter loads them
// and looked at after it has let them go.
class SdkControl
{
    LoadedLibrary runtime_; // before the functions that come out of them
    LoadedLibrary transform_;

public:
    explicit SdkControl(const std::string& sdkFolder)
        : runtime_(sdkFolder + "/bin/ZvkC.dll"), transform_(sdkFolder + "/bin/ZvkImageTransform.dll")
    {
    }

#define POINTER(result, name, parameters)                                                                    \
    result(*name) parameters = runtime_.Find<result(*) parameters>(#name);
    SIM_CONTROL_FUNCTIONS(POINTER)
#undef POINTER
#define POINTER(result, name, parameters)                                                                    \
    result(*name) parameters = transform_.Find<result(*) parameters>(#name);
    SIM_TRANSFORM_FUNCTIONS(POINTER)
#undef POINTER

    // A line each, whole or up to what first stands there.
    std::vector<std::string> Calls(const std::string& upTo = "\n") const;
    std::string Violations() const;
    SimStateInfo State() const;
    SimStatistics Statistics(std::uint32_t camera) const;
};

} // namespace maravel::test
