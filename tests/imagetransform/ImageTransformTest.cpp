#include "backends/imagetransform/TransformInfo.h"
#include "imagetransform/Encoder.h"
#include "simulated/SdkLibraries.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <span>

namespace maravel::test {
namespace {

constexpr ZvkPixelFormat_t kMono8 = 0x01080001;
constexpr ZvkPixelFormat_t kBgr8 = 0x02180015;
constexpr std::uint8_t kGuard = 0xA5;
constexpr std::size_t kGuardBytes = 16;

struct Size
{
    std::size_t width, height;
};

// Odd sizes end packed samples and pixel groups in the middle of a byte or a group.
constexpr Size kSizes[] = {{1, 1}, {2, 1}, {3, 1}, {1, 4}, {2, 2}, {3, 3}, {7, 5}, {16, 4}, {33, 17}};

// Neighbours differ by 0.01 at most, the three colours by 0.2 at least: interpolation is nearly exact, and a
// mixed-up phase is far off.
Picture Slopes(Size size)
{
    Picture picture = {size.width, size.height, {}};
    for (std::size_t y = 0; y < size.height; ++y) {
        for (std::size_t x = 0; x < size.width; ++x) {
            const double slope = 0.005 * static_cast<double>(x) - 0.004 * static_cast<double>(y);
            picture.pixels.push_back({0.15 + slope, 0.45 - slope, 0.8 + slope});
        }
    }
    return picture;
}

// Any colours.
Picture Noise(Size size)
{
    std::mt19937 random(4711);
    std::uniform_real_distribution<double> any(0, 1);
    Picture picture = {size.width, size.height, {}};
    for (std::size_t i = 0; i < size.width * size.height; ++i) {
        picture.pixels.push_back({any(random), any(random), any(random)});
    }
    return picture;
}

// Any colours in runs of four pixels, the largest group that shares its chroma. A last group that is cut off
// may lack its chroma and then takes its neighbour's, or none.
Picture Runs(Size size)
{
    Picture picture = Noise(size);
    auto& pixels = picture.pixels;
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        if (pixels.size() < 4) {
            pixels[i] = {0.3, 0.3, 0.3};
        }
        else if (i % 4 != 0 || i + 4 > pixels.size()) {
            pixels[i] = pixels[i - 1];
        }
    }
    return picture;
}

class ImageTransform : public testing::Test
{
protected:
    ZvkImage Describe(ZvkPixelFormat_t format, Size size, void* data)
    {
        ZvkImage image = {.size = sizeof(ZvkImage), .padding4 = 0, .data = data, .imageInfo = {}};
        const auto width = static_cast<std::uint32_t>(size.width);
        const auto height = static_cast<std::uint32_t>(size.height);
        EXPECT_EQ(library_.ZvkSetImageInfoFromPixelFormat(format, width, height, &image), ZvkErrorSuccess);
        return image;
    }

    // Encodes, transforms and returns three bytes a pixel; checks that nothing around them was written.
    std::vector<std::uint8_t> Transform(const Format& format, const Picture& picture,
                                        ZvkPixelFormat_t target = kRgb8,
                                        std::span<const ZvkTransformInfo> parameters = {})
    {
        const Size size = {picture.width, picture.height};
        std::vector<std::uint8_t> source = Encode(format, picture);
        source.shrink_to_fit(); // so that the address sanitizer sees a read beyond it
        std::vector<std::uint8_t> guarded(3 * picture.pixels.size() + 2 * kGuardBytes, kGuard);
        const ZvkImage from = Describe(format.code, size, source.data());
        ZvkImage to = Describe(target, size, guarded.data() + kGuardBytes);
        EXPECT_EQ(library_.ZvkImageTransform(&from, &to, parameters.data(),
                                             static_cast<std::uint32_t>(parameters.size())),
                  ZvkErrorSuccess);

        const auto untouched = [](std::uint8_t byte) { return byte == kGuard; };
        EXPECT_TRUE(std::all_of(guarded.begin(), guarded.begin() + kGuardBytes, untouched));
        EXPECT_TRUE(std::all_of(guarded.end() - kGuardBytes, guarded.end(), untouched));
        return {guarded.begin() + kGuardBytes, guarded.end() - kGuardBytes};
    }

    // The same with one pixel, into three bytes.
    ZvkError_t TransformPixel(ZvkPixelFormat_t format, std::vector<std::uint8_t> code, std::uint8_t* rgb)
    {
        const ZvkImage from = Describe(format, {1, 1}, code.data());
        ZvkImage to = Describe(kRgb8, {1, 1}, rgb);
        return library_.ZvkImageTransform(&from, &to, nullptr, 0);
    }

    static inline const TransformLibrary library_;
    static inline const std::vector<Format> kAllFormats = AllFormats();
};

// Checks one pixel of a transformed picture; where to expect the original's exact value is the family's
// matter.
void ExpectPixel(const Format& format, const Picture& picture, std::size_t x, std::size_t y,
                 const std::uint8_t* actual)
{
    const Rgb& pixel = picture.At(x, y);
    const double values[] = {pixel.red, pixel.green, pixel.blue};
    for (int channel = 0; channel < 3; ++channel) {
        int tolerance = 0;
        double value = values[channel];
        if (format.IsMono()) {
            value = pixel.green;
        }
        else if (format.IsMosaic() && MosaicColour(format, x, y) != "RGB"[channel]) {
            tolerance = 5;
        }
        else if (format.IsYuv()) {
            tolerance = 3;
        }
        ASSERT_NEAR(actual[channel], Top8(value, format.depth), tolerance)
            << std::hex << format.code << std::dec << ' ' << picture.width << 'x' << picture.height
            << " pixel " << x << ',' << y << " channel " << channel;
    }
}

TEST_F(ImageTransform, EveryFormatGivesBackThePictureAtAnySize)
{
    ASSERT_EQ(kAllFormats.size(), 74u);
    for (const Format& format : kAllFormats) {
        for (const Size size : kSizes) {
            // Below two lines or columns a mosaic lacks a colour altogether.
            if (format.IsMosaic() && (size.width < 2 || size.height < 2)) {
                Transform(format, Slopes(size));
                continue;
            }
            const Picture picture = format.IsMosaic() ? Slopes(size)
                                    : format.IsYuv()  ? Runs(size)
                                                      : Noise(size);
            const auto pixels = Transform(format, picture);
            for (std::size_t i = 0; i < picture.pixels.size(); ++i) {
                ExpectPixel(format, picture, i % size.width, i / size.width, &pixels[3 * i]);
            }
        }
    }
}

TEST_F(ImageTransform, Bgr8IsRgb8WithRedAndBlueExchanged)
{
    for (const Format& format : kAllFormats) {
        const Picture picture = Noise({7, 5});
        const auto rgb = Transform(format, picture, kRgb8);
        auto bgr = Transform(format, picture, kBgr8);
        for (std::size_t i = 0; i < bgr.size(); i += 3) {
            std::swap(bgr[i], bgr[i + 2]);
        }
        EXPECT_EQ(rgb, bgr) << std::hex << format.code;
    }
}

// The colour bars' codes as their standards print them.
TEST_F(ImageTransform, StandardColourCodes)
{
    struct Row
    {
        ZvkPixelFormat_t format; // 4:4:4, Cb Y Cr
        std::vector<std::uint8_t> code;
        std::uint8_t rgb[3];
    };
    constexpr ZvkPixelFormat_t kFull = 0x0218003A, k601 = 0x0218003D, k709 = 0x02180040;
    const Row kRows[] = {
        {kFull, {128, 255, 128}, {255, 255, 255}}, {kFull, {85, 76, 255}, {254, 0, 0}},
        {k601, {128, 235, 128}, {255, 255, 255}},  {k601, {128, 16, 128}, {0, 0, 0}},
        {k601, {90, 81, 240}, {255, 0, 0}},        {k601, {54, 145, 34}, {0, 255, 0}},
        {k601, {240, 41, 110}, {0, 0, 255}},       {k709, {102, 63, 240}, {255, 0, 0}},
        {k709, {42, 173, 26}, {0, 255, 0}},        {k709, {240, 32, 118}, {0, 0, 255}},
        {k709, {128, 0, 128}, {0, 0, 0}},          {k709, {128, 255, 128}, {255, 255, 255}},
    };
    for (const Row& row : kRows) {
        std::uint8_t rgb[3] = {};
        ASSERT_EQ(TransformPixel(row.format, row.code, rgb), ZvkErrorSuccess);
        for (int channel = 0; channel < 3; ++channel) {
            EXPECT_NEAR(rgb[channel], row.rgb[channel], 2) << std::hex << row.format << ' ' << channel;
        }
    }
}

TEST_F(ImageTransform, DescribesByCodeAndByName)
{
    for (const Format& format : kAllFormats) {
        const ZvkImageInfo info = Describe(format.code, {7, 5}, nullptr).imageInfo;
        const std::size_t bits = (format.code >> 16) & 0xFF;
        EXPECT_EQ(info.width, 7u);
        EXPECT_EQ(info.height, 5u);
        EXPECT_EQ(info.pixelFormat, format.code);
        EXPECT_EQ(info.bitsPerPixel, bits);
        EXPECT_EQ(static_cast<std::size_t>(info.stride), (7 * bits + 7) / 8) << std::hex << format.code;
        EXPECT_EQ(Encode(format, Noise({7, 5})).size(), (35 * bits + 7) / 8) << std::hex << format.code;
    }
    ZvkImage image = {};
    image.size = sizeof(image);
    EXPECT_EQ(library_.ZvkSetImageInfoFromString("BayerRG12Packed+", 15, 4, 2, &image), ZvkErrorSuccess);
    EXPECT_EQ(image.imageInfo.pixelFormat, 0x010C002Bu);
    EXPECT_EQ(library_.ZvkSetImageInfoFromString("BayerRG", 7, 4, 2, &image), ZvkErrorNotSupported);
    EXPECT_EQ(library_.ZvkSetImageInfoFromString(nullptr, 0, 4, 2, &image), ZvkErrorBadParameter);
}

TEST_F(ImageTransform, RefusesWhatItCannotDescribe)
{
    struct Row
    {
        ZvkPixelFormat_t format;
        std::uint32_t width, height, recordSize;
        ZvkError_t expected;
    };
    constexpr Row kRows[] = {
        {kRgb8, 4, 2, 55, ZvkErrorStructSize},
        {kRgb8, 4, 2, 0, ZvkErrorStructSize},
        {kRgb8, 4, 2, 57, ZvkErrorStructSize},
        {kRgb8, 0, 2, 56, ZvkErrorBadParameter},
        {kRgb8, 4, 0, 56, ZvkErrorBadParameter},
        {0, 4, 2, 56, ZvkErrorNotSupported},
        {0x02180016, 4, 2, 56, ZvkErrorNotSupported},
        {kRgb8, 0x2AAAAAAB, 1, 56, ZvkErrorBadParameter}, // a line beyond what a stride can hold
        {kRgb8, 0x2AAAAAAA, 1, 56, ZvkErrorSuccess},
    };
    for (const Row& row : kRows) {
        ZvkImage image = {};
        image.size = row.recordSize;
        EXPECT_EQ(library_.ZvkSetImageInfoFromPixelFormat(row.format, row.width, row.height, &image),
                  row.expected);
        if (row.expected != ZvkErrorSuccess) {
            EXPECT_EQ(image.imageInfo.width, 0u) << "written in spite of the failure";
        }
    }
}

TEST_F(ImageTransform, RefusesWhatItCannotTransform)
{
    struct Row
    {
        const char* what;
        void (*spoil)(ZvkImage& from, ZvkImage& to);
        ZvkError_t expected;
    };
    constexpr Row kRows[] = {
        {"no source pixels", [](ZvkImage& from, ZvkImage&) { from.data = nullptr; }, ZvkErrorBadParameter},
        {"no target pixels", [](ZvkImage&, ZvkImage& to) { to.data = nullptr; }, ZvkErrorBadParameter},
        {"source record", [](ZvkImage& from, ZvkImage&) { from.size = 40; }, ZvkErrorStructSize},
        {"target record", [](ZvkImage&, ZvkImage& to) { to.size = 40; }, ZvkErrorStructSize},
        {"other width", [](ZvkImage&, ZvkImage& to) { ++to.imageInfo.width; }, ZvkErrorBadParameter},
        {"other height", [](ZvkImage& from, ZvkImage&) { --from.imageInfo.height; }, ZvkErrorBadParameter},
        {"no width", [](ZvkImage& from, ZvkImage& to) { from.imageInfo.width = to.imageInfo.width = 0; },
         ZvkErrorBadParameter},
        {"no height", [](ZvkImage& from, ZvkImage& to) { from.imageInfo.height = to.imageInfo.height = 0; },
         ZvkErrorBadParameter},
        {"unknown source", [](ZvkImage& from, ZvkImage&) { from.imageInfo.pixelFormat = 0x0108000F; },
         ZvkErrorNotSupported},
        {"target not 8-bit colour", [](ZvkImage&, ZvkImage& to) { to.imageInfo.pixelFormat = 0x01080001; },
         ZvkErrorNotSupported},
    };
    for (const Row& row : kRows) {
        std::uint8_t source[8] = {};
        std::vector<std::uint8_t> target(24, kGuard);
        ZvkImage from = Describe(0x01080009, {4, 2}, source);
        ZvkImage to = Describe(kRgb8, {4, 2}, target.data());
        row.spoil(from, to);
        EXPECT_EQ(library_.ZvkImageTransform(&from, &to, nullptr, 0), row.expected) << row.what;
        EXPECT_EQ(target, std::vector<std::uint8_t>(24, kGuard)) << row.what;
    }
    std::uint8_t pixels[3] = {};
    ZvkTransformInfo record = {};
    ZvkImage image = Describe(kRgb8, {1, 1}, pixels);
    EXPECT_EQ(library_.ZvkImageTransform(&image, &image, &record, 1), ZvkErrorNotSupported);
    EXPECT_EQ(library_.ZvkImageTransform(&image, &image, nullptr, 1), ZvkErrorBadParameter);
    EXPECT_EQ(library_.ZvkSetDebayerMode(2, &record), ZvkErrorNotSupported);
    EXPECT_EQ(library_.ZvkSetDebayerMode(0, nullptr), ZvkErrorBadParameter);
    for (const float gamma : {0.0f, 11.0f, std::nanf("")}) {
        EXPECT_EQ(library_.ZvkSetGammaCorrection(gamma, &record), ZvkErrorBadParameter) << gamma;
    }
    const float matrix[9] = {1, 0, 0, 0, 1, 0, 0, 0, -17};
    EXPECT_EQ(library_.ZvkSetColorCorrectionMatrix3x3(matrix, &record), ZvkErrorBadParameter);
    EXPECT_EQ(library_.ZvkSetColorCorrectionMatrix3x3(nullptr, &record), ZvkErrorBadParameter);
    EXPECT_EQ(record.kind, 0u) << "written in spite of the failure";
}

TEST_F(ImageTransform, CorrectsColoursInEveryFormat)
{
    const float matrix[9] = {1.5f, -0.5f, 0, 0, 0.25f, 0.25f, -1, 0.5f, 2};
    constexpr double gamma = 2.2;
    ZvkTransformInfo records[2] = {};
    ASSERT_EQ(library_.ZvkSetGammaCorrection(static_cast<float>(gamma), &records[0]), ZvkErrorSuccess);
    ASSERT_EQ(library_.ZvkSetColorCorrectionMatrix3x3(matrix, &records[1]), ZvkErrorSuccess);
    for (const Format& format : kAllFormats) {
        for (const ZvkPixelFormat_t target : {kRgb8, kBgr8}) {
            const Picture picture = Noise({67, 63}); // more than is corrected at a time
            const auto plain = Transform(format, picture, target);
            const auto corrected = Transform(format, picture, target, records);
            const std::size_t red = target == kRgb8 ? 0 : 2;
            for (std::size_t i = 0; i < plain.size(); ++i) {
                const std::size_t pixel = i - i % 3, row = 3 * (i % 3 == 1 ? 1 : i % 3 == red ? 0 : 2);
                const double linear = matrix[row] * plain[pixel + red] + matrix[row + 1] * plain[pixel + 1] +
                                      matrix[row + 2] * plain[pixel + 2 - red];
                const double rounded = std::clamp(std::floor(linear + 0.5), 0.0, 255.0);
                ASSERT_EQ(corrected[i], std::lround(255 * std::pow(rounded / 255, 1 / gamma)))
                    << std::hex << format.code << std::dec << ' ' << i;
            }
        }
    }
}

// What a camera with a colour filter sees of stripes, edges and rings whose colour changes slowly.
Picture Scene(bool zonePlate)
{
    constexpr std::size_t size = 240;
    Picture picture = {size, size, {}};
    for (std::size_t y = 0; y < size; ++y) {
        for (std::size_t x = 0; x < size; ++x) {
            const double u = static_cast<double>(x) / size, v = static_cast<double>(y) / size;
            const double rings = 0.5 + 0.5 * std::cos(180 * (u * u + v * v));
            const double roof = u + 2 * v < 1.1 || u - v > 0.55 ? 0.9 : 0.25;
            const double fence = v > 0.6 && std::fmod(17 * u + 2 * v, 1.0) < 0.4 ? 0.7 : 1.0;
            const double light = zonePlate ? rings : roof * fence * (0.85 + 0.15 * std::sin(40 * u * v));
            picture.pixels.push_back(
                {light * (0.95 - 0.3 * v), light * (0.75 + 0.2 * u), light * (0.6 + 0.3 * v - 0.2 * u)});
        }
    }
    return picture;
}

TEST_F(ImageTransform, EdgeAwareInterpolationIsTwoDecibelsNearerToThePicture)
{
    ZvkTransformInfo mode = {};
    ASSERT_EQ(library_.ZvkSetDebayerMode(ZvkDebayerModeEdgeAware, &mode), ZvkErrorSuccess);
    for (const Format& format : kAllFormats) {
        for (const bool zonePlate : {false, true}) {
            if (!format.IsMosaic() || format.bits != Bits::Words || format.depth != 8) {
                continue;
            }
            const Picture picture = Scene(zonePlate);
            const auto decibels = [&](const std::vector<std::uint8_t>& pixels) {
                double sum = 0;
                for (std::size_t i = 0; i < pixels.size(); ++i) {
                    const Rgb& rgb = picture.pixels[i / 3];
                    const double error = pixels[i] - 255 * (i % 3 == 0   ? rgb.red
                                                            : i % 3 == 1 ? rgb.green
                                                                         : rgb.blue);
                    sum += error * error;
                }
                return 10 * std::log10(255.0 * 255.0 * static_cast<double>(pixels.size()) / sum);
            };
            const double bilinear = decibels(Transform(format, picture));
            const double edgeAware = decibels(Transform(format, picture, kRgb8, {&mode, 1}));
            EXPECT_GE(edgeAware, bilinear + 2)
                << std::hex << format.code << (zonePlate ? " rings" : " scene");
            RecordProperty((zonePlate ? "rings" : "scene") + std::to_string(format.code),
                           std::to_string(bilinear) + " " + std::to_string(edgeAware));
        }
    }
}

TEST_F(ImageTransform, TextsFitTheirBuffers)
{
    char text[8];
    std::memset(text, 'x', sizeof(text));
    EXPECT_EQ(library_.ZvkGetApiInfoString(0, text, 7), ZvkErrorMoreData);
    EXPECT_EQ(text[0], 'x');
    EXPECT_EQ(library_.ZvkGetApiInfoString(0, text, 8), ZvkErrorSuccess);
    std::uint32_t version = 0;
    EXPECT_EQ(library_.ZvkGetImageTransformVersion(&version), ZvkErrorSuccess);
    EXPECT_EQ(std::string(text), std::to_string(version >> 24) + "." + std::to_string(version >> 16 & 255) +
                                     "." + std::to_string(version >> 8 & 255) + "." +
                                     std::to_string(version & 255));
    EXPECT_EQ(library_.ZvkGetErrorInfo(ZvkErrorSuccess, text, sizeof(text)), ZvkErrorMoreData);
    EXPECT_EQ(library_.ZvkGetErrorInfo(1, text, sizeof(text)), ZvkErrorNotFound);
}

} // namespace
} // namespace maravel::test
