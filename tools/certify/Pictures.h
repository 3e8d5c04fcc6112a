// Pictures in every pixel format that the adapter has converted for the host, made from the formats'
// definitions (GenICam Pixel Format Naming Convention).
#pragma once

#include "sdk/ZvkTypes.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace maravel::certify {

enum class Family : std::uint8_t
{
    Mono,
    Bayer,
    Rgb,
    Yuv
};

// How samples lie in memory.
enum class Bits : std::uint8_t
{
    Whole, // a byte each; two, lowest first, when they have more than 8 bits
    Lsb,   // PFNC "p": one after another, lowest bit first
    Pairs  // PFNC "Packed": two of 12 bits in three bytes, the middle one has both low ends
};

// The weights of red and blue in the luma, and whether luma and chroma take all values of a byte.
struct YuvSpace
{
    double red = 0.299, blue = 0.114;
    bool limited = false;
};

struct Format
{
    ZvkPixelFormat_t code;
    Family family;
    std::string_view order; // of the samples of a pixel, of a group of pixels, or of the mosaic's two lines
    unsigned depth = 8;
    Bits bits = Bits::Whole;
    YuvSpace space = {};

    std::string Name() const; // without the SDK's prefix
};

// All but those that the adapter hands over as they are.
const std::vector<Format>& ConvertedFormats();

std::size_t BytesOf(const Format& format, std::size_t pixels);

struct Picture
{
    Format format;
    std::uint32_t width, height;
    std::vector<std::uint8_t> source;
    std::vector<std::uint8_t> rgb; // what it shows
    std::uint32_t margin = 0;      // pixels along each edge that depend on how a library treats edges
};

Picture PictureOf(const Format& format, std::uint32_t width, std::uint32_t height);

// The largest difference of a byte from what the picture shows.
int Deviation(const Picture& picture, const std::uint8_t* rgb);

} // namespace maravel::certify
