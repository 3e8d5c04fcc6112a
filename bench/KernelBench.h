// The speed of the image kernels against the C library's copy, against the best copy that this machine can
// do, and against peers that the caller brings. Runs on both systems; `camhost bench` and the benchmark
// program share it.
#pragma once

#include "bench/Report.h"
#include "bench/Rounds.h"

#include <cstdint>
#include <string>
#include <vector>

namespace maravel::bench {

struct ImageSize
{
    const char* name;
    std::size_t width;
    std::size_t height;

    std::size_t pixels() const { return width * height; }
};

// Somebody else's way from RGB pixels to planes.
struct SplitPeer
{
    std::string name;
    void (*split)(const std::uint8_t* rgb, const ImageSize& size, std::uint8_t* planes);
};

struct KernelBenchSettings
{
    std::size_t rounds = 31;
    Stopwatch stopwatch = SteadyClockStopwatch;
    std::vector<SplitPeer> peers;
    double copyGoal = 1.10; // how much faster than the C library's copy the split of 5 and 20 MP has to be
};

// Takes a minute and a gigabyte of memory; throws std::bad_alloc without that. Single-threaded.
void MeasureKernels(const KernelBenchSettings& settings, Report& report);

} // namespace maravel::bench
