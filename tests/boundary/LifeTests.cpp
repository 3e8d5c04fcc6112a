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

TEST_F(LifeTest, DescriptorsOfTwoStartsAnswerAfterTheShutdown)
{
    ExpectErrors();
    Open();
    const VideoChannelDescriptor first = Channel(0);
    Open();
    const VideoChannelDescriptor second = Channel(1);
    EXPECT_EQ(Release(0), 0);
    for (const VideoChannelDescriptor& channel : {first, second}) {
        EXPECT_EQ(channel.StartAcquisition(text(), channel.channelID), 1);
        EXPECT_EQ(TextNow(), "StartAcquisition: ERROR. Invalid class pointer.");
        EXPECT_EQ(channel.ReleaseVideoChannel(text(), channel.channelID), 1);
    }
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
    int fetched = 0;
    for (int i = 0; i < 300; ++i) {
        DeliverFrames(0);
        Fetch(0, 3072);
        ++fetched;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    process.join();
    EXPECT_EQ(other, 7);
    EXPECT_EQ(fetched, 300);
}

TEST_F(LifeTest, TheLogMayFail)
{
    ExpectErrors();
    const auto work = [&] {
        Stream(0);
        DeliverFrames(0, 3);
        EXPECT_EQ(Fetch(0, 3072).size(), 3072u);
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
