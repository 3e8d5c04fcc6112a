// The control interfaces of the simulated SDK, resolved from its libraries.
#pragma once

#include "imagetransform/TransformControl.h"
#include "platform/Win32.h"
#include "simulated/SimulationControl.h"

#include <string>
#include <vector>

namespace maravel::test {

// Keeps both libraries of the SDK folder loaded, so that they can be steered before the adapter loads them
// and looked at after it has let them go.
class SdkControl
{
public:
    explicit SdkControl(const std::string& sdkFolder);
    ~SdkControl();
    SdkControl(const SdkControl&) = delete;
    SdkControl& operator=(const SdkControl&) = delete;

#define POINTER(result, name, parameters) result(*name) parameters = nullptr;
    SIM_CONTROL_FUNCTIONS(POINTER)
    SIM_TRANSFORM_FUNCTIONS(POINTER)
#undef POINTER

    std::vector<std::string> Calls() const;
    std::string Violations() const;
    SimStateInfo State() const;
    SimStatistics Statistics(std::uint32_t camera) const;

private:
    HMODULE runtime_;
    HMODULE transform_;
};

} // namespace maravel::test
