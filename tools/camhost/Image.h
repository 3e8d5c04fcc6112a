// An image as the adapter delivered it, and the files made of it.
#pragma once

#include "maravel/VideoChannel.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace maravel::camhost {

struct Image
{
    std::string camera; // its serial number, or what else distinguishes it
    int number = 0;     // counts from 1 for each channel
    ImageAttributes attributes = {};
    std::vector<std::uint8_t> bytes; // as GetImage wrote them; at least what the pixel type takes
};

// Three bytes a pixel, red first.
struct ColourImage
{
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> pixels;
};

// Bytes that GetImage writes for the pixel type, without what the camera may append.
std::size_t ImageBytes(const ImageAttributes& attributes);

// Bits of one sample; 8 for colour.
unsigned SampleDepth(std::int32_t pixelType);

// The sample at that place of a monochrome image, row by row.
std::uint16_t SampleAt(const Image& image, std::size_t i);

// Colour planes as pixels, red first.
std::vector<std::uint8_t> Interleaved(const Image& image);

// PNG for 8-bit and colour images. Deeper ones become binary PGM with the camera's own values: maxval is
// 1023, 4095, 16383 or 65535, and packed samples are unpacked.
std::vector<std::uint8_t> EncodeImage(const Image& image);

// "<camera>_<four-digit number>.png" or ".pgm"; characters that file systems refuse become '_'.
std::string ImageFileName(const Image& image);

std::vector<std::uint8_t> EncodePng(int width, int height, int channels, const std::uint8_t* pixels);

// At most `side` pixels wide and high, in 8-bit colour.
ColourImage MakeThumbnail(const Image& image, int side);

} // namespace maravel::camhost
