// Streams all simulated cameras at high rates, one host thread each, with random commands, faults and
// restarts, and accounts for every frame. Prints a summary; the exit code is 0 when nothing went wrong.

#include "soak/SoakAudit.h"
#include "soak/SoakChannel.h"
#include "support/Cameras.h"
#include "support/Growth.h"
#include "support/SdkEntries.h"
#include "support/TestHost.h"

#include <CLI/CLI.hpp>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <deque>
#include <fstream>
#include <iterator>
#include <random>
#include <thread>
#include <vector>

namespace maravel::soak {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kSession{5000};
// Longer than any camera takes to fill the buffers that it has left.
constexpr milliseconds kQuiet{500};
constexpr milliseconds kUndisturbed{500}; // enough for incomplete frames of most cameras
constexpr milliseconds kBetweenFaults{10};
constexpr milliseconds kUnplugged{20};
constexpr std::int32_t kCodes[] = {-1, -3, -9, -12, -20, -27, 1};
constexpr int kMaxFailures = 50;
// The first sessions fill caches and pools.
constexpr std::size_t kWarmUpSessions = 4;

std::string FastCamera(const std::string& id, const std::string& model, const std::string& bus,
                       const std::string& formats, const std::string& more)
{
    return test::CameraText(id, model, bus, 64, 48, formats, "exposure_us = 200.0\n" + more);
}

const std::string kCameras =
    FastCamera("K0", "Mono", "GigE", R"("Mono8", "Mono12")",
               "frame_rate = 400.0\nincomplete_every = 53\ntransport_vendor = \"The Halvane Layer\"\n") +
    FastCamera("K1", "Color", "USB3", R"("RGB8", "YUV422_8_UYVY")",
               "frame_rate = 300.0\nincomplete_every = 101\n") +
    FastCamera("K2", "Bayer", "GigE", R"("BayerRG8", "BayerRG12")",
               "frame_rate = 300.0\npacket_size = 1500\npacket_negotiation_ms = 10\n") +
    FastCamera("K3", "Old", "GigE", R"("Mono16")", "frame_rate = 200.0\ngeneration = \"legacy\"\n");

struct Options
{
    double minutes = 1.0;
    std::uint32_t seed = 1;
    bool showsProgress = false;
};

// Failures of GoogleTest so far: what goes wrong is one, here and on every thread.
int FailureCount()
{
    return testing::UnitTest::GetInstance()->ad_hoc_test_result().total_part_count();
}

// How a session ends.
enum class Ending
{
    StopAndRestart,
    RestartWhileStreaming,
    UnloadWhileStreaming,
    ReleaseAll,
    Count
};

class Soak
{
public:
    explicit Soak(const Options& options) : options_(options), host_(kCameras) {}
    // Whether nothing went wrong.
    bool Run();

private:
    void OpenChannels();
    void RunSession();
    void ArmFaults(const std::atomic<bool>& isOver);
    void End();
    void TryAll();
    void CheckBuffers();
    void CheckBooks();
    void EndFaults();
    void PrintProgress() const;
    bool Conclude();
    std::uint32_t Session() const { return static_cast<std::uint32_t>(sums_[Restarts]); }
    std::uint32_t Seed(std::size_t more) const
    {
        return options_.seed + Session() * 16 + static_cast<std::uint32_t>(more);
    }
    double MinutesSoFar() const
    {
        return std::chrono::duration<double, std::ratio<60>>(Clock::now() - start_).count();
    }

    const Options options_;
    test::TestHost host_;
    std::deque<SoakChannel> channels_;
    const Clock::time_point start_ = Clock::now();
    Sums sums_ = {};
    std::vector<double> memory_; // when each session began
    std::vector<double> handles_;
};

void Soak::EndFaults()
{
    sums_[Faults] += host_.sdk.SimFaultsFired() + host_.sdk.SimTransformFaultsFired();
    host_.ResetSdk();
}

void Soak::PrintProgress() const
{
    if (options_.showsProgress) {
        std::uint64_t frames = sums_[Emitted];
        for (std::uint32_t i = 0; i < channels_.size(); ++i) {
            frames += host_.sdk.Statistics(i).complete;
        }
        std::printf("\r\033[K%.1f of %.1f minutes, %llu frames, %u restarts, %.1f MB", MinutesSoFar(),
                    options_.minutes, static_cast<unsigned long long>(frames), Session(),
                    static_cast<double>(test::MemoryInUse()) / 1e6);
        std::fflush(stdout);
    }
}

// Starts the adapter; in every other session a call of the start-up fails first, and in every other round of
// endings the SDK is unkind.
void Soak::OpenChannels()
{
    const bool isUnkind = Session() / static_cast<std::uint32_t>(Ending::Count) % 2 == 1;
    if (isUnkind != host_.IsUnkind()) {
        host_.UnloadAdapter();
        host_.BeUnkind(isUnkind);
    }
    host_.LoadAdapter();
    if (Session() % 2 == 1) {
        host_.sdk.SimFailCall(nullptr, 1 + Session() / 2 % 60, -1, 0);
        host_.Open();
        EndFaults();
    }
    host_.Open();
    EXPECT_EQ(host_.ChannelCount(), 4u) << host_.TextNow();
    for (std::size_t i = 0; i < host_.ChannelCount(); ++i) {
        EXPECT_EQ(host_.Channel(i).openResult, 0) << "channel " << i;
        channels_.emplace_back(host_, i, Seed(i));
    }
    TryAll();
    memory_.push_back(static_cast<double>(test::MemoryInUse()));
    handles_.push_back(test::HandlesInUse());
}

void Soak::TryAll()
{
    for (SoakChannel& channel : channels_) {
        channel.Try();
    }
}

// Every buffer goes back to its camera once its image is fetched, or was never complete: after some time of
// streaming undisturbed all of them wait there to be filled.
void Soak::CheckBuffers()
{
    for (const auto end = Clock::now() + kUndisturbed; Clock::now() < end;) {
        for (SoakChannel& channel : channels_) {
            channel.Drain();
        }
        std::this_thread::sleep_for(milliseconds(1));
    }
    for (SoakChannel& channel : channels_) {
        channel.Quieten();
    }
    const SimStateInfo state = host_.sdk.State();
    EXPECT_EQ(state.queuedFrames, state.announcedFrames) << "buffers that are with their cameras";
}

// Random calls of the SDK fail, and cameras go missing for a moment.
void Soak::ArmFaults(const std::atomic<bool>& isOver)
{
    std::mt19937 random(Seed(15));
    while (!isOver) {
        const std::int32_t code = kCodes[random() % std::size(kCodes)];
        const auto nth = 1 + static_cast<std::uint32_t>(random() % 5);
        const auto kind = random() % 20;
        if (kind == 0) {
            const auto camera = static_cast<std::uint32_t>(random() % channels_.size());
            host_.sdk.SimUnplug(camera, 1);
            std::this_thread::sleep_for(kUnplugged);
            host_.sdk.SimUnplug(camera, 0);
        }
        else if (kind == 1) {
            host_.sdk.SimTransformFailCall(nullptr, nth, code, 0);
        }
        else {
            host_.sdk.SimFailCall(test::kSdkEntries[random() % std::size(test::kSdkEntries)], nth, code, 0);
        }
        std::this_thread::sleep_for(kBetweenFaults);
    }
}

void Soak::RunSession()
{
    std::atomic<bool> areFaultsOver = false;
    std::atomic<bool> isOver = false;
    std::thread faults([&] { ArmFaults(areFaultsOver); });
    std::vector<std::thread> threads;
    for (SoakChannel& channel : channels_) {
        threads.emplace_back([&channel, &isOver]() {
            while (!isOver) {
                channel.Step();
            }
        });
    }
    for (const auto end = Clock::now() + kSession; Clock::now() < end;) {
        std::this_thread::sleep_for(milliseconds(250));
        PrintProgress();
    }
    areFaultsOver = true;
    faults.join();
    isOver = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(host_.sdk.Violations(), "");
    EndFaults();
}

void Soak::CheckBooks()
{
    std::this_thread::sleep_for(kQuiet);
    std::vector<SimStatistics> statistics;
    std::vector<Acquisitions> fetched;
    for (const SoakChannel& channel : channels_) {
        statistics.push_back(host_.sdk.Statistics(static_cast<std::uint32_t>(statistics.size())));
        fetched.push_back(channel.Fetched());
    }
    std::ifstream log(host_.machine.LogFile(), std::ios::binary);
    Audit(log, statistics, fetched, sums_);
}

// Ends the session one way or another; the channels are gone afterwards.
void Soak::End()
{
    const auto ending = static_cast<Ending>(Session() % static_cast<std::uint32_t>(Ending::Count));
    const bool stops = ending == Ending::StopAndRestart || ending == Ending::ReleaseAll;
    if (stops) {
        TryAll();
        CheckBuffers();
        for (SoakChannel& channel : channels_) {
            channel.StopDrained();
        }
    }
    CheckBooks();
    for (SoakChannel& channel : channels_) {
        if (ending == Ending::ReleaseAll) {
            channel.Close();
        }
        sums_[Calls] += channel.Count(Calls);
        sums_[Refusals] += channel.Count(Refusals);
    }
    if (ending == Ending::UnloadWhileStreaming) {
        host_.UnloadAdapter();
    }
    if (ending == Ending::UnloadWhileStreaming || ending == Ending::ReleaseAll) {
        EXPECT_EQ(host_.LeftOver(), "");
    }
    channels_.clear();
    ++sums_[Restarts];
}

bool Soak::Run()
{
    std::printf("soak: %.1f minutes, seed %u\n", options_.minutes, options_.seed);
    while (MinutesSoFar() < options_.minutes && FailureCount() < kMaxFailures) {
        const int before = FailureCount();
        OpenChannels();
        RunSession();
        End();
        if (FailureCount() > before) {
            std::printf("WRONG in session %u\n", Session());
        }
    }
    return Conclude();
}

// Prints what it all came to.
bool Soak::Conclude()
{
    std::printf("%s%.1f minutes\n", options_.showsProgress ? "\r\033[K" : "", MinutesSoFar());
    for (std::size_t i = 0; i < SumCount; ++i) {
        std::printf("  %-36s %12llu\n", kSumNames[i], static_cast<unsigned long long>(sums_[i]));
    }
    const double memory = test::GrowthPerRound(memory_, kWarmUpSessions);
    const double handles = test::GrowthPerRound(handles_, kWarmUpSessions);
    std::printf("  %-36s %12.1f, then %+.3f a session\n", "memory in MB", memory_.front() / 1e6,
                memory / 1e6);
    std::printf("  %-36s %12.0f, then %+.3f a session\n", "handles", handles_.front(), handles);
    EXPECT_LT(memory, static_cast<double>(test::MemoryTolerance()) / 20.0) << "memory grows";
    EXPECT_LT(handles, 0.05) << "handles stay open";
    const std::uint64_t accounted = sums_[Fetched] + sums_[Waiting] + sums_[Discarded] + sums_[Late];
    EXPECT_EQ(accounted, sums_[Emitted]);
    std::printf("%s: %llu emitted, %llu accounted for, %d things wrong\n",
                FailureCount() == 0 ? "PASSED" : "FAILED", static_cast<unsigned long long>(sums_[Emitted]),
                static_cast<unsigned long long>(accounted), FailureCount());
    return FailureCount() == 0;
}

} // namespace

} // namespace maravel::soak

int main(int count, char** arguments)
{
    maravel::soak::Options options;
    CLI::App app("Streams all simulated cameras and accounts for every frame.", "soak");
    app.add_option("--minutes", options.minutes, "how long")->check(CLI::Range(0.01, 1e6));
    app.add_option("--seed", options.seed, "of what is random");
    app.add_flag("--progress", options.showsProgress, "tells how far it is");
    CLI11_PARSE(app, count, arguments);
    return maravel::soak::Soak(options).Run() ? 0 : 1;
}
