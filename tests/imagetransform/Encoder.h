// Writes a colour image in every PFNC pixel format that the image-transform library reads. Deliberately apart
// from that library's own tables and packings: it goes by the order strings below and writes bit by bit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace maravel::test {

inline constexpr std::uint32_t kRgb8 = 0x02180014; // as the PFNC numbers it

struct Rgb
{
    double red, green, blue; // 0..1
};

struct Picture
{
    std::size_t width, height;
    std::vector<Rgb> pixels;

    const Rgb& At(std::size_t x, std::size_t y) const { return pixels[y * width + x]; }
};

enum class Bits
{
    Words, // a whole number of bytes a sample, little-endian
    Lsb,   // PFNC "p"
    Pairs  // PFNC "Packed"
};

struct Format
{
    std::uint32_t code;
    const char* order; // "RGBA": samples of a pixel; "GR/BG": mosaic; "M": mono; "UYVY": bytes of a group
    unsigned depth = 8;
    Bits bits = Bits::Words;
    double weightRed = 0, weightBlue = 0; // of the luma
    bool limited = false;                 // luma 16..235, chroma 16..240

    bool IsMono() const { return order[0] == 'M'; }
    bool IsMosaic() const { return std::string(order).size() == 5 && order[2] == '/'; }
    bool IsYuv() const { return weightRed > 0; }
};

std::vector<Format> AllFormats();

// Exactly the bytes that bits per pixel x width x height takes, rounded up.
std::vector<std::uint8_t> Encode(const Format& format, const Picture& picture);

// The top 8 bits of a value as a sample of this depth has them.
std::uint8_t Top8(double value, unsigned depth);

// Colour of a mosaic's sample at this place: 'R', 'G' or 'B'.
char MosaicColour(const Format& format, std::size_t x, std::size_t y);

} // namespace maravel::test
