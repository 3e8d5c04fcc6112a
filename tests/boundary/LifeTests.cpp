// Loading, unloading and the end of the process.
#include "boundary/AdapterTest.h"
#include "support/Growth.h"

#include <chrono>
#include <fstream>
#include <iterator>
#include <thread>
#include <vector>

namespace maravel::test {

namespace {

class LifeTest : public AdapterTest
{
protected:
    // Runs a host of its own process to its end; it streams from the cameras of the SDK folder.
    static int RunHost(const std::string& end)
    {
        return RunProgram(ExecutableFolder() + PathSeparator + "exit_host", {AdapterFile(), end});
    }
};

TEST_F(LifeTest, FiveHundredLoadsLeaveNothing)
{
    std::vector<double> memory; // after every ten
    std::vector<double> handles;
    for (int ten = 0; ten < 50; ++ten) {
        for (const std::uint32_t camera : {0u, 1u, 2u, 0u, 1u, 2u, 0u, 1u, 2u, 0u}) {
            Stream(camera);
            DeliverFrames(camera, 2);
            UnloadAdapter();
            EXPECT_FALSE(IsModuleLoaded(MARAVEL_ADAPTER_FILE));
            LoadAdapter();
        }
        memory.push_back(static_cast<double>(MemoryInUse()));
        handles.push_back(HandlesInUse());
    }
    const double bytes = GrowthPerRound(memory, 30);
    EXPECT_LT(bytes, static_cast<double>(MemoryTolerance()) / 100.0) << "bytes in ten loads";
    EXPECT_LT(GrowthPerRound(handles, 30), 0.05);
    RecordProperty("bytes_in_ten_loads", std::to_string(bytes));
}

TEST_F(LifeTest, AProcessMayEndWhileItStreams)
{
    for (const char* end : {"return", "unload", "exit-from-thread", "quick"}) {
        EXPECT_EQ(RunHost(end), 7) << end;
    }
    ExpectErrors(); // the log is that of the other process
}

TEST_F(LifeTest, TwoProcessesUseTheAdapterAtOnce)
{
    ExpectErrors(); // both write into one log
    Stream(0);
    int other = 0;
    std::thread process([&] { other = RunHost("return"); });
    for (int i = 0; i < 300; ++i) {
        DeliverFrames(0);
        Fetch(0, 3072);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    process.join();
    EXPECT_EQ(other, 7);
}

TEST_F(LifeTest, TheLogMayFail)
{
    ExpectErrors();
    const auto work = [&] {
        Stream(0);
        DeliverFrames(0, 3);
        Fetch(0, 3072);
        EXPECT_EQ(Stop(0), 0) << TextNow();
        ASSERT_EQ(Start(0), 0) << TextNow();
    };
    for (const LogObstacle& obstacle : LogObstacles()) {
        SCOPED_TRACE(obstacle.name);
        UnloadAdapter();
        const auto undo = obstacle.put(machine);
        LoadAdapter();
        work();
        undo();
    }
    // And it may vanish in mid-stream.
    UnloadAdapter();
    LoadAdapter();
    Stream(0);
    machine.RemoveLogFolder();
    DeliverFrames(0, 3);
    Fetch(0, 3072);
    EXPECT_EQ(Stop(0), 0);
}

} // namespace

} // namespace maravel::test
