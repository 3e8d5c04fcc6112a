// Random calls of the SDK that fail, and cameras that go missing for a moment.
#pragma once

#include "support/SdkControl.h"

#include <atomic>
#include <cstdint>
#include <random>
#include <thread>

namespace maravel::soak {

// Arms faults from a thread of its own for as long as the object lives.
class SoakFaults
{
public:
    SoakFaults(test::SdkControl& sdk, std::uint32_t seed, std::uint32_t cameras);
    ~SoakFaults();
    SoakFaults(const SoakFaults&) = delete;
    SoakFaults& operator=(const SoakFaults&) = delete;

private:
    void Run(std::uint32_t seed, std::uint32_t cameras);

    test::SdkControl& sdk_;
    std::atomic<bool> isOver_ = false;
    std::thread thread_;
};

} // namespace maravel::soak
