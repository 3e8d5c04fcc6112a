// A host that streams from every camera and then ends in the way that its argument names; run by LifeTests.
// It returns 7 when it got as far as to stream.
#include "host/AdapterLibrary.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int kStreamed = 7;

int StreamAndEnd(const char* adapterFile, const std::string& end)
{
    std::string reason;
    // With "return" nobody deletes it: the runtime's exit list ends the adapter.
    static const auto* const adapter = maravel::host::AdapterLibrary::Load(adapterFile, &reason).release();
    std::vector<maravel::host::Channel> channels;
    if (adapter == nullptr || !adapter->CollectChannels(&channels) || channels.empty()) {
        std::fprintf(stderr, "no channels %s\n", reason.c_str());
        return 2;
    }
    for (const maravel::host::Channel& channel : channels) {
        CommonParams params = {};
        params.exposure = 0.001;
        params.acqContinuous = 1;
        params.roiwidth = params.roiheight = 100'000;
        channel.SetupCommonParams(params);
        if (const auto start = channel.StartAcquisition(); !start) {
            std::fprintf(stderr, "%s\n", start.text.c_str());
            return 3;
        }
        for (int i = 0; channel.QueryImageStatus() != ImageStatusReady; ++i) {
            if (i == 5000) {
                return 4;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
    if (end == "unload") {
        delete adapter;
    }
    else if (end == "exit-from-thread") {
        std::thread([] { std::exit(kStreamed); }).join();
    }
    else if (end == "quick") {
        std::_Exit(kStreamed);
    }
    return kStreamed;
}

} // namespace

int main(int argc, char** argv)
{
    return argc == 3 ? StreamAndEnd(argv[1], argv[2]) : 1;
}
