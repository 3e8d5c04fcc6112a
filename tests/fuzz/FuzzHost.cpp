// A host that calls anything with anything, above an SDK that answers anything.
#include "fuzz/FuzzInput.h"
#include "maravel/VideoChannel.h"
#include "platform/Win32.h"
#include "sdk/ZvkTypes.h"
#include "simulated/SimulationControl.h"
#include "support/Cameras.h"
#include "support/SdkEntries.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

namespace {

const std::string kCameras =
    maravel::test::CameraText("A", "Mono", "GigE", 16, 16, R"("Mono8", "Mono12Packed", "BayerRG8")",
                              std::string(maravel::test::kManualSource) +
                                  "transport_vendor = \"Halvane\"\n") +
    maravel::test::CameraText("B", "Color", "USB3", 16, 16, R"("RGB8", "YUV422_8_UYVY")",
                              maravel::test::kManualSource);

constexpr std::size_t kLargestPayload = 16 * 16 * 3;
constexpr const char* kNames[] = {
    "Width",        "Height",   "PixelFormat",      "ExposureTime", "TriggerSelector", "Gain",
    "DeviceUserID", "ReverseX", "AcquisitionStart", "OffsetX",      "LUTValueAll"};

// The adapter and the SDK below it, loaded once.
struct World
{
    World()
    {
        std::string name = (std::filesystem::temp_directory_path() / "maravel-fuzz-XXXXXX").string();
        setenv("MARAVEL_PLATFORM_ROOT", mkdtemp(name.data()), 1);
        setenv("ZORVIK_HOME", MARAVEL_SDK, 1);
        // Both stay loaded whatever the adapter does: the fuzzer writes into their counters.
        const HMODULE runtime = LoadLibraryA(MARAVEL_SDK "/bin/ZvkC.dll");
        LoadLibraryA(MARAVEL_SDK "/bin/ZvkImageTransform.dll");
        const HMODULE adapter = LoadLibraryA(MARAVEL_ADAPTER);
#define RESOLVE(result, functionName, parameters) Resolve(runtime, #functionName, functionName);
        SIM_CONTROL_FUNCTIONS(RESOLVE)
#undef RESOLVE
        Resolve(adapter, "GetVideoChannel", getVideoChannel);
        SimSetDescription(kCameras.c_str());
        descriptor.structSize = sizeof descriptor;
        if (getVideoChannel(text, 0, &descriptor) != MARAVEL_SUCCESS) {
            char why[1024] = "";
            SimLastError(why, sizeof why);
            std::fprintf(stderr, "the adapter does not start: %s %s\n", text, why);
            std::abort();
        }
    }

    template <class Function>
    static void Resolve(HMODULE library, const char* name, Function& function)
    {
        const FARPROC address = GetProcAddress(library, name);
        if (address == nullptr) {
            std::abort();
        }
        std::memcpy(&function, &address, sizeof function);
    }

#define POINTER(result, name, parameters) result(*name) parameters = nullptr;
    SIM_CONTROL_FUNCTIONS(POINTER)
#undef POINTER
    GetVideoChannelFn getVideoChannel = nullptr;
    VideoChannelDescriptor descriptor = {};
    char text[MARAVEL_TEXT_SIZE] = "";
};

World& TheWorld()
{
    static World* world = new World; // never ended: the fuzzer's process just goes
    return *world;
}

std::string TakeName(maravel::fuzz::Input& input)
{
    const auto choice = input.Take<std::uint8_t>();
    return choice < std::size(kNames) ? kNames[choice] : input.TakeText();
}

std::int64_t TakeChannel(maravel::fuzz::Input& input)
{
    const auto choice = input.Take<std::uint8_t>();
    return choice < 250 ? choice % 3 : input.Take<std::int64_t>();
}

// The bytes that the host must have for the oldest image: what its attributes announce, and for a monochrome
// one the payload. What is announced beyond any payload of these cameras is refused.
std::size_t ImageSize(const ImageAttributes& attributes)
{
    const auto pixels =
        std::min<std::uint64_t>(kLargestPayload, static_cast<std::uint64_t>(attributes.width) *
                                                     static_cast<std::uint64_t>(attributes.height));
    return attributes.pixelType == PixelTypeRgbPlanes ? pixels * 3
                                                      : std::max<std::size_t>(pixels * 2, kLargestPayload);
}

void FetchImage(World& world, std::int64_t channel)
{
    ImageAttributes attributes = {};
    attributes.structSize = sizeof attributes;
    std::uint32_t status = 0;
    world.descriptor.GetImageAttributes(world.text, channel, &attributes, &status);
    std::vector<std::uint8_t> image(ImageSize(attributes));
    std::uint8_t none = 0;
    world.descriptor.GetImage(world.text, channel, image.empty() ? &none : image.data(), &status);
}

void CallHost(World& world, maravel::fuzz::Input& input)
{
    const VideoChannelDescriptor& call = world.descriptor;
    char* const text = world.text;
    const std::int64_t channel = TakeChannel(input);
    std::vector<char> value(MARAVEL_TEXT_SIZE);
    std::uint32_t status = 0;
    std::int32_t type = 0;
    const auto setUp = [&](CommonParams params) { call.SetupCommonParams(text, channel, &params); };
    const auto describe = [&](ImageAttributes record) {
        call.GetImageAttributes(text, channel, &record, &status);
    };
    const auto handOut = [&](VideoChannelDescriptor record) {
        world.getVideoChannel(text, static_cast<std::int32_t>(channel), &record);
    };
    const auto write = [&](const std::string& name, const std::string& written) {
        call.WriteValue(text, channel, name.c_str(), written.c_str());
    };
    const std::function<void()> calls[] = {
        [&] { setUp(input.Take<CommonParams>()); },
        [&] { describe(input.Take<ImageAttributes>()); },
        [&] { call.QueryImageStatus(text, channel, &status); },
        [&] { FetchImage(world, channel); },
        [&] { call.StartAcquisition(text, channel); },
        [&] { call.StartAcquisition(text, channel); },
        [&] { call.StopAcquisition(text, channel); },
        [&] { call.ReadValue(text, channel, TakeName(input).c_str(), value.data()); },
        [&] { write(TakeName(input), input.TakeText()); },
        [&] { call.GetFeatureName(text, channel, input.Take<std::int32_t>(), value.data()); },
        [&] { call.GetFeatureType(text, channel, TakeName(input).c_str(), &type); },
        [&] {
            call.GetValidEnum(text, channel, TakeName(input).c_str(), input.Take<std::uint8_t>(),
                              value.data());
        },
        [&] {
            call.GetFeatureAttr(text, channel, TakeName(input).c_str(), input.Take<std::uint8_t>() % 5,
                                value.data());
        },
        [&] { call.ReleaseVideoChannel(text, channel); },
        [&] { handOut(input.Take<VideoChannelDescriptor>()); },
    };
    calls[input.Take<std::uint8_t>() % std::size(calls)]();
    if (std::memchr(text, '\0', MARAVEL_TEXT_SIZE) == nullptr) {
        std::abort();
    }
}

void AnswerOddly(World& world, maravel::fuzz::Input& input)
{
    const char* entry =
        maravel::test::kSdkEntries[input.Take<std::uint8_t>() % std::size(maravel::test::kSdkEntries)];
    const std::uint32_t nth = 1u + input.Take<std::uint8_t>() % 8u;
    const auto code = static_cast<std::int32_t>(input.Take<std::int8_t>());
    world.SimFailCall(entry, nth, code == 0 ? 1 : code, input.Take<std::uint8_t>() % 4 == 0 ? 1 : 0);
}

void EmitFrame(World& world, maravel::fuzz::Input& input)
{
    SimFrameRequest request = {};
    request.fields = input.Take<std::uint8_t>() & ~static_cast<std::uint32_t>(SimFrameHasBytes);
    request.receiveStatus = input.Take<std::int8_t>();
    request.frameId = input.Take<std::uint64_t>();
    request.pixelFormat = input.Take<std::uint32_t>();
    request.width = input.Take<std::uint32_t>();
    request.height = input.Take<std::uint32_t>();
    world.SimEmitFrame(input.Take<std::uint8_t>() % 2, &request);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    World& world = TheWorld();
    world.SimReset();
    world.SimSetDescription(kCameras.c_str());
    VideoChannelDescriptor fresh = {};
    fresh.structSize = sizeof fresh;
    world.getVideoChannel(world.text, 0, &fresh);
    maravel::fuzz::Input input(data, size);
    for (int step = 0; step < 64 && !input.AtEnd(); ++step) {
        switch (input.Take<std::uint8_t>() % 8) {
        case 0:
            AnswerOddly(world, input);
            break;
        case 1:
        case 2:
            EmitFrame(world, input);
            break;
        default:
            CallHost(world, input);
            break;
        }
    }
    return 0;
}
