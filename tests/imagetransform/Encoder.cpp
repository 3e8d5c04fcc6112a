#include "imagetransform/Encoder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

namespace maravel::test {
namespace {

std::uint32_t Sample(double value, unsigned depth)
{
    return static_cast<std::uint32_t>(std::lround(value * ((1u << depth) - 1)));
}

// Lowest bit first, the last byte filled up with ones, so that a reader that looks too far shows.
class BitWriter
{
public:
    void Put(std::uint32_t value, unsigned bits)
    {
        for (unsigned i = 0; i < bits; ++i, ++position_) {
            if (position_ % 8 == 0) {
                bytes_.push_back(0xFF);
            }
            if (((value >> i) & 1) == 0) {
                bytes_.back() = static_cast<std::uint8_t>(bytes_.back() & ~(1u << position_ % 8));
            }
        }
    }

    std::vector<std::uint8_t> Take() { return std::move(bytes_); }

private:
    std::vector<std::uint8_t> bytes_;
    std::size_t position_ = 0;
};

void PutSamples(BitWriter& out, const Format& format, const std::vector<std::uint32_t>& samples)
{
    for (std::size_t i = 0; i < samples.size(); ++i) {
        if (format.bits == Bits::Words) {
            out.Put(samples[i], format.depth == 8 ? 8 : 16);
        }
        else if (format.bits == Bits::Lsb) {
            out.Put(samples[i], format.depth);
        }
        else if (i % 2 == 0) {
            out.Put(samples[i] >> 4, 8);
            out.Put(samples[i] & 15, 4);
        }
        else {
            out.Put(samples[i] & 15, 4);
            out.Put(samples[i] >> 4, 8);
        }
    }
}

double Channel(const Rgb& pixel, char colour)
{
    if (colour == 'A') {
        return 0.6; // which must not show
    }
    return colour == 'R' ? pixel.red : colour == 'G' ? pixel.green : pixel.blue;
}

std::uint8_t YuvByte(const Format& format, const Rgb& pixel, char which)
{
    const double luma = format.weightRed * pixel.red + format.weightBlue * pixel.blue +
                        (1 - format.weightRed - format.weightBlue) * pixel.green;
    const double chromaSpan = format.limited ? 224 : 255;
    double value = 0;
    if (which == 'Y') {
        value = format.limited ? 16 + 219 * luma : 255 * luma;
    }
    else if (which == 'U') {
        value = 128 + chromaSpan * 0.5 * (pixel.blue - luma) / (1 - format.weightBlue);
    }
    else {
        value = 128 + chromaSpan * 0.5 * (pixel.red - luma) / (1 - format.weightRed);
    }
    return static_cast<std::uint8_t>(std::clamp(std::lround(value), 0L, 255L));
}

// Groups run on over line ends; the last one is cut off with the image. The first pixel gives the chroma.
std::vector<std::uint8_t> EncodeYuv(const Format& format, const Picture& picture)
{
    const std::string_view order = format.order;
    const auto groupPixels = static_cast<std::size_t>(std::ranges::count(order, 'Y'));
    std::vector<std::uint8_t> bytes;
    for (std::size_t first = 0; first < picture.pixels.size(); first += groupPixels) {
        std::size_t luma = first;
        for (const char which : order) {
            const std::size_t from = which == 'Y' ? std::min(luma++, picture.pixels.size() - 1) : first;
            bytes.push_back(YuvByte(format, picture.pixels[from], which));
        }
    }
    bytes.resize((picture.pixels.size() * order.size() * 8 / groupPixels + 7) / 8);
    return bytes;
}

} // namespace

std::vector<std::uint8_t> Encode(const Format& format, const Picture& picture)
{
    if (format.IsYuv()) {
        return EncodeYuv(format, picture);
    }

    std::vector<std::uint32_t> samples;
    for (std::size_t i = 0; i < picture.pixels.size(); ++i) {
        const Rgb& pixel = picture.pixels[i];
        if (format.IsMono()) {
            samples.push_back(Sample(pixel.green, format.depth));
        }
        else if (format.IsMosaic()) {
            samples.push_back(Sample(
                Channel(pixel, MosaicColour(format, i % picture.width, i / picture.width)), format.depth));
        }
        else {
            for (const char colour : std::string_view(format.order)) {
                samples.push_back(Sample(Channel(pixel, colour), format.depth));
            }
        }
    }
    BitWriter out;
    PutSamples(out, format, samples);
    return out.Take();
}

std::uint8_t Top8(double value, unsigned depth)
{
    return static_cast<std::uint8_t>(Sample(value, depth) >> (depth - 8));
}

char MosaicColour(const Format& format, std::size_t x, std::size_t y)
{
    return format.order[y % 2 * 3 + x % 2];
}

std::vector<Format> AllFormats()
{
    constexpr double red601 = 0.299, blue601 = 0.114, red709 = 0.2126, blue709 = 0.0722;
    std::vector<Format> all = {
        {0x01080001, "M", 8, Bits::Words},
        {0x01100003, "M", 10, Bits::Words},
        {0x01100005, "M", 12, Bits::Words},
        {0x01100025, "M", 14, Bits::Words},
        {0x01100007, "M", 16, Bits::Words},
        {0x010A0046, "M", 10, Bits::Lsb},
        {0x010C0047, "M", 12, Bits::Lsb},
        {0x010C0006, "M", 12, Bits::Pairs},
        {0x020C001E, "UYYVYY", 8, Bits::Words, red601, blue601},
        {0x0210001F, "UYVY", 8, Bits::Words, red601, blue601},
        {0x02100032, "YUYV", 8, Bits::Words, red601, blue601},
        {0x02180020, "UYV", 8, Bits::Words, red601, blue601},
        {0x020C003C, "UYYVYY", 8, Bits::Words, red601, blue601},
        {0x020C003F, "UYYVYY", 8, Bits::Words, red601, blue601, true},
        {0x020C0042, "UYYVYY", 8, Bits::Words, red709, blue709, true},
        {0x020C005A, "YYUYYV", 8, Bits::Words, red601, blue601},
        {0x0210003B, "YUYV", 8, Bits::Words, red601, blue601},
        {0x0210003E, "YUYV", 8, Bits::Words, red601, blue601, true},
        {0x02100041, "YUYV", 8, Bits::Words, red709, blue709, true},
        {0x02100043, "UYVY", 8, Bits::Words, red601, blue601},
        {0x02100044, "UYVY", 8, Bits::Words, red601, blue601, true},
        {0x02100045, "UYVY", 8, Bits::Words, red709, blue709, true},
        {0x0218003A, "UYV", 8, Bits::Words, red601, blue601},
        {0x0218003D, "UYV", 8, Bits::Words, red601, blue601, true},
        {0x02180040, "UYV", 8, Bits::Words, red709, blue709, true},
        {0x0218005B, "YUV", 8, Bits::Words, red601, blue601},
    };
    // One layout in four orders.
    const auto add = [&all](std::array<const char*, 4> orders, unsigned depth, Bits bits,
                            std::array<std::uint32_t, 4> codes) {
        for (std::size_t i = 0; i < codes.size(); ++i) {
            all.push_back({codes[i], orders[i], depth, bits});
        }
    };
    constexpr std::array mosaics = {"GR/BG", "RG/GB", "GB/RG", "BG/GR"};
    add(mosaics, 8, Bits::Words, {0x01080008, 0x01080009, 0x0108000A, 0x0108000B});
    add(mosaics, 10, Bits::Words, {0x0110000C, 0x0110000D, 0x0110000E, 0x0110000F});
    add(mosaics, 12, Bits::Words, {0x01100010, 0x01100011, 0x01100012, 0x01100013});
    add(mosaics, 16, Bits::Words, {0x0110002E, 0x0110002F, 0x01100030, 0x01100031});
    add(mosaics, 12, Bits::Pairs, {0x010C002A, 0x010C002B, 0x010C002C, 0x010C002D});
    add(mosaics, 10, Bits::Lsb, {0x010A0056, 0x010A0058, 0x010A0054, 0x010A0052});
    add(mosaics, 12, Bits::Lsb, {0x010C0057, 0x010C0059, 0x010C0055, 0x010C0053});
    constexpr std::array colours = {"RGB", "BGR", "RGBA", "BGRA"};
    add(colours, 8, Bits::Words, {0x02180014, 0x02180015, 0x02200016, 0x02200017});
    add(colours, 10, Bits::Words, {0x02300018, 0x02300019, 0x0240005F, 0x0240004C});
    add(colours, 12, Bits::Words, {0x0230001A, 0x0230001B, 0x02400061, 0x0240004E});
    add(colours, 16, Bits::Words, {0x02300033, 0x0230004B, 0x02400064, 0x02400051});
    add(colours, 14, Bits::Words, {0x0230005E, 0x0230004A, 0x02400063, 0x02400050});
    return all;
}

} // namespace maravel::test
