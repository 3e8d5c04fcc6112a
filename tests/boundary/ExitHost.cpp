// A host that streams from every camera and then ends in the way that its argument names; run by LifeTests.
// It returns 7 when it got as far as to stream.
#include "maravel/VideoChannel.h"
#include "platform/Win32.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int kStreamed = 7;

int StreamAndEnd(const char* adapterFile, const std::string& end)
{
    const HMODULE adapter = LoadLibraryA(adapterFile);
    if (adapter == nullptr) {
        return 2;
    }
    const FARPROC entry = GetProcAddress(adapter, "GetVideoChannel");
    GetVideoChannelFn getVideoChannel = nullptr;
    std::memcpy(&getVideoChannel, &entry, sizeof getVideoChannel);
    char text[MARAVEL_TEXT_SIZE] = "";
    std::vector<VideoChannelDescriptor> channels;
    VideoChannelDescriptor channel = {};
    channel.structSize = sizeof channel;
    while (getVideoChannel(text, static_cast<std::int32_t>(channels.size()), &channel) == MARAVEL_SUCCESS) {
        channels.push_back(channel);
    }
    for (const VideoChannelDescriptor& each : channels) {
        CommonParams params = {};
        params.exposure = 0.001;
        params.acqContinuous = 1;
        params.roiwidth = 100'000;
        params.roiheight = 100'000;
        each.SetupCommonParams(text, each.channelID, &params);
        if (each.StartAcquisition(text, each.channelID) != MARAVEL_SUCCESS) {
            std::fprintf(stderr, "%s\n", text);
            return 3;
        }
        std::uint32_t status = ImageStatusPending;
        for (int i = 0; status != ImageStatusReady && i < 5000; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            each.QueryImageStatus(text, each.channelID, &status);
        }
        if (status != ImageStatusReady) {
            return 4;
        }
    }
    if (channels.empty()) {
        return 5;
    }
    if (end == "unload") {
        FreeLibrary(adapter);
        return kStreamed;
    }
    if (end == "exit-from-thread") {
        std::thread([] { std::exit(kStreamed); }).join();
    }
    if (end == "quick") {
        std::_Exit(kStreamed);
    }
    return kStreamed; // "return": the runtime's exit list ends the adapter
}

} // namespace

int main(int argc, char** argv)
{
    return argc == 3 ? StreamAndEnd(argv[1], argv[2]) : 1;
}
