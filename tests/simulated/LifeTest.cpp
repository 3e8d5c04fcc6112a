// The library's life in a process: loaded and unloaded many times, unloaded under the system's loader lock,
// alive to the process's last moment.
#include "ProcessUse.h"
#include "SimulatedTest.h"

#include <cstdlib>
#include <thread>

namespace maravel::test {
namespace {

// A session with frames on the way.
void RunSession(SimulatedLibrary& sim, Arrivals* arrivals, bool tidy)
{
    ASSERT_EQ(sim.ZvkStartup(nullptr), ZvkErrorSuccess);
    ZvkHandle_t camera = nullptr;
    ASSERT_EQ(sim.ZvkCameraOpen("SIM-LEGACY-VGA", ZvkAccessModeFull, &camera), ZvkErrorSuccess);
    static std::vector<std::uint8_t> buffer(640 * 480);
    static ZvkFrame_t frame{};
    frame.buffer = buffer.data();
    frame.bufferSize = static_cast<std::uint32_t>(buffer.size());
    frame.context[0] = arrivals;
    ASSERT_EQ(sim.ZvkFeatureFloatSet(camera, "ExposureTimeAbs", 100.0), ZvkErrorSuccess);
    ASSERT_EQ(sim.ZvkFrameAnnounce(camera, &frame, sizeof(frame)), ZvkErrorSuccess);
    ASSERT_EQ(sim.ZvkCaptureStart(camera), ZvkErrorSuccess);
    ASSERT_EQ(sim.ZvkCaptureFrameQueue(camera, &frame, &Arrivals::Callback), ZvkErrorSuccess);
    ASSERT_EQ(sim.ZvkFeatureCommandRun(camera, "AcquisitionStart"), ZvkErrorSuccess);
    ASSERT_TRUE(arrivals->WaitFor(1));
    if (!tidy)
        return;
    ASSERT_EQ(sim.ZvkCaptureEnd(camera), ZvkErrorSuccess);
    ASSERT_EQ(sim.ZvkFrameRevokeAll(camera), ZvkErrorSuccess);
    ASSERT_EQ(sim.ZvkCameraClose(camera), ZvkErrorSuccess);
    sim.ZvkShutdown();
}

TEST(LifeTest, LoadingOftenLeavesNothingBehind)
{
    constexpr int warmUp = 20;
    constexpr int rounds = 150;
    ProcessUse before{};
    for (int round = 0; round < warmUp + rounds; ++round) {
        if (round == warmUp)
            before = MeasureProcess();
        SimulatedLibrary sim;
        Arrivals arrivals;
        RunSession(sim, &arrivals, true);
    }
    // A thread that has done its work still needs a moment to be gone.
    for (int wait = 0; wait < 200 && MeasureProcess().threads > before.threads; ++wait)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    const ProcessUse after = MeasureProcess();
    EXPECT_LE(after.threads, before.threads);
    EXPECT_LE(after.handles, before.handles + 5);
    // Less than a small object a round.
    EXPECT_LE(after.bytes, before.bytes + rounds * 16);
    RecordProperty("bytes_before", std::to_string(before.bytes));
    RecordProperty("bytes_after", std::to_string(after.bytes));
}

SimulatedLibrary* g_library = nullptr;

void ShutDownAndUnload()
{
    g_library->ZvkShutdown();
    FreeLibrary(g_library->module);
}

HMODULE LoadDetachCaller(void (*action)())
{
    const std::string path = ProgramFolder() + "/" + MARAVEL_DETACH_CALLER;
    const HMODULE module = LoadLibraryA(path.c_str());
    if (module == nullptr)
        return nullptr;
    using CallAtDetach = void (*)(void (*)());
    reinterpret_cast<CallAtDetach>(reinterpret_cast<void*>(GetProcAddress(module, "CallAtDetach")))(action);
    return module;
}

TEST(LifeTest, ShutsDownUnderTheLoaderLock)
{
    for (int round = 0; round < 20; ++round) {
        auto sim = std::make_unique<SimulatedLibrary>();
        Arrivals arrivals;
        RunSession(*sim, &arrivals, false);
        g_library = sim.get();
        const HMODULE detach = LoadDetachCaller(&ShutDownAndUnload);
        ASSERT_NE(detach, nullptr);
        EXPECT_TRUE(FreeLibrary(detach));
        sim->module = nullptr; // unloaded by the other one
    }
}

// Run by ProcessEndTest in a process of its own: ends it with a camera streaming.
TEST(ProcessEnd, DISABLED_LeavesTheCameraStreaming)
{
    static SimulatedLibrary* sim = new SimulatedLibrary;
    static Arrivals* arrivals = new Arrivals;
    arrivals->requeue = sim;
    RunSession(*sim, arrivals, false);
    g_library = sim;
    ASSERT_NE(LoadDetachCaller([] { g_library->ZvkShutdown(); }), nullptr);
    std::exit(testing::Test::HasFailure() ? 2 : 0);
}

TEST(ProcessEndTest, TheLibraryCanBeCalledToTheLast)
{
    char program[1024];
    DWORD size = sizeof(program);
    QueryFullProcessImageNameA(GetCurrentProcess(), 0, program, &size);
    const std::string command =
        std::string(program, size) + " --gtest_also_run_disabled_tests" +
        " --gtest_filter=ProcessEnd.DISABLED_LeavesTheCameraStreaming --gtest_brief=1";
    for (int round = 0; round < 5; ++round)
        EXPECT_EQ(std::system(command.c_str()), 0);
}

} // namespace
} // namespace maravel::test
