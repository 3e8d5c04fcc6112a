#include "support/RandomHost.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <numeric>

namespace maravel::test {

namespace {

constexpr const char* kNames[] = {
    "Width",        "Height",   "PixelFormat",      "ExposureTime", "TriggerSelector", "Gain",
    "DeviceUserID", "ReverseX", "AcquisitionStart", "OffsetX",      "LUTValueAll"};

struct Draw
{
    HostCalls& host;
    std::int64_t channel;
    std::size_t largestPayload;
    bool isAlone; // no other thread changes what the channel delivers
    Input& input;

    // One that hosts write, any other that the camera has, or none.
    std::string Name() const
    {
        const auto choice = input.Take<std::uint8_t>();
        return choice < std::size(kNames) ? kNames[choice]
               : choice < 100             ? host.Name(channel, choice)
                                          : input.TakeText();
    }
};

void Configure(const Draw& draw)
{
    const auto modes = draw.input.Take<std::uint8_t>();
    draw.host.Configure(draw.channel, modes % 2 == 0 ? draw.input.Take<CommonParams>()
                                                     : Params(modes / 2 % 2, modes / 4 % 2));
}

// Into the bytes that the host must have for the oldest image: what its attributes announce, and for a
// monochrome one the payload. What is announced beyond any payload of these cameras is refused.
void FetchImage(const Draw& draw)
{
    ImageAttributes attributes = {};
    attributes.structSize = sizeof attributes;
    draw.host.Attributes(draw.channel, &attributes);
    const auto pixels =
        std::min<std::uint64_t>(draw.largestPayload, static_cast<std::uint64_t>(attributes.width) *
                                                         static_cast<std::uint64_t>(attributes.height));
    const std::size_t size = !draw.isAlone || attributes.pixelType != PixelTypeRgbPlanes
                                 ? std::max<std::size_t>(pixels * 2, draw.largestPayload)
                                 : pixels * 3;
    std::vector<std::uint8_t> image(size);
    std::uint8_t none = 0;
    draw.host.Fetch(draw.channel, image.empty() ? &none : image.data());
}

void HandOut(const Draw& draw)
{
    auto record = draw.input.Take<VideoChannelDescriptor>();
    draw.host.GetVideoChannel(static_cast<std::int32_t>(draw.channel), &record);
}

void Describe(const Draw& draw)
{
    auto record = draw.input.Take<ImageAttributes>();
    draw.host.Attributes(draw.channel, &record);
}

struct RandomCall
{
    std::array<int, 3> weights; // for each Drawing
    void (*make)(const Draw& draw);
};

constexpr RandomCall kCalls[] = {
    {{4, 4, 0}, Configure},
    {{4, 4, 4}, Describe},
    {{4, 4, 4}, [](const Draw& draw) { draw.host.Query(draw.channel); }},
    {{4, 8, 0}, FetchImage},
    {{8, 8, 0}, [](const Draw& draw) { draw.host.Start(draw.channel); }},
    {{4, 4, 0}, [](const Draw& draw) { draw.host.Stop(draw.channel); }},
    {{4, 4, 8}, [](const Draw& draw) { draw.host.Read(draw.channel, draw.Name()); }},
    {{4, 4, 0},
     [](const Draw& draw) {
         const std::string name = draw.Name();
         draw.host.Write(draw.channel, name, draw.input.TakeText());
     }},
    {{4, 4, 4}, [](const Draw& draw) { draw.host.Name(draw.channel, draw.input.Take<std::int32_t>()); }},
    {{4, 4, 4}, [](const Draw& draw) { draw.host.Type(draw.channel, draw.Name()); }},
    {{4, 4, 4},
     [](const Draw& draw) {
         const std::string name = draw.Name();
         draw.host.Entry(draw.channel, name, draw.input.Take<std::uint8_t>());
     }},
    {{4, 4, 4},
     [](const Draw& draw) {
         const std::string name = draw.Name();
         draw.host.Attribute(draw.channel, name, draw.input.Take<std::uint8_t>() % 5);
     }},
    {{4, 1, 0}, [](const Draw& draw) { draw.host.Release(draw.channel); }},
    {{4, 0, 0}, HandOut}, // threads seldom start the adapter anew
};

} // namespace

void CallAnything(HostCalls& host, Drawing drawing, std::int64_t channel, std::size_t largestPayload,
                  Input& input)
{
    const auto use = static_cast<std::size_t>(drawing);
    const auto add = [use](int sum, const RandomCall& call) { return sum + call.weights[use]; };
    int choice = input.Take<std::uint8_t>() % std::accumulate(std::begin(kCalls), std::end(kCalls), 0, add);
    for (const RandomCall& call : kCalls) {
        choice -= call.weights[use];
        if (choice < 0) {
            call.make({host, channel, largestPayload, drawing == Drawing::Fuzzer, input});
            return;
        }
    }
}

void CallAnything(HostCalls& host, Drawing drawing, std::int64_t channel, std::size_t largestPayload,
                  std::mt19937& random)
{
    std::array<std::uint8_t, 1024> bytes;
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::uint8_t>(random()); });
    Input input(bytes.data(), bytes.size());
    CallAnything(host, drawing, channel, largestPayload, input);
}

} // namespace maravel::test
