#include "bench/GoogleStopwatch.h"

#include <benchmark/benchmark.h>

#include <stdexcept>

namespace maravel::bench {
namespace {

// Keeps the time of the one run instead of printing it.
class Recorder : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            seconds = run.real_accumulated_time / static_cast<double>(run.iterations);
        }
    }

    double seconds = 0;
};

} // namespace

double GoogleStopwatch(const std::string& name, std::size_t repeats, const std::function<void()>& operation)
{
    benchmark::RegisterBenchmark(name.c_str(),
                                 [&](benchmark::State& state) {
                                     for (auto _ : state) {
                                         operation();
                                     }
                                 })
        ->Iterations(static_cast<benchmark::IterationCount>(repeats))
        ->UseRealTime();
    Recorder recorder;
    const std::size_t count = benchmark::RunSpecifiedBenchmarks(&recorder, ".");
    benchmark::ClearRegisteredBenchmarks();
    if (count != 1) {
        throw std::logic_error("expected one benchmark, not " + std::to_string(count));
    }
    return recorder.seconds;
}

} // namespace maravel::bench
