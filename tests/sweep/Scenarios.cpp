#include "sweep/Scenarios.h"

#include "support/Cameras.h"

#include <array>

namespace maravel::sweep {

const std::string kSweepCameras =
    test::CameraText("W0", "Mono", "GigE", 32, 16, test::kMonoFormats,
                     std::string(test::kManualSource) +
                         "serial = \"S-0\"\ntransport_vendor = \"The Halvane Layer\"\n") +
    test::CameraText("W1", "Color", "USB3", 32, 16, R"("RGB8", "BGR8", "YUV422_8_UYVY", "YUV422_8", "Mono8")",
                     std::string(test::kManualSource) + "serial = \"S-1\"\n") +
    test::CameraText("W2", "Bayer", "GigE", 32, 16,
                     R"("BayerRG8", "BayerRG10", "BayerRG12", "BayerRG12Packed")",
                     std::string(test::kManualSource) + R"(serial = "S-2"
freerun_source = true
lines = 4
[[camera.feature]]
name = "SweepText"
type = "string"
value = "text"
[[camera.feature]]
name = "SweepFlag"
type = "bool"
value = true
[[camera.feature]]
name = "SweepCommand"
type = "command"
)") +
    test::CameraText("W3", "Old", "GigE", 32, 16, R"("Mono8", "Mono16")",
                     std::string(test::kManualSource) + "serial = \"S-3\"\ngeneration = \"legacy\"\n");

namespace {

struct Mode
{
    const char* name;
    int acqContinuous;
    int acqTriggered;
};
constexpr std::array kModes = {Mode{"manual", 0, 0}, Mode{"free run", 1, 0}, Mode{"hardware auto", 1, 1},
                               Mode{"hardware semi-auto", 0, 1}};

constexpr int kFrames = 10;

// A camera sends nothing before its start command, although the simulated one would when it is told to.
void Emit(SweepHost& host, int channel, const SimFrameRequest* request)
{
    if (host.sdk.State().acquiringCameras != 0) {
        host.sdk.SimEmitFrame(static_cast<std::uint32_t>(channel), request);
    }
}

// Emits and fetches as a host does that polls; one frame in between arrives incomplete.
void FetchFrames(SweepHost& host, int channel, int frames = kFrames)
{
    SimFrameRequest incomplete = {};
    incomplete.fields = SimFrameHasStatus;
    incomplete.receiveStatus = -1;
    for (int i = 0; i < frames; ++i) {
        if (i == kFrames / 2) {
            Emit(host, channel, &incomplete);
        }
        Emit(host, channel, nullptr);
        host.Poll(channel);
    }
}

void Stream(SweepHost& host, int channel, const Mode& mode)
{
    host.SetUp(channel, mode.acqContinuous, mode.acqTriggered);
    host.Start(channel);
    FetchFrames(host, channel);
    host.Stop(channel);
}

// Until the adapter has shut down; releasing a channel whose camera is closed can do that too.
void ReleaseAll(SweepHost& host)
{
    for (int channel = 0; channel < kCameraCount; ++channel) {
        host.Release(channel);
    }
}

void StartAll(SweepHost& host, int channels)
{
    host.Open();
    for (int channel = 0; channel < channels; ++channel) {
        host.SetUp(channel, 1, 0);
        host.Start(channel);
    }
}

// Calls `add` with every channel and every mode.
template <class Add>
void ForEachMode(Add add)
{
    for (int channel = 0; channel < kCameraCount; ++channel) {
        for (const Mode& mode : kModes) {
            add(channel, mode);
        }
    }
}

void AddWholeLives(std::vector<Scenario>& scenarios)
{
    scenarios.push_back({"start-up", "four cameras", -1, [](SweepHost& host) { host.Open(); }});
    scenarios.push_back({"start-up", "twice", -1, [](SweepHost& host) {
                             host.Open();
                             host.Open();
                         }});
    ForEachMode([&](int channel, const Mode& mode) {
        const std::string name = std::string(mode.name) + ", camera " + std::to_string(channel);
        scenarios.push_back({"whole life", name, -1, [channel, &mode](SweepHost& host) {
                                 host.Open();
                                 Stream(host, channel, mode);
                                 ReleaseAll(host);
                             }});
    });
    scenarios.push_back({"restart", "while all stream", -1, [](SweepHost& host) {
                             StartAll(host, kCameraCount);
                             host.Open();
                         }});
    scenarios.push_back({"unload", "while two stream", -1, [](SweepHost& host) {
                             StartAll(host, 2);
                             host.Reload();
                         }});
    scenarios.push_back({"release", "while all stream", -1, [](SweepHost& host) {
                             StartAll(host, kCameraCount);
                             ReleaseAll(host);
                         }});
}

void AddSetUps(std::vector<Scenario>& scenarios)
{
    ForEachMode([&](int channel, const Mode& mode) {
        for (const int edge : {0, 1}) {
            const std::string name = std::string(mode.name) + (edge != 0 ? ", rising" : ", falling");
            scenarios.push_back({"set-up", name, channel, [channel, &mode, edge](SweepHost& host) {
                                     host.SetUp(channel, mode.acqContinuous, mode.acqTriggered, edge);
                                 }});
        }
    });
}

void AddStreams(std::vector<Scenario>& scenarios, SweepHost& host)
{
    for (int channel = 0; channel < kCameraCount; ++channel) {
        for (const std::string& format : host.Entries(channel, "PixelFormat")) {
            for (const Mode& mode : kModes) {
                scenarios.push_back({"streaming", format + ", " + mode.name, channel,
                                     [channel, &mode, format](SweepHost& sweep) {
                                         sweep.Write(channel, "PixelFormat", format);
                                         Stream(sweep, channel, mode);
                                     }});
            }
        }
    }
}

// Two acquisitions; the second start comes even when the stop before it was refused.
void AddRestarts(std::vector<Scenario>& scenarios)
{
    ForEachMode([&](int channel, const Mode& mode) {
        scenarios.push_back({"second start", mode.name, channel, [channel, &mode](SweepHost& host) {
                                 host.SetUp(channel, mode.acqContinuous, mode.acqTriggered);
                                 for (int acquisition = 0; acquisition < 2; ++acquisition) {
                                     host.Start(channel);
                                     FetchFrames(host, channel, 2);
                                     host.Stop(channel);
                                 }
                             }});
    });
}

// Everything that a host can ask about a feature, and its own value written back.
void AddFeatures(std::vector<Scenario>& scenarios, SweepHost& host)
{
    for (int channel = 0; channel < kCameraCount; ++channel) {
        for (const std::string& feature : host.Names(channel)) {
            const bool isCommand = host.Type(channel, feature) == FeatureTypeCommand;
            // As it is now: some values move.
            const std::string value = host.Read(channel, feature);
            scenarios.push_back(
                {"features", feature, channel, [channel, feature, isCommand, value](SweepHost& sweep) {
                     sweep.Read(channel, feature);
                     sweep.Type(channel, feature);
                     for (std::uint32_t kind = 1; kind <= 3; ++kind) {
                         sweep.Attribute(channel, feature, kind);
                     }
                     sweep.Entries(channel, feature);
                     if (!isCommand) {
                         sweep.Write(channel, feature, value);
                     }
                 }});
        }
    }
    scenarios.push_back({"features", "the whole list", 0, [](SweepHost& sweep) {
                             for (const std::string& feature : sweep.Names(0)) {
                                 sweep.Read(0, feature);
                             }
                         }});
    scenarios.push_back(
        {"command", "that is done at once", 2, [](SweepHost& sweep) { sweep.Execute(2, "SweepCommand"); }});
}

} // namespace

std::vector<Scenario> AllScenarios(SweepHost& host)
{
    std::vector<Scenario> scenarios;
    host.Open();
    for (int channel = 0; channel < kCameraCount; ++channel) {
        host.Read(channel, "Width"); // opens the camera
    }
    AddWholeLives(scenarios);
    AddSetUps(scenarios);
    AddStreams(scenarios, host);
    AddRestarts(scenarios);
    AddFeatures(scenarios, host);
    ReleaseAll(host);
    return scenarios;
}

} // namespace maravel::sweep
