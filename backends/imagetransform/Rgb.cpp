#include "imagetransform/Conversions.h"

namespace maravel::imagetransform {
namespace {

struct Channels
{
    std::size_t red, green, blue, count;
};

constexpr Channels ChannelsOf(RgbOrder order)
{
    switch (order) {
    case RgbOrder::Rgb:
        return {0, 1, 2, 3};
    case RgbOrder::Bgr:
        return {2, 1, 0, 3};
    case RgbOrder::Rgba:
        return {0, 1, 2, 4};
    case RgbOrder::Bgra:
        return {2, 1, 0, 4};
    }
    return {};
}

void ConvertBytes(Channels channels, const std::uint8_t* source, std::size_t pixels, ColourTarget target)
{
    std::uint8_t* out = target.pixels;
    for (std::size_t i = 0; i < pixels; ++i, source += channels.count, out += 3) {
        out[target.red] = source[channels.red];
        out[1] = source[channels.green];
        out[target.blue] = source[channels.blue];
    }
}

void ConvertWords(Channels channels, unsigned depth, const std::uint8_t* source, std::size_t pixels,
                  ColourTarget target)
{
    const unsigned shift = depth - 8;
    const auto top = [shift](const std::uint8_t* pixel, std::size_t channel) {
        const unsigned word = pixel[2 * channel] | (unsigned{pixel[2 * channel + 1]} << 8);
        return static_cast<std::uint8_t>(word >> shift);
    };
    std::uint8_t* out = target.pixels;
    for (std::size_t i = 0; i < pixels; ++i, source += 2 * channels.count, out += 3) {
        out[target.red] = top(source, channels.red);
        out[1] = top(source, channels.green);
        out[target.blue] = top(source, channels.blue);
    }
}

} // namespace

void ConvertRgb(const PixelFormat& format, const std::uint8_t* source, ImageSize size, ColourTarget target)
{
    const Channels channels = ChannelsOf(format.rgbOrder);
    if (format.packing == Packing::Byte)
        ConvertBytes(channels, source, size.Pixels(), target);
    else
        ConvertWords(channels, format.depth, source, size.Pixels(), target);
}

} // namespace maravel::imagetransform
