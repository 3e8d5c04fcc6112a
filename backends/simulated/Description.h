// The description of the simulated cameras: the TOML file cameras.toml in the SDK folder. What its keys mean
// is written in the file that comes with the library.
#pragma once

#include "FaultPlan.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace maravel::simulated {

struct PixelFormat;

// A feature that a description adds to a camera or its stream.
struct ExtraFeature
{
    std::string name;
    std::string type; // int, float, enum, string, bool, command, raw
    std::string value;
    std::string description;
    double minimum = 0;
    double maximum = 0;
    std::int64_t increment = 1;
    std::vector<std::string> entries;
    std::vector<std::string> unavailableEntries;
    bool readable = true;
    bool writable = true;
    std::uint32_t durationMs = 0; // of a command
};

struct CameraDescription
{
    std::string id;
    std::string model;
    std::string vendor;
    std::string serial;
    bool gigE = true; // else USB3
    std::string transportVendor;
    std::uint32_t width = 0; // of the sensor, pixels
    std::uint32_t height = 0;
    std::vector<const PixelFormat*> pixelFormats; // the first is the one at power-up
    double frameRate = 0;                         // the camera's highest, frames a second
    double exposureUs = 10000;
    bool legacy = false;          // the feature names of before SFNC 2
    bool freerunSource = false;   // TriggerSource has the entry Freerun
    std::uint32_t lines = 2;      // input lines
    std::uint32_t packetSize = 0; // what the negotiation ends with; 0: the stream has no such command
    std::uint32_t packetNegotiationMs = 0;
    std::uint32_t streams = 1;
    bool manual = false; // no frames but those emitted through the control interface
    std::filesystem::path pictures;
    std::uint32_t incompleteEvery = 0;                       // every n-th frame is incomplete; 0: none
    bool busy = false;                                       // another program has it
    std::vector<std::string> removed;                        // features that this camera does not have
    std::vector<std::pair<std::string, std::string>> values; // at power-up, by feature
    std::vector<ExtraFeature> features;
    // Where the camera and its values stand, for messages.
    std::uint32_t line = 0;
    std::uint32_t column = 0;
};

// A whole description.
struct SimulationDescription
{
    std::vector<CameraDescription> cameras;
    std::vector<PlannedFault> faults;
};

// Reads a description; `name` is what messages call it. False: `error` is one line
// "NAME:LINE:COLUMN: what is wrong and what is expected".
bool ParseDescription(const std::string& text, const std::string& name, const std::filesystem::path& folder,
                      SimulationDescription* description, std::string* error);

} // namespace maravel::simulated
