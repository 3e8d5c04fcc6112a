#include "imagetransform/Encoder.h"

#include <algorithm>
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
            if (position_ % 8 == 0)
                bytes_.push_back(0xFF);
            if (((value >> i) & 1) == 0)
                bytes_.back() = static_cast<std::uint8_t>(bytes_.back() & ~(1u << position_ % 8));
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
    switch (colour) {
    case 'R':
        return pixel.red;
    case 'G':
        return pixel.green;
    case 'B':
        return pixel.blue;
    default:
        return 0.6; // alpha, which must not show
    }
}

std::uint8_t YuvByte(const Format& format, const Rgb& pixel, char which)
{
    const double luma = format.weightRed * pixel.red + format.weightBlue * pixel.blue +
                        (1 - format.weightRed - format.weightBlue) * pixel.green;
    const double chromaSpan = format.limited ? 224 : 255;
    double value = 0;
    if (which == 'Y')
        value = format.limited ? 16 + 219 * luma : 255 * luma;
    else if (which == 'U')
        value = 128 + chromaSpan * 0.5 * (pixel.blue - luma) / (1 - format.weightBlue);
    else
        value = 128 + chromaSpan * 0.5 * (pixel.red - luma) / (1 - format.weightRed);
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
    if (format.IsYuv())
        return EncodeYuv(format, picture);

    std::vector<std::uint32_t> samples;
    for (std::size_t i = 0; i < picture.pixels.size(); ++i) {
        const Rgb& pixel = picture.pixels[i];
        if (format.IsMono())
            samples.push_back(Sample(pixel.green, format.depth));
        else if (format.IsMosaic())
            samples.push_back(Sample(
                Channel(pixel, MosaicColour(format, i % picture.width, i / picture.width)), format.depth));
        else
            for (const char colour : std::string_view(format.order))
                samples.push_back(Sample(Channel(pixel, colour), format.depth));
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

const std::vector<Format> kAllFormats = {
    {0x01080001, "Mono8", "M", 8, Bits::Words},
    {0x01100003, "Mono10", "M", 10, Bits::Words},
    {0x01100005, "Mono12", "M", 12, Bits::Words},
    {0x01100025, "Mono14", "M", 14, Bits::Words},
    {0x01100007, "Mono16", "M", 16, Bits::Words},
    {0x010A0046, "Mono10p", "M", 10, Bits::Lsb},
    {0x010C0047, "Mono12p", "M", 12, Bits::Lsb},
    {0x010C0006, "Mono12Packed", "M", 12, Bits::Pairs},
    {0x01080008, "BayerGR8", "GR/BG", 8, Bits::Words},
    {0x01080009, "BayerRG8", "RG/GB", 8, Bits::Words},
    {0x0108000A, "BayerGB8", "GB/RG", 8, Bits::Words},
    {0x0108000B, "BayerBG8", "BG/GR", 8, Bits::Words},
    {0x0110000C, "BayerGR10", "GR/BG", 10, Bits::Words},
    {0x0110000D, "BayerRG10", "RG/GB", 10, Bits::Words},
    {0x0110000E, "BayerGB10", "GB/RG", 10, Bits::Words},
    {0x0110000F, "BayerBG10", "BG/GR", 10, Bits::Words},
    {0x01100010, "BayerGR12", "GR/BG", 12, Bits::Words},
    {0x01100011, "BayerRG12", "RG/GB", 12, Bits::Words},
    {0x01100012, "BayerGB12", "GB/RG", 12, Bits::Words},
    {0x01100013, "BayerBG12", "BG/GR", 12, Bits::Words},
    {0x0110002E, "BayerGR16", "GR/BG", 16, Bits::Words},
    {0x0110002F, "BayerRG16", "RG/GB", 16, Bits::Words},
    {0x01100030, "BayerGB16", "GB/RG", 16, Bits::Words},
    {0x01100031, "BayerBG16", "BG/GR", 16, Bits::Words},
    {0x010C002A, "BayerGR12Packed", "GR/BG", 12, Bits::Pairs},
    {0x010C002B, "BayerRG12Packed", "RG/GB", 12, Bits::Pairs},
    {0x010C002C, "BayerGB12Packed", "GB/RG", 12, Bits::Pairs},
    {0x010C002D, "BayerBG12Packed", "BG/GR", 12, Bits::Pairs},
    {0x010A0052, "BayerBG10p", "BG/GR", 10, Bits::Lsb},
    {0x010A0054, "BayerGB10p", "GB/RG", 10, Bits::Lsb},
    {0x010A0056, "BayerGR10p", "GR/BG", 10, Bits::Lsb},
    {0x010A0058, "BayerRG10p", "RG/GB", 10, Bits::Lsb},
    {0x010C0053, "BayerBG12p", "BG/GR", 12, Bits::Lsb},
    {0x010C0055, "BayerGB12p", "GB/RG", 12, Bits::Lsb},
    {0x010C0057, "BayerGR12p", "GR/BG", 12, Bits::Lsb},
    {0x010C0059, "BayerRG12p", "RG/GB", 12, Bits::Lsb},
    {0x02180014, "RGB8", "RGB", 8},
    {0x02180015, "BGR8", "BGR", 8},
    {0x02200016, "RGBa8", "RGBA", 8},
    {0x02200017, "BGRa8", "BGRA", 8},
    {0x02300018, "RGB10", "RGB", 10},
    {0x02300019, "BGR10", "BGR", 10},
    {0x0230001A, "RGB12", "RGB", 12},
    {0x0230001B, "BGR12", "BGR", 12},
    {0x02300033, "RGB16", "RGB", 16},
    {0x0230004A, "BGR14", "BGR", 14},
    {0x0230004B, "BGR16", "BGR", 16},
    {0x0230005E, "RGB14", "RGB", 14},
    {0x0240004C, "BGRa10", "BGRA", 10},
    {0x0240004E, "BGRa12", "BGRA", 12},
    {0x02400050, "BGRa14", "BGRA", 14},
    {0x02400051, "BGRa16", "BGRA", 16},
    {0x0240005F, "RGBa10", "RGBA", 10},
    {0x02400061, "RGBa12", "RGBA", 12},
    {0x02400063, "RGBa14", "RGBA", 14},
    {0x02400064, "RGBa16", "RGBA", 16},
    {0x020C001E, "YUV411_8_UYYVYY", "UYYVYY", 8, Bits::Words, 0.299, 0.114},
    {0x0210001F, "YUV422_8_UYVY", "UYVY", 8, Bits::Words, 0.299, 0.114},
    {0x02100032, "YUV422_8", "YUYV", 8, Bits::Words, 0.299, 0.114},
    {0x02180020, "YUV8_UYV", "UYV", 8, Bits::Words, 0.299, 0.114},
    {0x020C003C, "YCbCr411_8_CbYYCrYY", "UYYVYY", 8, Bits::Words, 0.299, 0.114},
    {0x020C003F, "YCbCr601_411_8_CbYYCrYY", "UYYVYY", 8, Bits::Words, 0.299, 0.114, true},
    {0x020C0042, "YCbCr709_411_8_CbYYCrYY", "UYYVYY", 8, Bits::Words, 0.2126, 0.0722, true},
    {0x020C005A, "YCbCr411_8", "YYUYYV", 8, Bits::Words, 0.299, 0.114},
    {0x0210003B, "YCbCr422_8", "YUYV", 8, Bits::Words, 0.299, 0.114},
    {0x0210003E, "YCbCr601_422_8", "YUYV", 8, Bits::Words, 0.299, 0.114, true},
    {0x02100041, "YCbCr709_422_8", "YUYV", 8, Bits::Words, 0.2126, 0.0722, true},
    {0x02100043, "YCbCr422_8_CbYCrY", "UYVY", 8, Bits::Words, 0.299, 0.114},
    {0x02100044, "YCbCr601_422_8_CbYCrY", "UYVY", 8, Bits::Words, 0.299, 0.114, true},
    {0x02100045, "YCbCr709_422_8_CbYCrY", "UYVY", 8, Bits::Words, 0.2126, 0.0722, true},
    {0x0218003A, "YCbCr8_CbYCr", "UYV", 8, Bits::Words, 0.299, 0.114},
    {0x0218003D, "YCbCr601_8_CbYCr", "UYV", 8, Bits::Words, 0.299, 0.114, true},
    {0x02180040, "YCbCr709_8_CbYCr", "UYV", 8, Bits::Words, 0.2126, 0.0722, true},
    {0x0218005B, "YCbCr8", "YUV", 8, Bits::Words, 0.299, 0.114},
};

} // namespace maravel::test
