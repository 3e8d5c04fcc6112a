// A host that calls anything with anything, above an SDK that answers anything.
#include "fuzz/FuzzInput.h"
#include "maravel/VideoChannel.h"
#include "platform/Win32.h"
#include "sdk/ZvkTypes.h"
#include "simulated/SimulationControl.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace {

const char* const kCameras = R"(
[[camera]]
id = "A"
model = "Mono"
vendor = "Fuzz"
serial = "1"
interface = "GigE"
transport_vendor = "Halvane"
width = 16
height = 16
pixel_formats = ["Mono8", "Mono12Packed", "BayerRG8"]
frame_rate = 50.0
exposure_us = 1000.0
source = "manual"

[[camera]]
id = "B"
model = "Color"
vendor = "Fuzz"
serial = "2"
interface = "USB3"
transport_vendor = "Other"
width = 16
height = 16
pixel_formats = ["RGB8", "YUV422_8_UYVY"]
frame_rate = 50.0
exposure_us = 1000.0
source = "manual"
)";

constexpr std::size_t kImageSize = 16 * 16 * 6;
constexpr const char* kEntries[] = {"ZvkStartup",
                                    "ZvkCamerasList",
                                    "ZvkCameraOpen",
                                    "ZvkCameraClose",
                                    "ZvkFeaturesList",
                                    "ZvkFeatureIntGet",
                                    "ZvkFeatureIntSet",
                                    "ZvkFeatureEnumGet",
                                    "ZvkFeatureEnumSet",
                                    "ZvkFeatureEnumAsInt",
                                    "ZvkFeatureEnumRangeQuery",
                                    "ZvkFeatureStringGet",
                                    "ZvkFeatureCommandRun",
                                    "ZvkPayloadSizeGet",
                                    "ZvkFrameAnnounce",
                                    "ZvkFrameRevokeAll",
                                    "ZvkCaptureStart",
                                    "ZvkCaptureEnd",
                                    "ZvkCaptureFrameQueue",
                                    "ZvkCaptureQueueFlush",
                                    "ZvkFeatureFloatGet",
                                    "ZvkFeatureFloatRangeQuery",
                                    "ZvkFeatureAccessQuery",
                                    "ZvkFeatureCommandIsDone"};
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
        SimSetDescription(kCameras);
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

void CallHost(World& world, maravel::fuzz::Input& input)
{
    const VideoChannelDescriptor& call = world.descriptor;
    char* const text = world.text;
    const std::int64_t channel = TakeChannel(input);
    std::vector<char> value(MARAVEL_TEXT_SIZE);
    std::vector<std::uint8_t> image(kImageSize);
    std::uint32_t status = 0;
    std::int32_t type = 0;
    switch (input.Take<std::uint8_t>() % 15) {
    case 0: {
        const auto params = input.Take<CommonParams>();
        call.SetupCommonParams(text, channel, &params);
        break;
    }
    case 1: {
        auto attributes = input.Take<ImageAttributes>();
        call.GetImageAttributes(text, channel, &attributes, &status);
        break;
    }
    case 2:
        call.QueryImageStatus(text, channel, &status);
        break;
    case 3:
        call.GetImage(text, channel, image.data(), &status);
        break;
    case 4:
    case 5:
        call.StartAcquisition(text, channel);
        break;
    case 6:
        call.StopAcquisition(text, channel);
        break;
    case 7:
        call.ReadValue(text, channel, TakeName(input).c_str(), value.data());
        break;
    case 8: {
        const std::string name = TakeName(input);
        call.WriteValue(text, channel, name.c_str(), input.TakeText().c_str());
        break;
    }
    case 9:
        call.GetFeatureName(text, channel, input.Take<std::int32_t>(), value.data());
        break;
    case 10:
        call.GetFeatureType(text, channel, TakeName(input).c_str(), &type);
        break;
    case 11:
        call.GetValidEnum(text, channel, TakeName(input).c_str(), input.Take<std::uint8_t>(), value.data());
        break;
    case 12:
        call.GetFeatureAttr(text, channel, TakeName(input).c_str(), input.Take<std::uint32_t>() % 5,
                            value.data());
        break;
    case 13:
        call.ReleaseVideoChannel(text, channel);
        break;
    default: {
        auto descriptor = input.Take<VideoChannelDescriptor>();
        world.getVideoChannel(text, static_cast<std::int32_t>(channel), &descriptor);
        break;
    }
    }
    if (std::memchr(text, '\0', MARAVEL_TEXT_SIZE) == nullptr) {
        std::abort();
    }
}

void AnswerOddly(World& world, maravel::fuzz::Input& input)
{
    const char* entry = kEntries[input.Take<std::uint8_t>() % std::size(kEntries)];
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
    world.SimSetDescription(kCameras);
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
