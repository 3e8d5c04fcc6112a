// Long runs: bounded every day, in full when the environment asks for it.
#include "CameraTest.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

namespace maravel::test {
namespace {

class CameraLife : public CameraTest
{
};

INSTANTIATE_TEST_SUITE_P(On, CameraLife, testing::ValuesIn(BenchNames()), NameOfBench);

// The numbers of the frames that the adapter took in, from its log. Time stamps would not do: a fake camera
// on a busy machine leaves out frames that it never sends.
std::vector<std::uint64_t> FrameNumbersIn(const std::string& logFile)
{
    std::vector<std::uint64_t> numbers;
    std::ifstream log(logFile);
    for (std::string line; std::getline(log, line);) {
        const std::size_t at = line.find("FrameID=");
        if (at != std::string::npos) {
            numbers.push_back(std::strtoull(line.c_str() + at + std::strlen("FrameID="), nullptr, 10));
        }
    }
    return numbers;
}

// MARAVEL_TEST_FRAMES: how many images.
TEST_P(CameraLife, FreeRunLosesHardlyAnImage)
{
    const int frames = NumberFromEnvironment("MARAVEL_TEST_FRAMES", 150);
    Configure(true);
    Start();
    std::uint64_t memory = 0;
    for (int i = 0; i < frames && !HasFailure(); ++i) {
        Fetch();
        if (i == frames / 2) {
            memory = MemoryInUse();
        }
    }
    const std::uint64_t memoryAfter = MemoryInUse();
    Stop();
    const std::vector<std::uint64_t> numbers = FrameNumbersIn(machine.LogFile());
    ASSERT_GE(numbers.size(), static_cast<std::size_t>(frames));
    const std::uint64_t lost = numbers.back() - numbers.front() + 1 - numbers.size();
    // Whoever asks for a number of images measures on a quiet machine; otherwise only the path is tested.
    const bool measuring = frames != 150;
    EXPECT_LE(lost, measuring ? 1u : static_cast<std::uint64_t>(frames) / 2);
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
        Configure(true);
        Start();
        Fetch();
        if (i % 2 == 0) {
            Stop(); // every other time the unloading finds the camera streaming
        }
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
