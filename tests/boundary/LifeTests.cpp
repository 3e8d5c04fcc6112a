// Loading, unloading and the end of the process.
#include "boundary/AdapterTest.h"

#include <algorithm>
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
    const auto round = [&](int i) {
        Stream(i % 3);
        DeliverFrames(static_cast<std::uint32_t>(i % 3), 2);
        UnloadAdapter();
        LoadAdapter();
    };
    // Growth from one block of rounds to the next: what is kept once does not count, what every round keeps
    // shows in the middle one of them.
    constexpr int kBlocks = 11;
    constexpr int kRounds = 50;
    std::vector<std::int64_t> growth;
    std::int64_t before = 0;
    std::uint32_t handles = 0;
    for (int block = 0; block < kBlocks; ++block) {
        for (int i = 0; i < kRounds; ++i) {
            round(i);
        }
        const auto memory = static_cast<std::int64_t>(MemoryInUse());
        if (block == 0) { // caches fill
            handles = HandlesInUse();
        }
        else {
            growth.push_back(memory - before);
        }
        before = memory;
    }
    std::nth_element(growth.begin(), growth.begin() + growth.size() / 2, growth.end());
    const std::int64_t slope = growth[growth.size() / 2] / kRounds;
    EXPECT_LT(slope, static_cast<std::int64_t>(MemoryTolerance() / 8192)) << "bytes a round";
    EXPECT_LE(HandlesInUse(), handles + 2);
    RecordProperty("bytes_a_round", std::to_string(slope));
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
