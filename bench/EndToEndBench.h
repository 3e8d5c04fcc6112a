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
};

// Monochrome and colour, one and four cameras that send as fast as they get buffers.
void MeasureEndToEnd(const EndToEndSettings& settings, Report& report);

} // namespace maravel::bench
