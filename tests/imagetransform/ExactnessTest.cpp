// Every format, of any size and at any place, with every instruction set, byte by byte.
#include "backends/imagetransform/TransformInfo.h"
#include "imagetransform/Reference.h"
#include "simulated/SdkLibraries.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace maravel::test {
namespace {

constexpr std::uint8_t kGap = 0xA5;
constexpr const char* kInstructionSets[] = {"plain", "ssse3", "avx2", "avx512vbmi"};

// How an image lies in memory: buffers of exactly the bytes that it takes, so that the address sanitizer sees
// a step beyond them, and off every boundary.
struct Place
{
    std::size_t width, height;
    std::size_t sourceGap, targetGap; // bytes between lines
    std::size_t offset;               // bytes from what the allocator gave
};

std::vector<Place> Places()
{
    std::vector<Place> places;
    for (std::size_t width = 1; width <= 70; ++width) {
        places.push_back(
            {width, 1 + width % 5, width % 3 == 1 ? width % 7 : 0, width % 4 == 3 ? 5u : 0u, width % 17});
    }
    for (const std::size_t width : {127, 128, 129, 130, 255, 323}) {
        places.push_back({width, 4, 0, 0, width % 5});
    }
    places.push_back({37, 41, 0, 0, 0});  // bands begin in the middle of a group
    places.push_back({2051, 2, 0, 0, 1}); // more than a piece of deep pixels
    places.push_back({4097, 2, 0, 0, 0}); // a column more than a tile of a mosaic
    places.push_back({8200, 1, 0, 0, 3}); // and two of them
    return places;
}

class Exactness : public testing::Test
{
protected:
    void TearDown() override { library_.SimTransformReset(); }

    static Source Random(const Format& format, const Place& place)
    {
        static std::mt19937 random(4711);
        const std::size_t line = BytesOf(format, place.width);
        const std::size_t stride = place.sourceGap == 0 ? 0 : line + place.sourceGap;
        const std::size_t bytes =
            stride == 0 ? BytesOf(format, place.width * place.height) : stride * (place.height - 1) + line;
        Source source = {place.width, place.height, stride, std::vector<std::uint8_t>(bytes)};
        for (std::uint8_t& byte : source.bytes) {
            byte = static_cast<std::uint8_t>(random() >> 11);
        }
        return source;
    }

    static std::vector<std::uint8_t> Transform(const Format& format, const Source& source, const Place& place,
                                               bool edgeAware)
    {
        const auto width = static_cast<std::uint32_t>(place.width);
        const auto height = static_cast<std::uint32_t>(place.height);
        std::vector<std::uint8_t> from(place.offset);
        from.insert(from.end(), source.bytes.begin(), source.bytes.end());
        from.shrink_to_fit();
        const std::size_t stride = 3 * place.width + place.targetGap;
        std::vector<std::uint8_t> to(place.offset + stride * place.height - place.targetGap, kGap);
        ZvkImage in = {sizeof(ZvkImage), 0, from.data() + place.offset, {}};
        ZvkImage out = {sizeof(ZvkImage), 0, to.data() + place.offset, {}};
        EXPECT_EQ(library_.ZvkSetImageInfoFromPixelFormat(format.code, width, height, &in), ZvkErrorSuccess);
        EXPECT_EQ(library_.ZvkSetImageInfoFromPixelFormat(kRgb8, width, height, &out), ZvkErrorSuccess);
        if (source.stride != 0) {
            in.imageInfo.stride = static_cast<std::int32_t>(source.stride);
        }
        out.imageInfo.stride = static_cast<std::int32_t>(stride);
        ZvkTransformInfo mode = {};
        EXPECT_EQ(
            library_.ZvkSetDebayerMode(edgeAware ? ZvkDebayerModeEdgeAware : ZvkDebayerModeBilinear, &mode),
            ZvkErrorSuccess);
        EXPECT_EQ(library_.ZvkImageTransform(&in, &out, &mode, 1), ZvkErrorSuccess);
        return {to.begin() + static_cast<std::ptrdiff_t>(place.offset), to.end()};
    }

    // The reference's pixels as they must lie in memory.
    static std::vector<std::uint8_t> Expected(const Format& format, const Source& source, const Place& place,
                                              bool edgeAware)
    {
        const std::vector<std::uint8_t> pixels = Decode(format, source, edgeAware);
        std::vector<std::uint8_t> bytes;
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            if (i > 0 && i % (3 * place.width) == 0) {
                bytes.insert(bytes.end(), place.targetGap, kGap);
            }
            bytes.push_back(pixels[i]);
        }
        return bytes;
    }

    static void Compare(const Format& format, const Place& place, bool edgeAware)
    {
        const Source source = Random(format, place);
        const std::vector<std::uint8_t> expected = Expected(format, source, place, edgeAware);
        library_.SimTransformUseThreads(
            static_cast<std::uint32_t>(1 + place.width % 7)); // and four bands for each
        for (const char* set : kInstructionSets) {
            if (library_.SimTransformUseInstructionSet(set) != ZvkErrorSuccess) {
                continue;
            }
            const std::vector<std::uint8_t> actual = Transform(format, source, place, edgeAware);
            const auto differing = std::ranges::mismatch(actual, expected).in1 - actual.begin();
            ASSERT_EQ(actual.size(), static_cast<std::size_t>(differing))
                << std::hex << format.code << std::dec << ' ' << place.width << 'x' << place.height << ' '
                << set << (edgeAware ? " edge-aware" : "") << ": byte " << differing << " is "
                << int{actual[static_cast<std::size_t>(differing)]} << ", not "
                << int{expected[static_cast<std::size_t>(differing)]};
        }
    }

    static inline const TransformLibrary library_;
};

TEST_F(Exactness, EveryFormatAndSizeWithEveryInstructionSet)
{
    const std::vector<Place> places = Places();
    for (const Format& format : AllFormats()) {
        for (const Place& place : places) {
            Compare(format, place, false);
            if (format.IsMosaic()) {
                Compare(format, place, true);
            }
            if (HasFatalFailure()) {
                return;
            }
        }
    }
}

} // namespace
} // namespace maravel::test
