// What the image-transform library must make of any bytes, said once as plainly as can be: pixel by pixel and
// bit by bit, after the order strings of the formats, with nothing of the library's own tables.
#pragma once

#include "imagetransform/Encoder.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace maravel::test {

struct Source
{
    std::size_t width, height;
    std::size_t stride; // bytes from line to line; 0: the lines follow one another without a gap
    std::vector<std::uint8_t> bytes;
};

// Bytes that the pixels take, without a gap, rounded up.
std::size_t BytesOf(const Format& format, std::size_t pixels);

// Three bytes a pixel, red first.
std::vector<std::uint8_t> Decode(const Format& format, const Source& source, bool edgeAware);

} // namespace maravel::test
