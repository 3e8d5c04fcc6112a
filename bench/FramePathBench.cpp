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
        const auto start = [&] {
            auto adapter = std::make_unique<InProcessAdapter>(settings.builtSdkFolder, format);
            adapter->SilenceSdk();
            PassFrames(*adapter, adapter->FrameCount());
            return adapter;
        };

        std::unique_ptr<InProcessAdapter> adapter;
        const SystemCalls calls =
            CountSystemCalls([&] { adapter = start(); }, [&] { PassFrames(*adapter, kFrames); });

        adapter = start();
        const std::uint64_t allocations = Allocations();
        const std::uint64_t faults = PageFaults();
        PassFrames(*adapter, kFrames);
        const auto perFrame = [](std::uint64_t count) { return static_cast<double>(count) / kFrames; };
        report.AddGoal(label + "allocations", perFrame(Allocations() - allocations), Bound::AtMost, 0,
                       "%.3f");
        report.AddGoal(label + "page faults", perFrame(PageFaults() - faults), Bound::AtMost, 0, "%.3f");
        report.AddGoal(label + "writes, one a log line", perFrame(calls.writes), Bound::AtMost,
                       kLinesPerFrame, "%.3f");
        report.AddGoal(label + "other system calls", perFrame(calls.others), Bound::AtMost, 0, "%.3f");
    }
}

} // namespace maravel::bench
