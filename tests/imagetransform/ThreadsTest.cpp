// The threads of the library: how many there are, and that none is left.
#include "imagetransform/Encoder.h"
#include "imagetransform/ThreadsInUse.h"
#include "simulated/HeapInUse.h"
#include "simulated/SdkLibraries.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <thread>

namespace maravel::test {
namespace {

constexpr ZvkPixelFormat_t kBayerRG8 = 0x01080009;

// Converts a mosaic whose bytes follow from `seed`.
std::vector<std::uint8_t> Convert(const TransformLibrary& library, std::uint32_t width, std::uint32_t height,
                                  std::uint8_t seed)
{
    std::vector<std::uint8_t> from(std::size_t{width} * height), to(3 * from.size());
    for (std::size_t i = 0; i < from.size(); ++i) {
        from[i] = static_cast<std::uint8_t>(i * i / 7 + seed);
    }
    ZvkImage source = {sizeof(ZvkImage), 0, from.data(), {}}, target = {sizeof(ZvkImage), 0, to.data(), {}};
    EXPECT_EQ(library.ZvkSetImageInfoFromPixelFormat(kBayerRG8, width, height, &source), ZvkErrorSuccess);
    EXPECT_EQ(library.ZvkSetImageInfoFromPixelFormat(kRgb8, width, height, &target), ZvkErrorSuccess);
    EXPECT_EQ(library.ZvkImageTransform(&source, &target, nullptr, 0), ZvkErrorSuccess);
    return to;
}

TEST(TransformThreads, NothingIsLeftAfterManyLoads)
{
    constexpr int warmUp = 20, rounds = 500;
    std::uint64_t memory = 0;
    std::uint32_t handles = 0, threads = 0;
    std::thread([] {}).join(); // a sanitizer starts one of its own with the first
    const std::uint32_t before = ThreadsInUse();
    for (int round = 0; round < warmUp + rounds; ++round) {
        if (round == warmUp) {
            memory =
                HeapInUse() + 4096 + rounds * 16; // what is kept once, and less than a small object a round
            handles = HandlesInUse() + 5;
            threads = ThreadsInUse();
        }
        const TransformLibrary library;
        library.SimTransformUseThreads(16);
        Convert(library, 64, 64, 0);
        if (round == 0) {
            EXPECT_LT(ThreadsInUse(), before + std::thread::hardware_concurrency());
        }
    }
    // A thread that has done its work still needs a moment to be gone, with what it holds.
    const auto isFlat = [&] {
        return HandlesInUse() <= handles && HeapInUse() <= memory && ThreadsInUse() <= threads;
    };
    for (int i = 0; i < 500 && !isFlat(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_LE(HandlesInUse(), handles);
    EXPECT_LE(HeapInUse(), memory);
    EXPECT_LE(ThreadsInUse(), threads);
}

TEST(TransformThreads, SeveralCallersAtATime)
{
    const TransformLibrary library;
    std::vector<std::vector<std::uint8_t>> expected;
    for (std::uint8_t seed = 0; seed < 4; ++seed) {
        expected.push_back(Convert(library, 301, 97, seed));
    }
    library.SimTransformUseThreads(3);
    std::vector<std::thread> callers;
    for (std::uint8_t seed = 0; seed < 4; ++seed) {
        callers.emplace_back([&, seed] {
            for (int i = 0; i < 100; ++i) {
                EXPECT_EQ(Convert(library, 301, 97, seed), expected[seed]);
            }
        });
    }
    for (std::thread& caller : callers) {
        caller.join();
    }
}

TEST(TransformThreads, AreWhatTheSdkFolderAndTheEnvironmentSay)
{
    struct Row
    {
        const char* file; // null: none
        const char* environment;
        std::uint32_t expected;
    };
    constexpr std::uint32_t all = 256;
    constexpr Row rows[] = {
        {nullptr, "", all},
        {"# nothing\n", "", all},
        {"threads = 1\n", "", 1},
        {"threads = 256\n", "", all},
        {"threads = 0\n", "", 1},
        {"threads = \"two\"\n", "", 1},
        {"thread = 2\n", "", 1},
        {"threads = \n", "", 1},
        {"thr\xC3\xA4\n", "", 1},
        {nullptr, "1", 1},
        {nullptr, "0", 1},
        {nullptr, "2x", 1},
        {"threads = 1\n", "256", all},
    };
    namespace fs = std::filesystem;
    const fs::path sdk = fs::path(ExecutableFolder()) / "transform-threads";
    for (const Row& row : rows) {
        fs::remove_all(sdk);
        fs::create_directories(sdk / "bin");
        fs::copy_file(fs::path(kSimulatedSdk) / "bin/ZvkImageTransform.dll",
                      sdk / "bin/ZvkImageTransform.dll");
        if (row.file != nullptr) {
            std::ofstream(sdk / "imagetransform.toml", std::ios::binary) << row.file;
        }
        SetEnvironment("MARAVEL_TRANSFORM_THREADS", row.environment);
        const TransformLibrary library(sdk.string());
        EXPECT_EQ(library.SimTransformThreads(), std::min(row.expected, std::thread::hardware_concurrency()))
            << (row.file == nullptr ? "no file" : row.file) << ' ' << row.environment;
    }
    SetEnvironment("MARAVEL_TRANSFORM_THREADS", "");
    std::error_code ignored;
    fs::remove_all(sdk, ignored);
}

} // namespace
} // namespace maravel::test
