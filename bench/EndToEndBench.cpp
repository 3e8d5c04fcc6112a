#include "bench/EndToEndBench.h"

#include "bench/ImageSource.h"
#include "bench/Sandbox.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace maravel::bench {
namespace {

constexpr std::size_t kFramesPerTiming = 160;
constexpr std::size_t kFramesBefore = 48; // laps of every ring, so that no page is new any more

const char* const kAdapter = "adapter";
const char* const kBare = "bare loop";
const char* const kImageEach = "bare loop, a converted image for each camera";
const char* const kFormer = "former SDK folder";

void FetchFrames(ImageSource& source, std::vector<std::vector<std::uint8_t>>& images, std::size_t frames)
{
    for (std::size_t fetched = 0; fetched < frames;) {
        bool any = false;
        for (std::size_t camera = 0; camera < images.size(); ++camera) {
            if (source.Fetch(camera, images[camera].data())) {
                any = true;
                ++fetched;
            }
        }
        if (!any) {
            std::this_thread::yield();
        }
    }
}

double SecondsPerFrame(ImageSource& source, std::vector<std::vector<std::uint8_t>>& images)
{
    source.Start();
    FetchFrames(source, images, kFramesBefore);
    const auto start = std::chrono::steady_clock::now();
    FetchFrames(source, images, kFramesPerTiming);
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    source.Stop();
    return elapsed.count() / kFramesPerTiming;
}

struct NamedSource
{
    const char* name;
    ImageSource* source;
};

Rounds Compare(const EndToEndSettings& settings, const std::vector<NamedSource>& sources,
               std::vector<std::vector<std::uint8_t>>& images)
{
    double seconds = 0;
    std::vector<Subject> subjects;
    for (const NamedSource& named : sources) {
        subjects.push_back(
            {named.name, [&, source = named.source] { seconds = SecondsPerFrame(*source, images); }});
    }
    RoundSettings round;
    round.rounds = settings.rounds;
    round.warmUps = 0;
    round.stopwatch = [&](const std::string&, std::size_t, const std::function<void()>& operation) {
        operation(); // starting and stopping do not count, so it takes the time itself
        return seconds;
    };
    return Rounds(subjects, round);
}

void Measure(const EndToEndSettings& settings, std::size_t cameraCount, bool colour, Report& report)
{
    const BenchCameras cameras{cameraCount, colour ? "RGB8" : "Mono8", 2592, 1944, true};
    const Sandbox adapterSandbox(settings.builtSdkFolder, cameras);
    const Sandbox bareSandbox(settings.builtSdkFolder, cameras);
    const Sandbox imageEachSandbox(settings.builtSdkFolder, cameras);
    adapterSandbox.Enter();
    const std::unique_ptr<ImageSource> adapter = MakeAdapterSource(settings.adapter, cameraCount);
    const std::unique_ptr<ImageSource> bare = MakeBareSource(bareSandbox.SdkFolder(), cameraCount, colour);
    std::vector<NamedSource> sources = {{kAdapter, adapter.get()}, {kBare, bare.get()}};
    std::unique_ptr<ImageSource> imageEach;
    if (colour && cameraCount > 1) {
        imageEach = MakeBareSource(imageEachSandbox.SdkFolder(), cameraCount, colour, cameraCount);
        sources.push_back({kImageEach, imageEach.get()});
    }

    const std::size_t imageSize = std::size_t{colour ? 3U : 1U} * cameras.width * cameras.height;
    std::vector<std::vector<std::uint8_t>> images(cameraCount, std::vector<std::uint8_t>(imageSize));
    const Rounds rounds = Compare(settings, sources, images);
    const std::string label = std::string("End to end, 5 MP ") + (colour ? "colour, " : "monochrome, ") +
                              std::to_string(cameraCount) + (cameraCount == 1 ? " camera" : " cameras");
    char rates[64];
    std::snprintf(rates, sizeof rates, ", %.0f frames/s", 1 / rounds.Seconds(kAdapter).median);
    report.AddGoal(label + rates + ": against the bare loop", rounds.SpeedAgainst(kAdapter, kBare),
                   Bound::AtLeast, 0.97);
    if (imageEach != nullptr) {
        report.AddFigure(label + ": against a bare loop with a converted image for each",
                         rounds.SpeedAgainst(kAdapter, kImageEach));
    }
}

} // namespace

void MeasureAgainstFormer(const EndToEndSettings& settings, Report& report)
{
    const BenchCameras cameras{1, "BayerRG8", 2592, 1944, true};
    const Sandbox sandbox(settings.builtSdkFolder, cameras);
    const Sandbox formerSandbox(settings.formerSdkFolder, cameras);
    // Another copy is another library to the loader, with a state of its own.
    const std::filesystem::path copy = formerSandbox.Folder() / settings.adapter.filename();
    std::filesystem::copy_file(settings.adapter, copy);
    setenv("MARAVEL_TRANSFORM_THREADS", "1", 1);
    sandbox.Enter();
    const std::unique_ptr<ImageSource> present = MakeAdapterSource(settings.adapter, 1);
    formerSandbox.Enter();
    const std::unique_ptr<ImageSource> former = MakeAdapterSource(copy, 1);
    std::vector<std::vector<std::uint8_t>> images(
        1, std::vector<std::uint8_t>(std::size_t{3} * cameras.width * cameras.height));
    const Rounds rounds = Compare(settings, {{kAdapter, present.get()}, {kFormer, former.get()}}, images);
    unsetenv("MARAVEL_TRANSFORM_THREADS");
    char rates[64];
    std::snprintf(rates, sizeof rates, ", %.0f frames/s", 1 / rounds.Seconds(kAdapter).median);
    report.AddGoal(std::string("End to end, 5 MP BayerRG8, 1 camera, 1 thread") + rates +
                       ": against the former SDK folder",
                   rounds.SpeedAgainst(kAdapter, kFormer), Bound::AtLeast, 3);
}

void MeasureEndToEnd(const EndToEndSettings& settings, Report& report)
{
    for (const bool colour : {false, true}) {
        for (const std::size_t cameraCount : {std::size_t{1}, std::size_t{4}}) {
            Measure(settings, cameraCount, colour, report);
        }
    }
}

} // namespace maravel::bench
