#include "imagetransform/PixelFormats.h"

#include <algorithm>
#include <array>
#include <limits>

namespace maravel::imagetransform {
namespace {

constexpr PixelFormat Mono(ZvkPixelFormat_t code, std::string_view name, Packing packing, std::uint8_t depth)
{
    return {.code = code, .name = name, .family = Family::Mono, .packing = packing, .depth = depth};
}

constexpr PixelFormat Bayer(ZvkPixelFormat_t code, std::string_view name, BayerPhase phase, Packing packing,
                            std::uint8_t depth)
{
    return {.code = code,
            .name = name,
            .family = Family::Bayer,
            .packing = packing,
            .depth = depth,
            .phase = phase};
}

constexpr PixelFormat Rgb(ZvkPixelFormat_t code, std::string_view name, RgbOrder order, std::uint8_t depth)
{
    const Packing packing = depth == 8 ? Packing::Byte : Packing::Word;
    return {.code = code,
            .name = name,
            .family = Family::Rgb,
            .packing = packing,
            .depth = depth,
            .rgbOrder = order};
}

constexpr PixelFormat Yuv(ZvkPixelFormat_t code, std::string_view name, YuvOrder order, YuvColours colours)
{
    return {.code = code, .name = name, .family = Family::Yuv, .yuvOrder = order, .colours = colours};
}

constexpr std::array kFormats = {
    Mono(0x01080001, "Mono8", Packing::Byte, 8),
    Bayer(0x01080008, "BayerGR8", BayerPhase::GR, Packing::Byte, 8),
    Bayer(0x01080009, "BayerRG8", BayerPhase::RG, Packing::Byte, 8),
    Bayer(0x0108000A, "BayerGB8", BayerPhase::GB, Packing::Byte, 8),
    Bayer(0x0108000B, "BayerBG8", BayerPhase::BG, Packing::Byte, 8),
    Mono(0x010A0046, "Mono10p", Packing::Lsb, 10),
    Bayer(0x010A0052, "BayerBG10p", BayerPhase::BG, Packing::Lsb, 10),
    Bayer(0x010A0054, "BayerGB10p", BayerPhase::GB, Packing::Lsb, 10),
    Bayer(0x010A0056, "BayerGR10p", BayerPhase::GR, Packing::Lsb, 10),
    Bayer(0x010A0058, "BayerRG10p", BayerPhase::RG, Packing::Lsb, 10),
    Mono(0x010C0006, "Mono12Packed", Packing::GigE12Pairs, 12),
    Bayer(0x010C002A, "BayerGR12Packed", BayerPhase::GR, Packing::GigE12Pairs, 12),
    Bayer(0x010C002B, "BayerRG12Packed", BayerPhase::RG, Packing::GigE12Pairs, 12),
    Bayer(0x010C002C, "BayerGB12Packed", BayerPhase::GB, Packing::GigE12Pairs, 12),
    Bayer(0x010C002D, "BayerBG12Packed", BayerPhase::BG, Packing::GigE12Pairs, 12),
    Mono(0x010C0047, "Mono12p", Packing::Lsb, 12),
    Bayer(0x010C0053, "BayerBG12p", BayerPhase::BG, Packing::Lsb, 12),
    Bayer(0x010C0055, "BayerGB12p", BayerPhase::GB, Packing::Lsb, 12),
    Bayer(0x010C0057, "BayerGR12p", BayerPhase::GR, Packing::Lsb, 12),
    Bayer(0x010C0059, "BayerRG12p", BayerPhase::RG, Packing::Lsb, 12),
    Mono(0x01100003, "Mono10", Packing::Word, 10),
    Mono(0x01100005, "Mono12", Packing::Word, 12),
    Mono(0x01100007, "Mono16", Packing::Word, 16),
    Bayer(0x0110000C, "BayerGR10", BayerPhase::GR, Packing::Word, 10),
    Bayer(0x0110000D, "BayerRG10", BayerPhase::RG, Packing::Word, 10),
    Bayer(0x0110000E, "BayerGB10", BayerPhase::GB, Packing::Word, 10),
    Bayer(0x0110000F, "BayerBG10", BayerPhase::BG, Packing::Word, 10),
    Bayer(0x01100010, "BayerGR12", BayerPhase::GR, Packing::Word, 12),
    Bayer(0x01100011, "BayerRG12", BayerPhase::RG, Packing::Word, 12),
    Bayer(0x01100012, "BayerGB12", BayerPhase::GB, Packing::Word, 12),
    Bayer(0x01100013, "BayerBG12", BayerPhase::BG, Packing::Word, 12),
    Mono(0x01100025, "Mono14", Packing::Word, 14),
    Bayer(0x0110002E, "BayerGR16", BayerPhase::GR, Packing::Word, 16),
    Bayer(0x0110002F, "BayerRG16", BayerPhase::RG, Packing::Word, 16),
    Bayer(0x01100030, "BayerGB16", BayerPhase::GB, Packing::Word, 16),
    Bayer(0x01100031, "BayerBG16", BayerPhase::BG, Packing::Word, 16),
    Yuv(0x020C001E, "Yuv411", YuvOrder::UYYVYY, YuvColours::FullRange601), // PFNC YUV411_8_UYYVYY
    Yuv(0x020C003C, "YCbCr411_8_CbYYCrYY", YuvOrder::UYYVYY, YuvColours::FullRange601),
    Yuv(0x020C003F, "YCbCr601_411_8_CbYYCrYY", YuvOrder::UYYVYY, YuvColours::Limited601),
    Yuv(0x020C0042, "YCbCr709_411_8_CbYYCrYY", YuvOrder::UYYVYY, YuvColours::Limited709),
    Yuv(0x020C005A, "YCbCr411_8", YuvOrder::YYUYYV, YuvColours::FullRange601),
    Yuv(0x0210001F, "Yuv422", YuvOrder::UYVY, YuvColours::FullRange601), // PFNC YUV422_8_UYVY
    Yuv(0x02100032, "Yuv422_8", YuvOrder::YUYV, YuvColours::FullRange601),
    Yuv(0x0210003B, "YCbCr422_8", YuvOrder::YUYV, YuvColours::FullRange601),
    Yuv(0x0210003E, "YCbCr601_422_8", YuvOrder::YUYV, YuvColours::Limited601),
    Yuv(0x02100041, "YCbCr709_422_8", YuvOrder::YUYV, YuvColours::Limited709),
    Yuv(0x02100043, "YCbCr422_8_CbYCrY", YuvOrder::UYVY, YuvColours::FullRange601),
    Yuv(0x02100044, "YCbCr601_422_8_CbYCrY", YuvOrder::UYVY, YuvColours::Limited601),
    Yuv(0x02100045, "YCbCr709_422_8_CbYCrY", YuvOrder::UYVY, YuvColours::Limited709),
    Rgb(0x02180014, "Rgb8", RgbOrder::Rgb, 8),
    Rgb(0x02180015, "Bgr8", RgbOrder::Bgr, 8),
    Yuv(0x02180020, "Yuv444", YuvOrder::UYV, YuvColours::FullRange601), // PFNC YUV8_UYV
    Yuv(0x0218003A, "YCbCr8_CbYCr", YuvOrder::UYV, YuvColours::FullRange601),
    Yuv(0x0218003D, "YCbCr601_8_CbYCr", YuvOrder::UYV, YuvColours::Limited601),
    Yuv(0x02180040, "YCbCr709_8_CbYCr", YuvOrder::UYV, YuvColours::Limited709),
    Yuv(0x0218005B, "YCbCr8", YuvOrder::YUV, YuvColours::FullRange601),
    Rgb(0x02200016, "Argb8", RgbOrder::Rgba, 8), // PFNC RGBa8, whatever the SDK calls it
    Rgb(0x02200017, "Bgra8", RgbOrder::Bgra, 8),
    Rgb(0x02300018, "Rgb10", RgbOrder::Rgb, 10),
    Rgb(0x02300019, "Bgr10", RgbOrder::Bgr, 10),
    Rgb(0x0230001A, "Rgb12", RgbOrder::Rgb, 12),
    Rgb(0x0230001B, "Bgr12", RgbOrder::Bgr, 12),
    Rgb(0x02300033, "Rgb16", RgbOrder::Rgb, 16),
    Rgb(0x0230004A, "Bgr14", RgbOrder::Bgr, 14),
    Rgb(0x0230004B, "Bgr16", RgbOrder::Bgr, 16),
    Rgb(0x0230005E, "Rgb14", RgbOrder::Rgb, 14),
    Rgb(0x0240004C, "Bgra10", RgbOrder::Bgra, 10),
    Rgb(0x0240004E, "Bgra12", RgbOrder::Bgra, 12),
    Rgb(0x02400050, "Bgra14", RgbOrder::Bgra, 14),
    Rgb(0x02400051, "Bgra16", RgbOrder::Bgra, 16),
    Rgb(0x0240005F, "Rgba10", RgbOrder::Rgba, 10),
    Rgb(0x02400061, "Rgba12", RgbOrder::Rgba, 12),
    Rgb(0x02400063, "Rgba14", RgbOrder::Rgba, 14),
    Rgb(0x02400064, "Rgba16", RgbOrder::Rgba, 16),
};

static_assert(std::ranges::is_sorted(kFormats, {}, &PixelFormat::code));

} // namespace

std::span<const PixelFormat> AllPixelFormats()
{
    return kFormats;
}

const PixelFormat* FindPixelFormat(ZvkPixelFormat_t code)
{
    const auto found = std::ranges::lower_bound(kFormats, code, {}, &PixelFormat::code);
    return found != kFormats.end() && found->code == code ? &*found : nullptr;
}

const PixelFormat* FindPixelFormat(std::string_view name)
{
    const auto found = std::ranges::find(kFormats, name, &PixelFormat::name);
    return found != kFormats.end() ? &*found : nullptr;
}

std::optional<std::int32_t> LineBytes(ZvkPixelFormat_t code, std::uint32_t width)
{
    const std::uint64_t bytes = (std::uint64_t{width} * BitsPerPixel(code) + 7) / 8;
    if (bytes > static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max())) {
        return std::nullopt;
    }
    return static_cast<std::int32_t>(bytes);
}

} // namespace maravel::imagetransform
