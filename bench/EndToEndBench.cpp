#include "bench/EndToEndBench.h"

#include "bench/ImageSource.h"
#include "bench/Sandbox.h"

#include <chrono>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

namespace maravel::bench {
namespace {

constexpr std::size_t kFramesPerTiming = 160;
constexpr std::size_t kFramesBefore = 48; // laps of every ring, so that no page is new any more

const char* const kAdapter = "adapter";
const char* const kBare = "bare loop";

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
        if (!any)
            std::this_thread::yield();
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

void Measure(const EndToEndSettings& settings, std::size_t cameraCount, bool colour, Report& report)
{
    const BenchCameras cameras{cameraCount, colour ? "RGB8" : "Mono8", 2592, 1944, true};
    const Sandbox adapterSandbox(settings.builtSdkFolder, cameras);
    const Sandbox bareSandbox(settings.builtSdkFolder, cameras);
    adapterSandbox.Enter();
    const std::unique_ptr<ImageSource> adapter = MakeAdapterSource(settings.adapter, cameraCount);
    const std::unique_ptr<ImageSource> bare = MakeBareSource(bareSandbox.SdkFolder(), cameraCount, colour);

    const std::size_t imageSize = std::size_t{colour ? 3U : 1U} * cameras.width * cameras.height;
    std::vector<std::vector<std::uint8_t>> images(cameraCount, std::vector<std::uint8_t>(imageSize));
    double seconds = 0;
    const std::vector<Subject> subjects = {{kAdapter, [&] { seconds = SecondsPerFrame(*adapter, images); }},
                                           {kBare, [&] { seconds = SecondsPerFrame(*bare, images); }}};
    RoundSettings round;
    round.rounds = settings.rounds;
    round.warmUps = 0;
    round.stopwatch = [&](const std::string&, std::size_t, const std::function<void()>& operation) {
        operation(); // starting and stopping do not count, so it takes the time itself
        return seconds;
    };
    const Rounds rounds(subjects, round);
    char rates[64];
    std::snprintf(rates, sizeof rates, ", %.0f frames/s", 1 / rounds.Seconds(kAdapter).median);
    report.AddGoal(std::string("End to end, 5 MP ") + (colour ? "colour, " : "monochrome, ") +
                       std::to_string(cameraCount) + (cameraCount == 1 ? " camera" : " cameras") + rates +
                       ": against the bare loop",
                   rounds.SpeedAgainst(kAdapter, kBare), Bound::AtLeast, 0.97);
}

} // namespace

void MeasureEndToEnd(const EndToEndSettings& settings, Report& report)
{
    for (const bool colour : {false, true}) {
        for (const std::size_t cameraCount : {std::size_t{1}, std::size_t{4}})
            Measure(settings, cameraCount, colour, report);
    }
}

} // namespace maravel::bench
