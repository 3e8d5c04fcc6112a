// The pixel formats that the image-transform library knows, each described by how its samples lie in memory.
// Codes, sample orders and packings are those of the GenICam Pixel Format Naming Convention (PFNC); the names
// are the SDK's.
#pragma once

#include "sdk/ZvkTypes.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace maravel::imagetransform {

enum class Family : std::uint8_t
{
    Mono,
    Bayer,
    Rgb,
    Yuv
};

// How one sample of a Mono or Bayer format is stored. Lines follow one another without padding, also where a
// line does not end on a byte.
enum class Packing : std::uint8_t
{
    Byte,       // one byte a sample
    Word,       // two bytes a sample, little-endian, value in the low bits
    Lsb,        // PFNC "p": samples follow one another bit by bit, lowest bit first
    GigE12Pairs // PFNC "Packed": two 12-bit samples in three bytes, the middle byte holds both low nibbles
};

// Which colours the first two pixels of the first line have (PFNC BayerGR, RG, GB, BG).
enum class BayerPhase : std::uint8_t
{
    GR,
    RG,
    GB,
    BG
};

// Order of a pixel's samples in memory.
enum class RgbOrder : std::uint8_t
{
    Rgb,
    Bgr,
    Rgba,
    Bgra
};

// Order of a pixel group's bytes in memory. U stands for U and Cb, V for V and Cr.
enum class YuvOrder : std::uint8_t
{
    UYV,
    YUV,
    UYVY,
    YUYV,
    UYYVYY,
    YYUYYV
};

// PFNC's three colour spaces: YUV and YCbCr use all of 0..255, the other two 16..235 and 16..240.
enum class YuvColours : std::uint8_t
{
    FullRange601,
    Limited601,
    Limited709
};

struct PixelFormat
{
    ZvkPixelFormat_t code;
    std::string_view name; // the SDK's, without its prefix "ZvkPixelFormat"
    Family family;
    Packing packing = Packing::Byte;
    std::uint8_t depth = 8; // bits of one sample
    BayerPhase phase = BayerPhase::GR;
    RgbOrder rgbOrder = RgbOrder::Rgb;
    YuvOrder yuvOrder = YuvOrder::UYV;
    YuvColours colours = YuvColours::FullRange601;
};

// All formats, in ascending order of their codes.
std::span<const PixelFormat> AllPixelFormats();

// Null when there is no such format. Names are compared exactly.
const PixelFormat* FindPixelFormat(ZvkPixelFormat_t code);
const PixelFormat* FindPixelFormat(std::string_view name);

// Bits that one pixel takes in memory, packing included (PFNC keeps them in bits 16..23 of the code).
constexpr std::uint32_t BitsPerPixel(ZvkPixelFormat_t code)
{
    return (code >> 16) & 0xFFu;
}

// Bytes of one line, rounded up. Nothing when they exceed what ZvkImageInfo::stride can hold.
std::optional<std::int32_t> LineBytes(ZvkPixelFormat_t code, std::uint32_t width);

} // namespace maravel::imagetransform
