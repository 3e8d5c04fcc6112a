// What the page shows of an image: a part of it in 8 bits, at most as large as the screen, and its numbers.
#pragma once

#include "StreamRecord.h"
#include "camhost/Image.h"

#include <array>
#include <cstdint>
#include <vector>

namespace maravel::view {

// What a page wants of one channel.
struct Viewport
{
    bool shown = true;
    std::uint32_t x = 0, y = 0, width = 0, height = 0; // in the camera's pixels; no width: the whole image
    std::uint32_t maxPixels = 640 * 480;
    double maxRate = 30;                // pictures a second
    std::uint32_t black = 0, white = 0; // of the camera's depth; no white: its greatest value
};

struct Rectangle
{
    std::uint32_t x, y, width, height;
};

// The part of the image that the viewport really has; never empty.
Rectangle Clip(const Viewport& viewport, const ImageAttributes& attributes);

// Appends a record with its payload. Pixels are the camera's own when they are few enough, else means of
// squares.
void RenderRecord(const camhost::Image& image, const Viewport& viewport, std::uint16_t channel,
                  std::uint64_t sequence, std::vector<std::uint8_t>* out);

// The same without the record's head, interleaved when it is in colour.
struct Pixels8
{
    int width = 0, height = 0, channels = 1;
    std::vector<std::uint8_t> bytes;
};
Pixels8 Render(const camhost::Image& image, const Viewport& viewport);

// Values in the camera's depth, row by row, three for a pixel in colour.
std::vector<std::uint16_t> ValuesOf(const camhost::Image& image, const Rectangle& part);

struct Histogram
{
    std::vector<std::array<std::uint64_t, 256>>
        bins;                                 // one for each colour; deep values by their upper 8 bits
    std::uint64_t darkest = 0, brightest = 0; // samples at the ends of the camera's depth
    std::uint64_t samples = 0;
};
Histogram CountValues(const camhost::Image& image, const Rectangle& part);

} // namespace maravel::view
