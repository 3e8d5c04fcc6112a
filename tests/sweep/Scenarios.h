// What a host does with the adapter, to be repeated with every call of the SDK failing.
#pragma once

#include "sweep/SweepHost.h"

#include <functional>
#include <string>
#include <vector>

namespace maravel::sweep {

// Four small cameras that send only what is emitted: monochrome, colour, Bayer and one of the old generation.
extern const std::string kSweepCameras;
inline constexpr int kCameraCount = 4;

struct Scenario
{
    std::string group;
    std::string name;
    int channel; // the one channel that it works on, of a started adapter; -1: it starts the adapter itself
    std::function<void(SweepHost&)> run;

    bool IsWholeLife() const { return channel < 0; }
};

// All of them. Asks a started adapter for the cameras' features.
std::vector<Scenario> AllScenarios(SweepHost& host);

} // namespace maravel::sweep
