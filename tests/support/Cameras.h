// Descriptions of simulated cameras, a line each where they differ in little.
#pragma once

#include <string>

namespace maravel::test {

// A camera's table of a description. `formats` is the list between the brackets; `more` adds whole lines,
// such as what it shares with other cameras.
inline std::string CameraText(const std::string& id, const std::string& model, const std::string& bus,
                              int width, int height, const std::string& formats, const std::string& more)
{
    return "[[camera]]\nid = \"" + id + "\"\nmodel = \"" + model + "\"\ninterface = \"" + bus +
           "\"\nwidth = " + std::to_string(width) + "\nheight = " + std::to_string(height) +
           "\npixel_formats = [" + formats + "]\n" + more;
}

// Sends what a test emits, and nothing by itself.
inline constexpr char kManualSource[] = "frame_rate = 100.0\nexposure_us = 1000.0\nsource = \"manual\"\n";
inline constexpr char kMonoFormats[] = R"("Mono8", "Mono10", "Mono12", "Mono12Packed", "Mono14", "Mono16")";

} // namespace maravel::test
