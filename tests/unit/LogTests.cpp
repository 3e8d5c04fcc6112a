#include "diag/Log.h"
#include "support/Patterns.h"
#include "support/TestPlatform.h"

#include <atomic>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <sstream>
#include <thread>
#include <vector>

namespace maravel {

namespace {

namespace fs = std::filesystem;

class LogTest : public testing::Test
{
protected:
    ~LogTest() override { CloseLog(); }

    std::string Text() const { return machine.LogText(); }

    test::PrivateMachine machine;
};

TEST_F(LogTest, LinesAreOnDiskWhenTheCallReturns)
{
    WriteLog(1, "lost: no log is open\n");
    InitLog();
    WriteLog(248, "%s: 50%% of '%s'\n", "WriteValue", "100%s");
    EXPECT_FALSE(
        test::MatchWhole(Text(), R"(\[\d\d:\d\d:\d\d:\d\d\d L00248\] WriteValue: 50% of '100%s'\n)").empty())
        << Text();
    WriteLog(4'000'000'000u, "open end");
    WriteLog(7, "%s\n", std::string(5000, 'm').c_str());
    EXPECT_TRUE(test::ContainsPattern(Text(), R"(L4000000000\] open end\[)"));
    EXPECT_EQ(Text().substr(Text().rfind("] ") + 2), std::string(1023, 'm'));
    CloseLog();
    const std::string before = Text();
    WriteLog(1, "lost: the log is closed\n");
    CloseLog();
    EXPECT_EQ(Text(), before);
    InitLog();
    EXPECT_EQ(Text(), "");
}

TEST_F(LogTest, LinesCarryTheLocalTime)
{
    const auto now = [] {
        const std::time_t seconds = std::time(nullptr);
        char text[8];
        std::strftime(text, sizeof text, "[%H:%M:", std::localtime(&seconds));
        return std::string(text);
    };
    InitLog();
    const std::string before = now();
    WriteLog(1, "now\n");
    const std::string after = now();
    const std::string line = Text();
    EXPECT_TRUE(line.starts_with(before) || line.starts_with(after)) << line << before;
}

TEST_F(LogTest, LinesOfManyThreadsNeverMix)
{
    InitLog();
    std::vector<std::thread> threads;
    constexpr int kThreads = 8;
    constexpr int kLines = 400;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t] {
            const std::string text(static_cast<std::size_t>(20 + 100 * t), static_cast<char>('a' + t));
            for (int i = 0; i < kLines; ++i) {
                WriteLog(static_cast<unsigned>(t), "%s\n", text.c_str());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::istringstream lines(Text());
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        const auto match = test::MatchWhole(line, R"(\[[^\]]+ L0000(\d)\] (\w+))");
        ASSERT_FALSE(match.empty()) << line;
        const int t = match[1][0] - '0';
        EXPECT_EQ(match[2], std::string(static_cast<std::size_t>(20 + 100 * t), static_cast<char>('a' + t)));
    }
    EXPECT_EQ(count, kThreads * kLines);
}

TEST_F(LogTest, ALineIsWholeOrMissingWhenTheLogIsClosed)
{
    for (int round = 0; round < 20; ++round) {
        InitLog();
        std::atomic<bool> done{false};
        std::thread writer([&] {
            while (!done) {
                WriteLog(1, "%s\n", "abcdefghijklmnopqrstuvwxyz");
            }
        });
        std::error_code notYet;
        while (fs::file_size(machine.LogFile(), notYet) == 0) {
            std::this_thread::yield();
        }
        CloseLog();
        const std::string text = Text();
        EXPECT_TRUE(text.ends_with("abcdefghijklmnopqrstuvwxyz\n"));
        done = true;
        writer.join();
        EXPECT_EQ(Text(), text) << "written after the log was closed";
    }
}

TEST_F(LogTest, ClosingWaitsForALineHoweverLongThatTakes)
{
    const std::function<void()> read = test::StallLog(machine);
    if (!read) {
        GTEST_SKIP() << "no log here can be stalled";
    }
    InitLog();
    std::atomic<int> written{0};
    std::thread writer([&] {
        for (; written < 100; ++written) { // more than a pipe holds
            WriteLog(1, "%s\n", std::string(1000, 'x').c_str());
        }
    });
    for (int before = -1; before != written || written < 50;) { // until it makes no progress any more
        before = written;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    std::atomic<bool> isRead{false};
    std::atomic<bool> hasWaited{false};
    std::thread closer([&] {
        CloseLog();
        hasWaited = isRead.load();
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(800)); // whoever gives up does so in half of that
    isRead = true;
    std::thread reader(read);
    closer.join();
    writer.join();
    reader.join();
    EXPECT_TRUE(hasWaited);
}

// As at the end of a process on Windows, where the thread would have been ended.
TEST_F(LogTest, AThreadThatIsStuckInALineEndsLoggingAtTheModulesEnd)
{
    LeaveLogToEndedThreads();
    InitLog();
    LeaveLogToEndedThreads();
    WriteLog(1, "still here\n");
    EXPECT_NE(Text(), "");
    const std::function<void()> read = test::StallLog(machine);
    if (!read) {
        GTEST_SKIP() << "no log here can be stalled";
    }
    InitLog();
    std::thread writer([&] {
        for (int line = 0; line < 100; ++line) { // more than a pipe holds
            WriteLog(1, "%s\n", std::string(1000, 'x').c_str());
        }
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    LeaveLogToEndedThreads();
    WriteLog(1, "this would wait for ever\n");
    std::thread reader(read);
    writer.join();
    std::ofstream(machine.LogFile()) << std::string(100, '\n'); // what the reader still waits for
    reader.join();
}

TEST_F(LogTest, AFolderThatCannotBeMadeLeavesLoggingOff)
{
    const fs::path folder = machine.LogFolder();
    fs::remove_all(folder.parent_path());
    fs::create_directories(folder.parent_path().parent_path());
    std::ofstream(folder.parent_path()) << "a file stands where the folder should be";
    InitLog();
    WriteLog(1, "nowhere\n");
    EXPECT_FALSE(fs::exists(folder));
    CloseLog();
    fs::remove(folder.parent_path());
    fs::create_directories(folder / "MaravelAdapterZorvik.log"); // a folder stands where the file should be
    InitLog();
    WriteLog(1, "nowhere\n");
    CloseLog();
    fs::remove_all(folder);
    InitLog();
    WriteLog(1, "here\n");
    EXPECT_NE(Text(), "");
}

} // namespace

} // namespace maravel
