// The pixel formats that the simulated cameras can send.
#pragma once

#include <cstdint>

namespace maravel::simulated {

enum class PixelLayout : std::uint8_t
{
    Mono,
    Bayer,
    Rgb,
    Bgr,
    Uyvy,
    Yuyv
};

struct PixelFormat
{
    const char* name;   // as the camera's PixelFormat feature spells it
    std::uint32_t code; // PFNC
    PixelLayout layout;
    std::uint8_t sampleBits; // significant bits of a sample
    bool packed;             // two 12-bit samples in three bytes, the GigE Vision way
    std::uint8_t bayerRed;   // Bayer: where red stands in the 2x2 tile (x + 2 * y); blue is opposite
    bool IsColour() const { return layout != PixelLayout::Mono; }
    std::uint32_t BitsPerPixel() const { return (code >> 16) & 0xFFU; }
};

// Null for an unknown name or code.
const PixelFormat* FindPixelFormat(const char* name);
const PixelFormat* FindPixelFormat(std::uint32_t code);

// The names, for a message.
const char* PixelFormatNames();

// Bytes of an image.
std::uint64_t ImageBytes(const PixelFormat& format, std::uint32_t width, std::uint32_t height);

} // namespace maravel::simulated
