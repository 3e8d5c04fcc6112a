// The library's life in a process: loaded and unloaded many times, unloaded under the system's loader lock,
// alive to the process's last moment.
#include "simulated/HeapInUse.h"
#include "simulated/SimulatedTest.h"

#include <cstdlib>
#include <memory>

namespace maravel::test {
namespace {

class LifeTest : public testing::Test
{
protected:
    // A session with frames on the way.
    void RunSession()
    {
        ASSERT_OK(sim->ZvkStartup(nullptr));
        ASSERT_OK(sim->ZvkCameraOpen("SIM-LEGACY-VGA", ZvkAccessModeFull, &camera));
        static std::uint8_t buffer[640 * 480];
        static ZvkFrame_t frame{};
        frame.buffer = buffer;
        frame.bufferSize = sizeof(buffer);
        frame.context[0] = arrivals.get();
        ASSERT_OK(sim->ZvkFeatureFloatSet(camera, "ExposureTimeAbs", 100.0));
        ASSERT_OK(sim->ZvkFrameAnnounce(camera, &frame, sizeof(frame)));
        ASSERT_OK(sim->ZvkCaptureStart(camera));
        ASSERT_OK(sim->ZvkCaptureFrameQueue(camera, &frame, &Arrivals::Callback));
        ASSERT_OK(sim->ZvkFeatureCommandRun(camera, "AcquisitionStart"));
        ASSERT_TRUE(arrivals->WaitFor(1));
    }

    // A library that calls back while it is unloaded.
    static std::unique_ptr<LoadedLibrary> CallWhenUnloaded(void (*action)())
    {
        auto caller = std::make_unique<LoadedLibrary>(ExecutableFolder() + "/" + MARAVEL_DETACH_CALLER);
        caller->Find<void (*)(void (*)())>("CallAtDetach")(action);
        return caller;
    }

    static inline std::unique_ptr<SimulatedLibrary> sim;
    std::unique_ptr<Arrivals> arrivals = std::make_unique<Arrivals>();
    ZvkHandle_t camera = nullptr;
};

TEST_F(LifeTest, LoadingOftenLeavesNothingBehind)
{
    constexpr int warmUp = 20;
    constexpr int rounds = 150;
    std::uint64_t memory = 0;
    std::uint32_t handles = 0;
    for (int round = 0; round < warmUp + rounds; ++round) {
        if (round == warmUp) {
            memory = HeapInUse();
            handles = HandlesInUse();
        }
        sim = std::make_unique<SimulatedLibrary>();
        arrivals = std::make_unique<Arrivals>();
        RunSession();
        ASSERT_OK(sim->ZvkCaptureEnd(camera));
        ASSERT_OK(sim->ZvkFrameRevokeAll(camera));
        ASSERT_OK(sim->ZvkCameraClose(camera));
        sim->ZvkShutdown();
        sim.reset();
    }
    handles += 5;
    memory += 4096 + rounds * 16; // what is kept once, and less than a small object a round
    // A thread that has done its work still needs a moment to be gone, with what it holds.
    for (int i = 0; i < 200 && (HandlesInUse() > handles || HeapInUse() > memory); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_LE(HandlesInUse(), handles);
    EXPECT_LE(HeapInUse(), memory);
}

TEST_F(LifeTest, ShutsDownUnderTheLoaderLock)
{
    for (int round = 0; round < 20; ++round) {
        sim = std::make_unique<SimulatedLibrary>();
        arrivals = std::make_unique<Arrivals>();
        RunSession();
        auto caller = CallWhenUnloaded([] {
            sim->ZvkShutdown();
            FreeLibrary(sim->module);
        });
        caller.reset();
        sim->module = nullptr;
        sim.reset();
    }
}

// Run by the next test in a process of its own: ends it with a camera streaming and threads inside of calls,
// which on Windows are gone with what they locked.
TEST_F(LifeTest, DISABLED_EndsWithACameraStreaming)
{
    sim = std::make_unique<SimulatedLibrary>();
    arrivals->requeue = sim.get();
    RunSession();
    static const SimulatedLibrary* const left = sim.release();
    static const LoadedLibrary* const caller = CallWhenUnloaded([] { left->ZvkShutdown(); }).release();
    ASSERT_NE(caller, nullptr);
    for (int i = 0; i < 3; ++i) {
        std::thread([] {
            for (std::uint32_t count = 0;;) {
                left->ZvkCamerasList(nullptr, 0, &count, sizeof(ZvkCameraInfo_t));
            }
        }).detach();
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    std::exit(HasFailure() ? 2 : 0);
}

TEST_F(LifeTest, TheLibraryCanBeCalledToTheLast)
{
    for (int round = 0; round < 5; ++round) {
        EXPECT_EQ(RunProgram(ExecutableFolder() + PathSeparator + "simulated_tests",
                             {"--gtest_also_run_disabled_tests", "--gtest_brief=1",
                              "--gtest_filter=LifeTest.DISABLED_EndsWithACameraStreaming"}),
                  0);
    }
}

} // namespace
} // namespace maravel::test
