#include "Pictures.h"

#include "sdk/Names.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace maravel::certify {
namespace {

// One colour all over a mosaic: whatever a library computes from neighbours comes to the same.
constexpr std::array<std::uint8_t, 3> kMosaicColour = {200, 120, 40};
constexpr std::uint32_t kMosaicMargin = 2;

constexpr std::uint8_t kAlpha = 0x5A; // which must not show

// Chroma of the YUV pictures; the luma changes from pixel to pixel.
constexpr std::uint8_t kU = 90, kV = 180;

std::uint8_t LumaOf(std::size_t pixel)
{
    return static_cast<std::uint8_t>(60 + 50 * (pixel % 4));
}

std::uint8_t ColourOf(std::size_t pixel, char colour)
{
    const std::size_t step = colour == 'R' ? 7 : colour == 'G' ? 11 : 29;
    return colour == 'A' ? kAlpha : static_cast<std::uint8_t>(40 + step * pixel);
}

// The value in the upper bits, and lower bits that are unlike it, so that no bit can be taken for another
// one.
std::uint32_t Sample(std::uint8_t value, unsigned depth)
{
    return static_cast<std::uint32_t>(value) << (depth - 8) | (~value & 0xFFu) >> (16 - depth);
}

class Writer
{
public:
    Writer(const Format& format, std::size_t pixels) : format_(format), bytes_(BytesOf(format, pixels)) {}

    void Put(std::uint8_t value)
    {
        const std::uint32_t sample = Sample(value, format_.depth);
        const std::size_t first = count_++;
        if (format_.bits == Bits::Pairs) {
            // The high ends are the outer bytes, the low ends the halves of the middle one.
            const std::size_t bit = first / 2 * 24;
            PutBits(bit + 16 * (first % 2), sample >> 4, 8);
            PutBits(bit + 8 + 4 * (first % 2), sample & 15, 4);
        }
        else {
            const unsigned bits = format_.bits == Bits::Lsb ? format_.depth : format_.depth > 8 ? 16 : 8;
            PutBits(first * bits, sample, bits);
        }
    }
    std::vector<std::uint8_t> Take() { return std::move(bytes_); }

private:
    void PutBits(std::size_t at, std::uint32_t value, unsigned bits)
    {
        for (unsigned i = 0; i < bits; ++i, ++at) {
            if ((value >> i & 1) != 0 && at / 8 < bytes_.size()) {
                bytes_[at / 8] = static_cast<std::uint8_t>(bytes_[at / 8] | 1u << at % 8);
            }
        }
    }

    const Format& format_;
    std::vector<std::uint8_t> bytes_;
    std::size_t count_ = 0;
};

std::uint8_t Rounded(double value)
{
    return static_cast<std::uint8_t>(std::clamp(std::lround(value), 0L, 255L));
}

std::array<std::uint8_t, 3> FromYuv(const YuvSpace& space, double luma)
{
    const double green = 1 - space.red - space.blue;
    const double chroma = space.limited ? 255.0 / 224 : 1;
    const double y = space.limited ? (luma - 16) * 255 / 219 : luma;
    const double toRed = 2 * (1 - space.red) * chroma * (kV - 128);
    const double toBlue = 2 * (1 - space.blue) * chroma * (kU - 128);
    return {Rounded(y + toRed), Rounded(y - (space.red * toRed + space.blue * toBlue) / green),
            Rounded(y + toBlue)};
}

void Show(std::vector<std::uint8_t>* rgb, const std::array<std::uint8_t, 3>& pixel)
{
    rgb->insert(rgb->end(), pixel.begin(), pixel.end());
}

void DrawYuv(Picture* picture, std::size_t pixels)
{
    const Format& format = picture->format;
    const auto group = static_cast<std::size_t>(std::ranges::count(format.order, 'Y'));
    for (std::size_t first = 0; first < pixels; first += group) {
        std::size_t pixel = first;
        for (const char which : format.order) {
            picture->source.push_back(which == 'Y' ? LumaOf(pixel++) : which == 'U' ? kU : kV);
        }
    }
    picture->source.resize(BytesOf(format, pixels));
    for (std::size_t pixel = 0; pixel < pixels; ++pixel) {
        Show(&picture->rgb, FromYuv(format.space, LumaOf(pixel)));
    }
}

void DrawMosaic(Picture* picture)
{
    Writer out(picture->format, std::size_t{picture->width} * picture->height);
    for (std::size_t y = 0; y < picture->height; ++y) {
        for (std::size_t x = 0; x < picture->width; ++x) {
            const char colour = picture->format.order[y % 2 * 2 + x % 2];
            out.Put(kMosaicColour[std::string_view("RGB").find(colour)]);
            Show(&picture->rgb, kMosaicColour);
        }
    }
    picture->source = out.Take();
    picture->margin = kMosaicMargin;
}

void DrawPixels(Picture* picture, std::size_t pixels)
{
    Writer out(picture->format, pixels);
    const bool mono = picture->format.family == Family::Mono;
    for (std::size_t pixel = 0; pixel < pixels; ++pixel) {
        for (const char colour : picture->format.order) {
            out.Put(ColourOf(pixel, colour));
        }
        std::array<std::uint8_t, 3> shown;
        for (std::size_t i = 0; i < 3; ++i) {
            shown[i] = ColourOf(pixel, mono ? 'M' : "RGB"[i]);
        }
        Show(&picture->rgb, shown);
    }
    picture->source = out.Take();
}

std::vector<Format> MakeFormats()
{
    constexpr YuvSpace full, limited601{.limited = true}, limited709{0.2126, 0.0722, true};
    std::vector<Format> all = {
        {0x010A0046, Family::Mono, "M", 10, Bits::Lsb},
        {0x010C0047, Family::Mono, "M", 12, Bits::Lsb},
    };
    // One layout in four orders, by their codes.
    const auto add = [&all](Family family, std::array<const char*, 4> orders, unsigned depth, Bits bits,
                            std::array<std::uint32_t, 4> codes) {
        for (std::size_t i = 0; i < codes.size(); ++i) {
            all.push_back({codes[i], family, orders[i], depth, bits});
        }
    };
    constexpr std::array mosaics = {"GRBG", "RGGB", "GBRG", "BGGR"};
    add(Family::Bayer, mosaics, 8, Bits::Whole, {0x01080008, 0x01080009, 0x0108000A, 0x0108000B});
    add(Family::Bayer, mosaics, 10, Bits::Whole, {0x0110000C, 0x0110000D, 0x0110000E, 0x0110000F});
    add(Family::Bayer, mosaics, 12, Bits::Whole, {0x01100010, 0x01100011, 0x01100012, 0x01100013});
    add(Family::Bayer, mosaics, 16, Bits::Whole, {0x0110002E, 0x0110002F, 0x01100030, 0x01100031});
    add(Family::Bayer, mosaics, 12, Bits::Pairs, {0x010C002A, 0x010C002B, 0x010C002C, 0x010C002D});
    add(Family::Bayer, mosaics, 10, Bits::Lsb, {0x010A0056, 0x010A0058, 0x010A0054, 0x010A0052});
    add(Family::Bayer, mosaics, 12, Bits::Lsb, {0x010C0057, 0x010C0059, 0x010C0055, 0x010C0053});
    constexpr std::array colours = {"RGB", "BGR", "RGBA", "BGRA"};
    add(Family::Rgb, colours, 8, Bits::Whole, {0x02180014, 0x02180015, 0x02200016, 0x02200017});
    add(Family::Rgb, colours, 10, Bits::Whole, {0x02300018, 0x02300019, 0x0240005F, 0x0240004C});
    add(Family::Rgb, colours, 12, Bits::Whole, {0x0230001A, 0x0230001B, 0x02400061, 0x0240004E});
    add(Family::Rgb, colours, 14, Bits::Whole, {0x0230005E, 0x0230004A, 0x02400063, 0x02400050});
    add(Family::Rgb, colours, 16, Bits::Whole, {0x02300033, 0x0230004B, 0x02400064, 0x02400051});
    const auto addYuv = [&all](const char* order, const YuvSpace& space,
                               std::initializer_list<std::uint32_t> codes) {
        for (const std::uint32_t code : codes) {
            all.push_back({code, Family::Yuv, order, 8, Bits::Whole, space});
        }
    };
    addYuv("UYV", full, {0x02180020, 0x0218003A});
    addYuv("UYV", limited601, {0x0218003D});
    addYuv("UYV", limited709, {0x02180040});
    addYuv("YUV", full, {0x0218005B});
    addYuv("UYVY", full, {0x0210001F, 0x02100043});
    addYuv("UYVY", limited601, {0x02100044});
    addYuv("UYVY", limited709, {0x02100045});
    addYuv("YUYV", full, {0x02100032, 0x0210003B});
    addYuv("YUYV", limited601, {0x0210003E});
    addYuv("YUYV", limited709, {0x02100041});
    addYuv("UYYVYY", full, {0x020C001E, 0x020C003C});
    addYuv("UYYVYY", limited601, {0x020C003F});
    addYuv("UYYVYY", limited709, {0x020C0042});
    addYuv("YYUYYV", full, {0x020C005A});
    return all;
}

} // namespace

std::string Format::Name() const
{
    constexpr std::string_view prefix = "ZvkPixelFormat";
    const std::string_view name = PixelFormatName(code);
    return std::string(name.starts_with(prefix) ? name.substr(prefix.size()) : name);
}

const std::vector<Format>& ConvertedFormats()
{
    static const std::vector<Format> formats = MakeFormats();
    return formats;
}

std::size_t BytesOf(const Format& format, std::size_t pixels)
{
    return (pixels * (format.code >> 16 & 0xFF) + 7) / 8;
}

Picture PictureOf(const Format& format, std::uint32_t width, std::uint32_t height)
{
    Picture picture{.format = format, .width = width, .height = height, .source = {}, .rgb = {}};
    const std::size_t pixels = std::size_t{width} * height;
    if (format.family == Family::Yuv) {
        DrawYuv(&picture, pixels);
    }
    else if (format.family == Family::Bayer) {
        DrawMosaic(&picture);
    }
    else {
        DrawPixels(&picture, pixels);
    }
    return picture;
}

int Deviation(const Picture& picture, const std::uint8_t* rgb)
{
    const auto& [format, width, height, source, shown, margin] = picture;
    int most = 0;
    for (std::size_t y = margin; y + margin < height; ++y) {
        for (std::size_t byte = 3 * (y * width + margin); byte < 3 * (y * width + width - margin); ++byte) {
            most = std::max(most, std::abs(rgb[byte] - shown[byte]));
        }
    }
    return most;
}

} // namespace maravel::certify
