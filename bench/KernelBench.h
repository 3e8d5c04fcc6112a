// The speed of the image kernels against the C library's copy, against the best copy that this machine can
// do, and against peers that the caller brings. Runs on both systems; `camhost bench` and the benchmark
// program share it.
#pragma once

#include "bench/Report.h"
#include "bench/Rounds.h"

#include <cstdint>
#include <functional>
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

// Somebody else's conversion of a camera's pixels to RGB8.
struct ColourPeer
{
    std::string name;
    std::function<void(const std::uint8_t* source, const ImageSize& size, std::uint8_t* rgb)> convert;
};

struct KernelBenchSettings
{
    std::size_t rounds = 31;
    Stopwatch stopwatch = SteadyClockStopwatch;
    std::vector<SplitPeer> peers;
    // Who else converts this PFNC format; edge-aware or not matters for mosaics only. May be empty.
    std::function<std::vector<ColourPeer>(std::uint32_t format, bool edgeAware)> colourPeers;
    bool withColour = true; // MeasureKernels measures the conversions too
    double copyGoal = 1.10; // how much faster than the C library's copy the split of 5 and 20 MP has to be
};

// Takes some minutes and a gigabyte of memory; throws std::bad_alloc without that. Single-threaded.
void MeasureKernels(const KernelBenchSettings& settings, Report& report);

} // namespace maravel::bench
