#include "bench/Arena.h"
#include "bench/ColourBench.h"
#include "bench/EndToEndBench.h"
#include "bench/GoogleStopwatch.h"
#include "bench/KernelBench.h"
#include "bench/PathBench.h"
#include "bench/Peers.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <exception>
#include <filesystem>

namespace maravel::bench {
namespace {

int Run(int argc, char** argv)
{
    CLI::App app("Measures the adapter and prints each goal with pass or fail.");
    const std::filesystem::path programFolder = std::filesystem::canonical("/proc/self/exe").parent_path();
    std::string sdk = (programFolder.parent_path() / "sdk").string();
    std::string adapter = (programFolder / "MaravelAdapterZorvik.so").string();
    std::string former;
    std::string output;
    std::size_t rounds = 31;
    std::vector<std::string> topics;
    app.add_option("--rounds", rounds, "Interleaved rounds per comparison")->check(CLI::Range(1, 1001));
    app.add_option("--sdk", sdk, "Built SDK folder")->check(CLI::ExistingDirectory);
    app.add_option("--adapter", adapter, "Built adapter")->check(CLI::ExistingFile);
    app.add_option("--against", former, "SDK folder of another build, to convert mosaics with in turn")
        ->check(CLI::ExistingDirectory);
    app.add_option("--output", output, "Folder for goals.md, tables.md and the plots' data")
        ->check(CLI::ExistingDirectory);
    app.add_option("--only", topics,
                   "What to measure: counts, log, lookup, kernels, colour, endtoend (default: everything)");
    CLI11_PARSE(app, argc, argv);
    const auto wanted = [&](const char* topic) {
        return topics.empty() || std::find(topics.begin(), topics.end(), topic) != topics.end();
    };

    Report report;
    PathBenchSettings steps;
    steps.rounds = rounds;
    steps.stopwatch = GoogleStopwatch;
    steps.builtSdkFolder = sdk;
    if (wanted("counts")) {
        CountFramePath(steps, report);
    }
    if (wanted("log")) {
        MeasureLogAndCallback(steps, report);
    }
    if (wanted("lookup")) {
        MeasureLookUp(steps, report);
    }
    KernelBenchSettings settings;
    settings.rounds = rounds;
    settings.stopwatch = GoogleStopwatch;
    settings.peers = SplitPeers();
    settings.colourPeers = ColourPeers;
    settings.withColour = false;
    if (wanted("kernels")) {
        MeasureKernels(settings, report);
    }
    if (wanted("colour")) {
        Arena arena;
        MeasureColour(arena, settings, report);
    }

    if (wanted("endtoend")) {
        MeasureEndToEnd({rounds, sdk, adapter, former}, report);
    }
    if (!former.empty()) {
        MeasureAgainstFormer({rounds, sdk, adapter, former}, report);
    }

    if (!output.empty()) {
        report.Save(output);
    }
    std::printf("%zu goal%s missed\n", report.missedGoals(), report.missedGoals() == 1 ? "" : "s");
    return report.missedGoals() == 0 ? 0 : 1;
}

} // namespace
} // namespace maravel::bench

int main(int argc, char** argv)
{
    try {
        return maravel::bench::Run(argc, argv);
    }
    catch (const std::exception& error) {
        std::fprintf(stderr, "maravel_bench: %s\n", error.what());
        return 2;
    }
}
