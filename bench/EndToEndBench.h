// Frames per second of a host through the adapter beside a bare loop on the SDK.
#pragma once

#include "bench/Report.h"

#include <filesystem>

namespace maravel::bench {

struct EndToEndSettings
{
    std::size_t rounds = 31;
    std::filesystem::path builtSdkFolder;
    std::filesystem::path adapter;
    std::filesystem::path formerSdkFolder; // of another build, to compare with; may be empty
};

// Monochrome and colour, one and four cameras that send as fast as they get buffers.
void MeasureEndToEnd(const EndToEndSettings& settings, Report& report);

// Mosaics of one camera, converted by one thread, with this build's SDK folder and the former one.
void MeasureAgainstFormer(const EndToEndSettings& settings, Report& report);

} // namespace maravel::bench
