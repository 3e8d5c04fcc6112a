#include "bench/InProcessAdapter.h"
#include "bench/PathBench.h"
#include "bench/posix/Counters.h"
#include "diag/Log.h"

#include <atomic>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <unistd.h>

namespace maravel::bench {
namespace {

const char* const kRawWrite = "raw write";
const char* const kLogLine = "log line";
const char* const kCallback = "frame callback";

void WriteFrameLine()
{
    WriteLog(__LINE__,
             "%s: Frame stored in FIFO. channelID=%lld, BufferID=%d, FrameID=%llu, Frame timestamp=%llu\n",
             "FrameReceivedCallback", 0LL, 7, 123'456ULL, 8'816'327'153'042ULL);
}

// One write of as many bytes as a log line has, to a file beside the log: what a line costs at least.
class RawWriter
{
public:
    RawWriter(const std::filesystem::path& file, std::size_t byteCount)
        : descriptor_(open(file.c_str(), O_CREAT | O_WRONLY | O_TRUNC, 0600)), line_(byteCount, 'x')
    {
        if (descriptor_ < 0) {
            throw std::runtime_error("cannot write " + file.string());
        }
    }
    ~RawWriter() { close(descriptor_); }
    RawWriter(const RawWriter&) = delete;
    RawWriter& operator=(const RawWriter&) = delete;

    void Write() const
    {
        if (write(descriptor_, line_.data(), line_.size()) != static_cast<ssize_t>(line_.size())) {
            throw std::runtime_error("cannot write to the temporary folder");
        }
    }

private:
    int descriptor_;
    std::string line_;
};

// Of a burst of calls: the time that one in a hundred exceeds, against the median.
double SlowestAgainstMedian(const std::function<void()>& timed, const std::function<void()>& untimed)
{
    constexpr std::size_t kCalls = 4000;
    std::vector<double> seconds;
    seconds.reserve(kCalls);
    for (std::size_t i = 0; i < kCalls; ++i) {
        const auto start = std::chrono::steady_clock::now();
        timed();
        seconds.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        untimed();
    }
    return Quantile(seconds, 0.99) / Quantile(seconds, 0.5);
}

// The same while a second thread asks for the status without a pause: of the callback, and of a raw write.
void MeasureWhilePolled(InProcessAdapter& adapter, const RawWriter& raw, std::size_t rounds, Report& report)
{
    std::atomic<bool> stop{false};
    std::thread poller([&] {
        while (!stop) {
            adapter.QueryStatus();
        }
    });
    std::vector<double> callback;
    std::vector<double> rawWrite;
    std::size_t next = 0;
    for (std::size_t round = 0; round < rounds; ++round) {
        callback.push_back(SlowestAgainstMedian([&] { adapter.Receive(next++ % adapter.FrameCount()); },
                                                [&] { adapter.DropOldest(); }));
        rawWrite.push_back(SlowestAgainstMedian([&] { raw.Write(); }, [] {}));
    }
    stop = true;
    poller.join();
    report.AddGoal("Frame callback, a second thread polling: 99th percentile against the median",
                   SpreadOf(callback), Bound::AtMost, 3.0);
    report.AddFigure("One raw write, a second thread polling: 99th percentile against the median",
                     SpreadOf(rawWrite));
}

} // namespace

void MeasureLogAndCallback(const PathBenchSettings& settings, Report& report)
{
    InProcessAdapter adapter(settings.builtSdkFolder, "Mono8");
    const std::filesystem::path log = adapter.LogFile();
    const auto before = std::filesystem::file_size(log);
    const std::uint64_t writesBefore = WriteCalls();
    WriteFrameLine();
    const std::uint64_t writes = WriteCalls() - writesBefore;
    const std::size_t byteCount = std::filesystem::file_size(log) - before;

    const RawWriter raw(log.parent_path() / "raw", byteCount);
    const std::size_t frameCount = adapter.FrameCount();
    const std::vector<Subject> subjects = {{kRawWrite, [&] { raw.Write(); }},
                                           {kLogLine, WriteFrameLine},
                                           {kCallback, [&, next = std::size_t{0}]() mutable {
                                                adapter.Receive(next);
                                                adapter.DropOldest();
                                                next = (next + 1) % frameCount;
                                            }}};
    RoundSettings round;
    round.rounds = settings.rounds;
    round.stopwatch = settings.stopwatch;
    round.repeats = 4000;
    round.warmUps = 200;
    const Rounds rounds(subjects, round);
    const std::string line = "Log line of " + std::to_string(byteCount) + " bytes: ";
    report.AddGoal(line + "time against one raw write", rounds.SpeedAgainst(kRawWrite, kLogLine),
                   Bound::AtMost, 1.40);
    report.AddGoal(line + "write calls", static_cast<double>(writes), Bound::AtMost, 1, "%.0f");
    report.AddGoal("Frame callback with its line: time against one raw write",
                   rounds.SpeedAgainst(kRawWrite, kCallback), Bound::AtMost, 1.45);
    MeasureWhilePolled(adapter, raw, settings.rounds, report);
}

} // namespace maravel::bench
