// A host that calls anything with anything, above an SDK that answers anything.
#include "support/Cameras.h"
#include "support/RandomHost.h"
#include "support/SdkEntries.h"
#include "support/TestHost.h"

#include <cstdlib>
#include <iterator>
#include <string>

namespace maravel::test {

namespace {

const std::string kCameras =
    CameraText("A", "Mono", "GigE", 16, 16, R"("Mono8", "Mono12Packed", "BayerRG8")",
               std::string(kManualSource) + "transport_vendor = \"Halvane\"\n") +
    CameraText("B", "Color", "USB3", 16, 16, R"("RGB8", "YUV422_8_UYVY")", kManualSource);

constexpr std::size_t kLargestPayload = 16 * 16 * 3;

// Never ended: the fuzzer's process just goes.
TestHost& TheHost()
{
    static TestHost* const host = [] {
        GTEST_FLAG_SET(break_on_failure, true); // what fails here ends the fuzzer
        auto* made = new TestHost(kCameras);
        made->LoadAdapter();
        made->Open();
        EXPECT_EQ(made->ChannelCount(), 2u) << made->LogText();
        return made;
    }();
    return *host;
}

std::int64_t TakeChannel(Input& input)
{
    const auto choice = input.Take<std::uint8_t>();
    return choice < 250 ? choice % 3 : input.Take<std::int64_t>();
}

void AnswerOddly(const SdkControl& sdk, Input& input)
{
    const char* entry = kSdkEntries[input.Take<std::uint8_t>() % std::size(kSdkEntries)];
    const std::uint32_t nth = 1u + input.Take<std::uint8_t>() % 8u;
    const auto code = static_cast<std::int32_t>(input.Take<std::int8_t>());
    sdk.SimFailCall(entry, nth, code == 0 ? 1 : code, input.Take<std::uint8_t>() % 4 == 0 ? 1 : 0);
}

void EmitFrame(const SdkControl& sdk, Input& input)
{
    SimFrameRequest request = {};
    request.fields = input.Take<std::uint8_t>() & ~static_cast<std::uint32_t>(SimFrameHasBytes);
    request.receiveStatus = input.Take<std::int8_t>();
    request.frameId = input.Take<std::uint64_t>();
    request.pixelFormat = input.Take<std::uint32_t>();
    request.width = input.Take<std::uint32_t>();
    request.height = input.Take<std::uint32_t>();
    sdk.SimEmitFrame(input.Take<std::uint8_t>() % 2, &request);
}

} // namespace

} // namespace maravel::test

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace maravel::test;
    TestHost& host = TheHost();
    host.ResetSdk();
    VideoChannelDescriptor fresh = {};
    fresh.structSize = sizeof fresh;
    host.GetVideoChannel(0, &fresh);
    HostCalls calls(host.EntryPoint(), host.Channel(0)); // whose guards are looked at after each input
    Input input(data, size);
    for (int step = 0; step < 64 && !input.AtEnd(); ++step) {
        switch (input.Take<std::uint8_t>() % 8) {
        case 0:
            AnswerOddly(host.sdk, input);
            break;
        case 1:
        case 2:
            EmitFrame(host.sdk, input);
            break;
        default:
            const std::int64_t channel = TakeChannel(input);
            CallAnything(calls, Drawing::Fuzzer, channel, kLargestPayload, input);
            break;
        }
    }
    return 0;
}
