// Long runs: bounded every day, in full when the environment asks for it.
#include "CameraTest.h"

#include <algorithm>
#include <cstdio>

namespace maravel::test {
namespace {

class CameraLife : public CameraTest
{
};

INSTANTIATE_TEST_SUITE_P(On, CameraLife, testing::ValuesIn(BenchNames()), NameOfBench);

// MARAVEL_TEST_FRAMES: how many images.
TEST_P(CameraLife, FreeRunLosesHardlyAnImage)
{
    const int frames = NumberFromEnvironment("MARAVEL_TEST_FRAMES", 150);
    Setup(true);
    Start();
    std::vector<std::uint64_t> times;
    std::uint64_t memory = 0;
    for (int i = 0; i < frames && !HasFailure(); ++i) {
        times.push_back(Fetch().attributes.timestamp);
        if (i == 50)
            memory = MemoryInUse();
    }
    const std::uint64_t memoryAfter = MemoryInUse();
    Stop();
    std::vector<std::uint64_t> steps;
    for (std::size_t i = 1; i < times.size(); ++i)
        steps.push_back(times[i] - times[i - 1]);
    std::vector<std::uint64_t> sorted = steps;
    std::sort(sorted.begin(), sorted.end());
    const std::uint64_t usual = sorted.at(sorted.size() / 2);
    std::uint64_t lost = 0;
    for (const std::uint64_t step : steps)
        lost += (step + usual / 2) / usual - std::min<std::uint64_t>(1, (step + usual / 2) / usual);
    EXPECT_LE(lost, 1u);
    EXPECT_LE(memoryAfter, memory + MemoryTolerance());
    std::printf("%d images, %llu lost, memory %+lld KiB\n", frames, static_cast<unsigned long long>(lost),
                (static_cast<long long>(memoryAfter) - static_cast<long long>(memory)) / 1024);
}

// MARAVEL_TEST_CYCLES: how many times.
TEST_P(CameraLife, AdapterLoadsAndUnloadsAgainAndAgain)
{
    const int cycles = NumberFromEnvironment("MARAVEL_TEST_CYCLES", 5);
    std::uint64_t memory = 0;
    std::uint32_t handles = 0;
    for (int i = 0; i < cycles && !HasFailure(); ++i) {
        Setup(true);
        Start();
        Fetch();
        if (i % 2 == 0)
            Stop(); // every other time the unloading finds the camera streaming
        UnloadAdapter();
        if (i == 2) {
            memory = MemoryInUse();
            handles = HandlesInUse();
        }
        LoadAdapter();
        Open();
    }
    UnloadAdapter();
    const std::uint64_t memoryAfter = MemoryInUse();
    EXPECT_LE(HandlesInUse(), handles);
    EXPECT_LE(memoryAfter, memory + MemoryTolerance());
    std::printf("%d cycles, memory %+lld KiB\n", cycles,
                (static_cast<long long>(memoryAfter) - static_cast<long long>(memory)) / 1024);
}

} // namespace
} // namespace maravel::test
