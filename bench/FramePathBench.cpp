#include "bench/InProcessAdapter.h"
#include "bench/PathBench.h"
#include "bench/posix/Counters.h"

#include <memory>

namespace maravel::bench {
namespace {

constexpr std::size_t kFrames = 200;
constexpr double kLinesPerFrame = 2; // the callback's and that of the attributes

void PassFrames(InProcessAdapter& adapter, std::size_t frames)
{
    const std::size_t frameCount = adapter.FrameCount();
    for (std::size_t i = 0; i < frames; ++i) {
        adapter.Receive(i % frameCount);
        adapter.Fetch();
    }
}

} // namespace

void CountFramePath(const PathBenchSettings& settings, Report& report)
{
    for (const char* format : {"Mono8", "RGB8"}) {
        const std::string label = std::string("Frame path, ") + format + ", per frame after the first lap: ";
        std::unique_ptr<InProcessAdapter> adapter;
        const auto start = [&] {
            adapter = std::make_unique<InProcessAdapter>(settings.builtSdkFolder, format);
            adapter->SilenceSdk();
            PassFrames(*adapter, adapter->FrameCount());
        };
        // In a child of its own: after a fork, the pages that parent and child share fault again.
        const Counts counts = CountInChild(start, [&] { PassFrames(*adapter, kFrames); });
        const auto perFrame = [](std::uint64_t count) { return static_cast<double>(count) / kFrames; };
        report.AddGoal(label + "allocations", perFrame(counts.allocations), Bound::AtMost, 0, "%.3f");
        report.AddGoal(label + "page faults", perFrame(counts.pageFaults), Bound::AtMost, 0, "%.3f");
        report.AddGoal(label + "writes, one a log line", perFrame(counts.writes), Bound::AtMost,
                       kLinesPerFrame, "%.3f");
        report.AddGoal(label + "other system calls", perFrame(counts.otherSystemCalls), Bound::AtMost, 0,
                       "%.3f");
    }
}

} // namespace maravel::bench
