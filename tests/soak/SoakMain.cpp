// Streams all simulated cameras at high rates, one host thread each, with random commands, faults and
// restarts, and accounts for every frame. Prints a summary; the exit code is 0 when nothing went wrong.

#include "host/AdapterLibrary.h"
#include "soak/SoakAudit.h"
#include "soak/SoakChannel.h"
#include "soak/SoakFaults.h"
#include "support/Cameras.h"
#include "support/SdkControl.h"
#include "support/TestPlatform.h"
#include "support/UnkindSdk.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <fstream>
#include <iterator>
#include <memory>
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
constexpr std::size_t kMaxComplaints = 50;
// Memory may move by this much between the first sessions and the last one.
constexpr std::uint64_t kMemoryAllowance = 32 << 20;
// The first sessions fill caches and pools.
constexpr std::uint64_t kWarmUpSessions = 4;

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
    explicit Soak(const Options& options);
    // Whether nothing went wrong.
    bool Run();

private:
    void OpenChannels();
    void RunSession(std::uint64_t session);
    void CheckBooks();
    void End(Ending ending);
    void CheckUsable();
    void CheckBuffers();
    void EndFaults();
    void NoteMemory(std::uint64_t session);
    void Complain(const std::string& what);
    void PrintProgress() const;
    void PrintSummary() const;
    std::string Log() const;
    std::uint64_t FramesSoFar() const;
    double MinutesSoFar() const;

    const Options options_;
    test::PrivateMachine machine_;
    test::SdkControl sdk_;
    std::unique_ptr<test::UnkindSdk> unkind_; // in every other round of endings
    std::unique_ptr<host::AdapterLibrary> adapter_;
    std::deque<SoakChannel> channels_;
    const Clock::time_point start_ = Clock::now();
    Totals totals_;
    std::uint64_t sessions_ = 0;
    std::uint64_t faults_ = 0;
    std::uint64_t complaintCount_ = 0;
    std::uint64_t firstMemory_ = 0;
    std::uint64_t lastMemory_ = 0;
    std::uint64_t largestMemory_ = 0;
    std::uint32_t firstHandles_ = 0;
    std::uint32_t lastHandles_ = 0;
};

std::string SdkFolder()
{
    const std::string bin = test::ExecutableFolder();
    return bin.substr(0, bin.find_last_of(PathSeparator)) + PathSeparator + "sdk";
}

std::unique_ptr<host::AdapterLibrary> LoadAdapter()
{
    std::string reason;
    auto adapter =
        host::AdapterLibrary::Load(test::ExecutableFolder() + PathSeparator + MARAVEL_ADAPTER_FILE, &reason);
    if (adapter == nullptr) {
        std::fprintf(stderr, "soak: %s\n", reason.c_str());
        std::exit(2);
    }
    return adapter;
}

Soak::Soak(const Options& options) : options_(options), sdk_(SdkFolder())
{
    test::SetEnvironment("ZORVIK_HOME", SdkFolder());
    EndFaults();
    adapter_ = LoadAdapter();
}

void Soak::Complain(const std::string& what)
{
    if (++complaintCount_ <= kMaxComplaints) {
        std::printf("%sWRONG (session %llu): %s\n", options_.showsProgress ? "\r\033[K" : "",
                    static_cast<unsigned long long>(sessions_), what.c_str());
        std::fflush(stdout);
    }
}

void Soak::EndFaults()
{
    faults_ += sdk_.SimFaultsFired() + sdk_.SimTransformFaultsFired();
    sdk_.SimReset();
    sdk_.SimTransformReset();
    sdk_.SimSetDescription(kCameras.c_str());
    if (unkind_ != nullptr) {
        unkind_->Install();
    }
}

double Soak::MinutesSoFar() const
{
    return std::chrono::duration<double, std::ratio<60>>(Clock::now() - start_).count();
}

std::string Soak::Log() const
{
    std::ifstream file(machine_.LogFile(), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::uint64_t Soak::FramesSoFar() const
{
    std::uint64_t frames = totals_.fetched;
    for (const SoakChannel& channel : channels_) {
        frames += channel.Frames();
    }
    return frames;
}

void Soak::PrintProgress() const
{
    if (options_.showsProgress) {
        std::printf("\r\033[K%.1f of %.1f minutes, %llu images, %llu restarts, %.1f MB", MinutesSoFar(),
                    options_.minutes, static_cast<unsigned long long>(FramesSoFar()),
                    static_cast<unsigned long long>(sessions_),
                    static_cast<double>(test::MemoryInUse()) / 1e6);
        std::fflush(stdout);
    }
}

// Starts the adapter; in every other session a call of the start-up fails first.
void Soak::OpenChannels()
{
    const bool isUnkind = sessions_ / static_cast<std::uint64_t>(Ending::Count) % 2 == 1;
    if (isUnkind != (unkind_ != nullptr)) {
        adapter_.reset(); // its frames would keep the callbacks of the SDK that they were queued with
        unkind_ =
            isUnkind ? std::make_unique<test::UnkindSdk>(sdk_, test::ThreadsEndWhileUnloading()) : nullptr;
        EndFaults();
        adapter_ = LoadAdapter();
    }
    std::vector<host::Channel> found;
    if (sessions_ % 2 == 1) {
        sdk_.SimFailCall(nullptr, 1 + static_cast<std::uint32_t>(sessions_ / 2 % 60), -1, 0);
        adapter_->CollectChannels(&found);
        found.clear();
        EndFaults();
    }
    const host::Outcome outcome = adapter_->CollectChannels(&found);
    if (!outcome) {
        Complain("the adapter does not start: " + outcome.text);
    }
    channels_.clear();
    for (const host::Channel& channel : found) {
        if (!channel.Opened()) {
            Complain("a channel does not open: " + outcome.text);
        }
        channels_.emplace_back(channel, sdk_,
                               options_.seed + static_cast<std::uint32_t>(sessions_) * 16 +
                                   static_cast<std::uint32_t>(channel.Index()));
    }
    if (channels_.size() != 4) {
        Complain("channels found: " + std::to_string(channels_.size()));
    }
    CheckUsable();
}

void Soak::CheckUsable()
{
    for (SoakChannel& channel : channels_) {
        if (!channel.Works()) {
            Complain("a channel does not stream any more");
        }
        for (const std::string& complaint : channel.TakeComplaints()) {
            Complain(complaint);
        }
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
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    for (SoakChannel& channel : channels_) {
        channel.Quieten();
    }
    const SimStateInfo state = sdk_.State();
    if (state.queuedFrames != state.announcedFrames) {
        Complain("of " + std::to_string(state.announcedFrames) + " buffers only " +
                 std::to_string(state.queuedFrames) + " are with their cameras");
    }
}

void Soak::RunSession(std::uint64_t session)
{
    std::atomic<bool> isOver = false;
    std::vector<std::thread> threads;
    {
        const SoakFaults faults(sdk_, options_.seed + static_cast<std::uint32_t>(session),
                                static_cast<std::uint32_t>(channels_.size()));
        for (SoakChannel& channel : channels_) {
            threads.emplace_back([&channel, &isOver]() {
                while (!isOver) {
                    channel.Step();
                }
            });
        }
        const Clock::time_point end = Clock::now() + kSession;
        while (Clock::now() < end) {
            std::this_thread::sleep_for(milliseconds(250));
            PrintProgress();
        }
    }
    isOver = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (SoakChannel& channel : channels_) {
        for (const std::string& complaint : channel.TakeComplaints()) {
            Complain(complaint);
        }
    }
}

void Soak::CheckBooks()
{
    std::this_thread::sleep_for(kQuiet);
    std::vector<SimStatistics> statistics;
    std::vector<const Ledger*> books;
    for (std::size_t i = 0; i < channels_.size(); ++i) {
        statistics.push_back(sdk_.Statistics(static_cast<std::uint32_t>(i)));
        books.push_back(&channels_[i].Books());
    }
    for (const std::string& complaint : Audit(Log(), statistics, books, &totals_)) {
        Complain(complaint);
    }
}

// Ends the session one way or another; the channels are gone afterwards.
void Soak::End(Ending ending)
{
    switch (ending) {
    case Ending::StopAndRestart:
    case Ending::ReleaseAll:
        CheckUsable();
        CheckBuffers();
        for (SoakChannel& channel : channels_) {
            if (!channel.StopDrained()) {
                Complain("a channel does not stop");
            }
        }
        CheckBooks();
        if (ending == Ending::ReleaseAll) {
            for (SoakChannel& channel : channels_) {
                channel.Release();
            }
        }
        break;
    case Ending::RestartWhileStreaming:
        CheckBooks();
        break;
    case Ending::UnloadWhileStreaming:
        CheckBooks();
        adapter_.reset();
        break;
    case Ending::Count:
        break;
    }
    channels_.clear();
    if (ending == Ending::UnloadWhileStreaming || ending == Ending::ReleaseAll) {
        const SimStateInfo state = sdk_.State();
        if (state.started + state.openCameras + state.announcedFrames + state.workerThreads != 0) {
            Complain("the SDK is not left as it was found");
        }
    }
    if (adapter_ == nullptr) {
        adapter_ = LoadAdapter();
    }
}

void Soak::NoteMemory(std::uint64_t session)
{
    lastMemory_ = test::MemoryInUse();
    lastHandles_ = test::HandlesInUse();
    largestMemory_ = std::max(largestMemory_, lastMemory_);
    if (session <= kWarmUpSessions) {
        firstMemory_ = lastMemory_;
        firstHandles_ = lastHandles_;
    }
}

bool Soak::Run()
{
    std::printf("soak: %.1f minutes, seed %u\n", options_.minutes, options_.seed);
    while (MinutesSoFar() < options_.minutes && complaintCount_ < kMaxComplaints) {
        OpenChannels();
        NoteMemory(sessions_);
        RunSession(sessions_);
        const std::string violations = sdk_.Violations();
        if (!violations.empty()) {
            Complain("the SDK was misused: " + violations);
        }
        EndFaults();
        End(static_cast<Ending>(sessions_ % static_cast<std::uint64_t>(Ending::Count)));
        ++sessions_;
    }
    if (lastMemory_ > firstMemory_ + firstMemory_ / 2 + kMemoryAllowance) {
        Complain("memory grows");
    }
    if (lastHandles_ > firstHandles_ + 8) {
        Complain("handles stay open: " + std::to_string(firstHandles_) + ", then " +
                 std::to_string(lastHandles_));
    }
    PrintSummary();
    return complaintCount_ == 0;
}

void Soak::PrintSummary() const
{
    const auto line = [](const char* what, std::uint64_t value) {
        std::printf("  %-36s %12llu\n", what, static_cast<unsigned long long>(value));
    };
    std::printf("%s%.1f minutes\n", options_.showsProgress ? "\r\033[K" : "", MinutesSoFar());
    line("complete frames emitted", totals_.emitted);
    line("= fetched", totals_.fetched);
    line("+ waiting when a session ended", totals_.waiting);
    line("+ discarded by a stop", totals_.discardedAtStop);
    line("+ arrived after a stop", totals_.arrivedAfterStop);
    line("incomplete frames, all requeued", totals_.incomplete);
    line("frames lost, no buffer queued", totals_.lostWithoutBuffer);
    line("host calls", totals_.calls);
    line("of these refused, with a text", totals_.refusals);
    line("SDK calls made to fail", faults_);
    line("restarts", sessions_);
    std::printf("  %-36s %12.1f then %.1f, at most %.1f\n", "memory in MB",
                static_cast<double>(firstMemory_) / 1e6, static_cast<double>(lastMemory_) / 1e6,
                static_cast<double>(largestMemory_) / 1e6);
    std::printf("  %-36s %12u then %u\n", "handles", firstHandles_, lastHandles_);
    const std::uint64_t accounted =
        totals_.fetched + totals_.waiting + totals_.discardedAtStop + totals_.arrivedAfterStop;
    std::printf("%s: %llu emitted, %llu accounted for, %llu things wrong\n",
                complaintCount_ == 0 && accounted == totals_.emitted ? "PASSED" : "FAILED",
                static_cast<unsigned long long>(totals_.emitted), static_cast<unsigned long long>(accounted),
                static_cast<unsigned long long>(complaintCount_));
}

bool ParseArguments(int count, char** arguments, Options* options)
{
    for (int i = 1; i < count; ++i) {
        const std::string argument = arguments[i];
        char* end = nullptr;
        if (argument == "--progress") {
            options->showsProgress = true;
        }
        else if (argument == "--minutes" && i + 1 < count) {
            options->minutes = std::strtod(arguments[++i], &end);
        }
        else if (argument == "--seed" && i + 1 < count) {
            options->seed = static_cast<std::uint32_t>(std::strtoul(arguments[++i], &end, 10));
        }
        else {
            return false;
        }
        if (end != nullptr && *end != '\0') {
            return false;
        }
    }
    return options->minutes > 0.0;
}

} // namespace

} // namespace maravel::soak

int main(int count, char** arguments)
{
    maravel::soak::Options options;
    if (!maravel::soak::ParseArguments(count, arguments, &options)) {
        std::fprintf(stderr, "usage: soak [--minutes M] [--seed N] [--progress]\n");
        return 2;
    }
    return maravel::soak::Soak(options).Run() ? 0 : 1;
}
