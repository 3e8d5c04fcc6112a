#include "imagetransform/Reference.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace maravel::test {
namespace {

using Weights = int[5][5]; // in 1/16, the pixel itself in the middle

constexpr Weights kGreen = {
    {0, 0, -2, 0, 0}, {0, 0, 4, 0, 0}, {-2, 4, 8, 4, -2}, {0, 0, 4, 0, 0}, {0, 0, -2, 0, 0}};
constexpr Weights kBeside = {
    {0, 0, 1, 0, 0}, {0, -2, 0, -2, 0}, {-2, 8, 10, 8, -2}, {0, -2, 0, -2, 0}, {0, 0, 1, 0, 0}};
constexpr Weights kOver = {
    {0, 0, -2, 0, 0}, {0, -2, 8, -2, 0}, {1, 0, 10, 0, 1}, {0, -2, 8, -2, 0}, {0, 0, -2, 0, 0}};
constexpr Weights kDiagonal = {
    {0, 0, -3, 0, 0}, {0, 4, 0, 4, 0}, {-3, 0, 12, 0, -3}, {0, 4, 0, 4, 0}, {0, 0, -3, 0, 0}};

std::size_t Inside(std::ptrdiff_t at, std::size_t count)
{
    const auto period = static_cast<std::ptrdiff_t>(2 * count - 2);
    if (period == 0) {
        return 0;
    }
    const std::ptrdiff_t place = (at % period + period) % period;
    return static_cast<std::size_t>(std::min(place, period - place));
}

class Decoder
{
public:
    Decoder(const Format& format, const Source& source, bool edgeAware)
        : format_(format), source_(source), edgeAware_(edgeAware), order_(format.order)
    {
    }

    int Colour(std::size_t x, std::size_t y, char colour) const
    {
        if (format_.IsMono()) {
            return Sample(x, y, 1, 0);
        }
        if (format_.IsYuv()) {
            return Yuv(x, y, colour);
        }
        if (!format_.IsMosaic()) {
            return Sample(x, y, order_.size(), order_.find(colour));
        }
        const auto column = static_cast<std::ptrdiff_t>(x), row = static_cast<std::ptrdiff_t>(y);
        if (ColourAt(column, row) == colour) {
            return MosaicSample(column, row);
        }
        return edgeAware_ ? Weighted(column, row, colour) : Mean(column, row, colour);
    }

private:
    const std::uint8_t* Run(std::size_t y) const { return source_.bytes.data() + y * source_.stride; }
    std::size_t First(std::size_t y) const { return source_.stride == 0 ? y * source_.width : 0; }
    std::size_t RunPixels() const
    {
        return source_.stride == 0 ? source_.width * source_.height : source_.width;
    }

    // The top 8 bits of one sample of a pixel.
    int Sample(std::size_t x, std::size_t y, std::size_t samplesPerPixel, std::size_t which) const
    {
        const std::size_t sample = (First(y) + x) * samplesPerPixel + which;
        std::size_t bit = sample * format_.depth + format_.depth - 8;
        if (format_.bits == Bits::Pairs) {
            bit = sample / 2 * 24 + sample % 2 * 16;
        }
        else if (format_.bits == Bits::Words && format_.depth > 8) {
            bit = sample * 16 + format_.depth - 8;
        }
        int value = 0;
        for (std::size_t i = 0; i < 8; ++i) {
            value |= (Run(y)[(bit + i) / 8] >> (bit + i) % 8 & 1) << i;
        }
        return value;
    }

    // A byte of a pixel group; that of the group before where the last one is cut off, or none.
    int GroupByte(std::size_t y, std::size_t group, std::size_t byte) const
    {
        const std::size_t at = group * order_.size() + byte;
        if (at < BytesOf(format_, RunPixels())) {
            return Run(y)[at];
        }
        return group > 0 ? Run(y)[at - order_.size()] : 128;
    }

    int Yuv(std::size_t x, std::size_t y, char colour) const
    {
        const auto pixels = static_cast<std::size_t>(std::ranges::count(order_, 'Y'));
        const std::size_t pixel = First(y) + x;
        std::size_t lumaAt = order_.find('Y');
        for (std::size_t i = 0; i < pixel % pixels; ++i) {
            lumaAt = order_.find('Y', lumaAt + 1);
        }
        const int luma = 128 * GroupByte(y, pixel / pixels, lumaAt);
        const int u = 256 * (GroupByte(y, pixel / pixels, order_.find('U')) - 128);
        const int v = 256 * (GroupByte(y, pixel / pixels, order_.find('V')) - 128);
        const double red = format_.weightRed, blue = format_.weightBlue, green = 1 - red - blue;
        const double light = format_.limited ? 255.0 / 219 : 1,
                     chroma = 2.0 * (format_.limited ? 255.0 / 224 : 1);
        const auto product = [](int value, double factor, int one) {
            return static_cast<int>(std::floor(value * std::round(factor * one) / 32768 + 0.5));
        };
        int sum = 32 + product(luma, light, 16384) -
                  static_cast<int>(std::lround(format_.limited ? 64 * 16 * light : 0));
        if (colour == 'R') {
            sum += product(v, chroma * (1 - red), 8192);
        }
        else if (colour == 'B') {
            sum += product(u, chroma * (1 - blue), 8192);
        }
        else {
            sum += product(u, -chroma * (1 - blue) * blue / green, 8192) +
                   product(v, -chroma * (1 - red) * red / green, 8192);
        }
        return std::clamp(static_cast<int>(std::floor(sum / 64.0)), 0, 255);
    }

    char ColourAt(std::ptrdiff_t x, std::ptrdiff_t y) const
    {
        return MosaicColour(format_, static_cast<std::size_t>(x + 2), static_cast<std::size_t>(y + 2));
    }

    int MosaicSample(std::ptrdiff_t x, std::ptrdiff_t y) const
    {
        return Sample(Inside(x, source_.width), Inside(y, source_.height), 1, 0);
    }

    // Of the neighbours that have the colour.
    int Mean(std::ptrdiff_t x, std::ptrdiff_t y, char colour) const
    {
        int sum = 0, count = 0;
        for (std::ptrdiff_t dy = -1; dy <= 1; ++dy) {
            for (std::ptrdiff_t dx = -1; dx <= 1; ++dx) {
                if (ColourAt(x + dx, y + dy) == colour) {
                    sum += MosaicSample(x + dx, y + dy);
                    ++count;
                }
            }
        }
        return (sum + count / 2) / count;
    }

    int Weighted(std::ptrdiff_t x, std::ptrdiff_t y, char colour) const
    {
        const bool beside = ColourAt(x + 1, y) == colour, over = ColourAt(x, y + 1) == colour;
        const Weights& weights = beside && over ? kGreen : beside ? kBeside : over ? kOver : kDiagonal;
        int sum = 8;
        for (std::ptrdiff_t dy = -2; dy <= 2; ++dy) {
            for (std::ptrdiff_t dx = -2; dx <= 2; ++dx) {
                sum += weights[dy + 2][dx + 2] * MosaicSample(x + dx, y + dy);
            }
        }
        return std::clamp(static_cast<int>(std::floor(sum / 16.0)), 0, 255);
    }

    const Format& format_;
    const Source& source_;
    const bool edgeAware_;
    const std::string_view order_;
};

} // namespace

std::size_t BytesOf(const Format& format, std::size_t pixels)
{
    return (pixels * (format.code >> 16 & 0xFF) + 7) / 8;
}

std::vector<std::uint8_t> Decode(const Format& format, const Source& source, bool edgeAware)
{
    const Decoder decoder(format, source, edgeAware);
    std::vector<std::uint8_t> rgb;
    for (std::size_t y = 0; y < source.height; ++y) {
        for (std::size_t x = 0; x < source.width; ++x) {
            for (const char colour : {'R', 'G', 'B'}) {
                rgb.push_back(static_cast<std::uint8_t>(decoder.Colour(x, y, colour)));
            }
        }
    }
    return rgb;
}

} // namespace maravel::test
