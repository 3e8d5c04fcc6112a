// Mono and RGB formats, and the unpacking that Bayer formats share with them.
#include "imagetransform/Conversions.h"

#include <algorithm>
#include <cstring>

namespace maravel::imagetransform {
namespace {

constexpr std::size_t kGroup = 8; // samples that a layout describes

// The bit, counted from the group's start, from which on the top 8 bits of a sample stand.
constexpr std::size_t TopBits(Packing packing, std::size_t depth, std::size_t sample)
{
    switch (packing) {
    case Packing::Byte:
        return 8 * sample;
    case Packing::Word:
        return 16 * sample + depth - 8;
    case Packing::Lsb:
        return depth * sample + depth - 8;
    case Packing::GigE12Pairs:
        return 8 * (sample / 2 * 3 + sample % 2 * 2);
    }
    return 0;
}

constexpr std::size_t SampleBits(Packing packing, std::size_t depth)
{
    return packing == Packing::Word ? 16 : depth;
}

std::uint8_t SampleAt(const SampleLayout& layout, const std::uint8_t* source, std::size_t sample)
{
    const std::uint8_t* bytes = source + sample / kGroup * layout.bytes + layout.byte[sample % kGroup];
    const unsigned shift = layout.shift[sample % kGroup];
    const unsigned word = shift == 0 ? bytes[0] : bytes[0] | (unsigned{bytes[1]} << 8);
    return static_cast<std::uint8_t>(word >> shift);
}

void ReorderPixels(const Conversion& conversion, const std::uint8_t* source, std::size_t available,
                   std::size_t count, std::uint8_t* out)
{
    const std::size_t done = conversion.kernels->order(conversion.order, source, available, count, out);
    const std::size_t channels = conversion.order.channels;
    const std::size_t first = conversion.order.from[0];
    const std::size_t second = conversion.order.from[1];
    const std::size_t third = conversion.order.from[2];
    for (std::size_t i = done; i < count; ++i) {
        out[3 * i] = source[channels * i + first];
        out[3 * i + 1] = source[channels * i + second];
        out[3 * i + 2] = source[channels * i + third];
    }
}

} // namespace

SampleLayout SampleLayoutOf(const PixelFormat& format)
{
    SampleLayout layout = {};
    layout.bytes = SampleBits(format.packing, format.depth);
    for (std::size_t i = 0; i < kGroup; ++i) {
        const std::size_t bit = TopBits(format.packing, format.depth, i);
        const auto byte = static_cast<std::uint8_t>(bit / 8);
        const auto shift = static_cast<std::uint8_t>(bit % 8);
        layout.byte[i] = byte;
        layout.shift[i] = shift;
        // A sample that is all of one byte is the upper half of its word already.
        layout.table[2 * i] = shift == 0 ? kNoByte : byte;
        layout.table[2 * i + 1] = static_cast<std::uint8_t>(shift == 0 ? byte : byte + 1);
        layout.factors[i] = static_cast<std::uint16_t>(shift == 0 ? 1u << 8 : 1u << (16 - shift));
    }
    return layout;
}

ChannelOrder ChannelOrderOf(const PixelFormat& format, bool redFirst)
{
    ChannelOrder order = {};
    if (format.family == Family::Mono) {
        order.channels = 1;
    }
    else {
        const bool alpha = format.rgbOrder == RgbOrder::Rgba || format.rgbOrder == RgbOrder::Bgra;
        const bool sourceRedFirst = format.rgbOrder == RgbOrder::Rgb || format.rgbOrder == RgbOrder::Rgba;
        order.channels = alpha ? 4 : 3;
        order.from[0] = sourceRedFirst == redFirst ? 0 : 2;
        order.from[1] = 1;
        order.from[2] = sourceRedFirst == redFirst ? 2 : 0;
    }
    for (std::size_t i = 0; i < 3 * kBlock; ++i) {
        const std::size_t from =
            i / 3 * order.channels + order.from[i % 3] - ChannelOrder::FirstByte(order.channels, i / kBlock);
        order.tables[0][i] = from < kBlock ? static_cast<std::uint8_t>(from) : kNoByte;
        order.tables[1][i] = from < kBlock ? kNoByte : static_cast<std::uint8_t>(from - kBlock);
    }
    return order;
}

void UnpackSamples(const Conversion& conversion, const SourceRun& run, std::size_t first, std::size_t count,
                   std::uint8_t* out)
{
    if (conversion.format->packing == Packing::Byte) {
        std::memcpy(out, run.bytes + first, count);
        return;
    }
    const SampleLayout& layout = conversion.samples;
    std::size_t done = 0;
    const auto plain = [&](std::size_t end) {
        for (; done < end; ++done) {
            out[done] = SampleAt(layout, run.bytes, first + done);
        }
    };
    plain(std::min(count, (kGroup - first % kGroup) % kGroup));
    const std::size_t offset = (first + done) / kGroup * layout.bytes;
    if (done < count) {
        done += conversion.kernels->unpack(layout, run.bytes + offset, run.byteCount - offset, count - done,
                                           out + done);
    }
    plain(count);
}

void ConvertChannels(const Conversion& conversion, const SourceRun& run, std::size_t first, std::size_t count,
                     std::uint8_t* out)
{
    const ChannelOrder& order = conversion.order;
    if (conversion.format->packing == Packing::Byte) {
        const std::size_t offset = order.channels * first;
        return ReorderPixels(conversion, run.bytes + offset, run.byteCount - offset, count, out);
    }
    if (order.channels == 3 && order.from[0] == 0) {
        return UnpackSamples(conversion, run, 3 * first, 3 * count, out);
    }

    constexpr std::size_t piece = 6144; // samples, of three or four channels
    std::uint8_t samples[piece + 2 * kBlock];
    const std::size_t most = piece / order.channels;
    for (std::size_t done = 0; done < count; done += most) {
        const std::size_t pixels = std::min(most, count - done);
        UnpackSamples(conversion, run, order.channels * (first + done), order.channels * pixels, samples);
        ReorderPixels(conversion, samples, sizeof samples, pixels, out + 3 * done);
    }
}

} // namespace maravel::imagetransform
