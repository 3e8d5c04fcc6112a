// One conversion to 8-bit colour for each family of formats. The caller has checked sizes and pointers: the
// source holds width x height pixels of the format, rounded up to whole bytes, the target three bytes for
// each.
#pragma once

#include "imagetransform/PixelFormats.h"

#include <cstddef>
#include <cstdint>

namespace maravel::imagetransform {

// Three bytes a pixel; green stands in the middle.
struct ColourTarget
{
    std::uint8_t* pixels;
    std::size_t red;  // 0 for RGB8, 2 for BGR8
    std::size_t blue; // 2 for RGB8, 0 for BGR8
};

struct ImageSize
{
    std::size_t width;  // pixels, at least 1
    std::size_t height; // pixels, at least 1

    std::size_t Pixels() const { return width * height; }
};

void ConvertMono(const PixelFormat& format, const std::uint8_t* source, ImageSize size, ColourTarget target);

// Bilinear interpolation of the two missing colours. May throw std::bad_alloc.
void ConvertBayer(const PixelFormat& format, const std::uint8_t* source, ImageSize size, ColourTarget target);

void ConvertRgb(const PixelFormat& format, const std::uint8_t* source, ImageSize size, ColourTarget target);
void ConvertYuv(const PixelFormat& format, const std::uint8_t* source, ImageSize size, ColourTarget target);

} // namespace maravel::imagetransform
