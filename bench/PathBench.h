// The steps of the frame path beside the image itself: log line, frame callback, look-up, and what the whole
// path asks of the system.
#pragma once

#include "bench/Report.h"

#include <filesystem>

namespace maravel::bench {

struct PathBenchSettings
{
    std::size_t rounds = 31;
    Stopwatch stopwatch = SteadyClockStopwatch;
    std::filesystem::path builtSdkFolder;
};

// A log line and the frame callback against one raw write of as many bytes; the callback's slowest calls
// while a second thread polls.
void MeasureLogAndCallback(const PathBenchSettings& settings, Report& report);

// A feature's name among 300 and 1,000 against a walk with strcmp.
void MeasureLookUp(const PathBenchSettings& settings, Report& report);

// Allocations, page faults and system calls of a frame's way to the host, after the first lap of the ring.
// Forks, so no other thread may run.
void CountFramePath(const PathBenchSettings& settings, Report& report);

} // namespace maravel::bench
