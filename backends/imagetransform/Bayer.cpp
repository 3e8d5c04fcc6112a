#include "imagetransform/Conversions.h"
#include "imagetransform/UnpackSamples.h"

#include <array>
#include <vector>

namespace maravel::imagetransform {
namespace {

// Three lines of the mosaic around the one being written, each with one more sample at either end.
struct Neighbourhood
{
    const std::uint8_t* above;
    const std::uint8_t* line;
    const std::uint8_t* below;
};

// A mirrored neighbour has the colour that the missing one would have had. One pixel has nothing to mirror.
std::size_t MirroredLine(std::size_t y, std::size_t height, bool below)
{
    if (height == 1)
        return 0;
    if (below)
        return y + 1 < height ? y + 1 : height - 2;
    return y > 0 ? y - 1 : 1;
}

std::uint8_t Mean(unsigned a, unsigned b)
{
    return static_cast<std::uint8_t>((a + b + 1) / 2);
}

std::uint8_t Mean(unsigned a, unsigned b, unsigned c, unsigned d)
{
    return static_cast<std::uint8_t>((a + b + c + d + 2) / 4);
}

// A line of a mosaic alternates between green and its own colour, red or blue; `own` and `other` are where
// these stand in a target pixel, `firstOwn` is the first column that has the line's own colour.
void ConvertLine(Neighbourhood n, std::size_t width, std::size_t firstOwn, std::size_t own, std::size_t other,
                 std::uint8_t* out)
{
    for (std::size_t x = firstOwn; x < width; x += 2) {
        std::uint8_t* pixel = out + 3 * x;
        const std::size_t i = x + 1;
        pixel[own] = n.line[i];
        pixel[1] = Mean(n.above[i], n.below[i], n.line[i - 1], n.line[i + 1]);
        pixel[other] = Mean(n.above[i - 1], n.above[i + 1], n.below[i - 1], n.below[i + 1]);
    }
    for (std::size_t x = 1 - firstOwn; x < width; x += 2) {
        std::uint8_t* pixel = out + 3 * x;
        const std::size_t i = x + 1;
        pixel[own] = Mean(n.line[i - 1], n.line[i + 1]);
        pixel[1] = n.line[i];
        pixel[other] = Mean(n.above[i], n.below[i]);
    }
}

// Keeps the last three lines that were asked for, unpacked and mirrored at both ends.
class LineCache
{
public:
    LineCache(const PixelFormat& format, const std::uint8_t* source, std::size_t width)
        : format_(format), source_(source), width_(width), storage_(3 * (width + 2))
    {
        held_.fill(static_cast<std::size_t>(-1));
    }

    const std::uint8_t* Line(std::size_t y)
    {
        std::uint8_t* line = storage_.data() + y % 3 * (width_ + 2);
        if (held_[y % 3] != y) {
            UnpackSamples(format_, source_, y * width_, width_, line + 1);
            line[0] = width_ > 1 ? line[2] : line[1];
            line[width_ + 1] = width_ > 1 ? line[width_ - 1] : line[1];
            held_[y % 3] = y;
        }
        return line;
    }

private:
    const PixelFormat& format_;
    const std::uint8_t* source_;
    std::size_t width_;
    std::vector<std::uint8_t> storage_;
    std::array<std::size_t, 3> held_;
};

} // namespace

void ConvertBayer(const PixelFormat& format, const std::uint8_t* source, ImageSize size, ColourTarget target)
{
    const bool redFirst = format.phase == BayerPhase::GR || format.phase == BayerPhase::RG;
    const bool greenFirst = format.phase == BayerPhase::GR || format.phase == BayerPhase::GB;
    LineCache lines(format, source, size.width);
    for (std::size_t y = 0; y < size.height; ++y) {
        const Neighbourhood around = {.above = lines.Line(MirroredLine(y, size.height, false)),
                                      .line = lines.Line(y),
                                      .below = lines.Line(MirroredLine(y, size.height, true))};
        const bool even = y % 2 == 0;
        const bool redLine = even == redFirst;
        const std::size_t firstOwn = even == greenFirst ? 1 : 0;
        ConvertLine(around, size.width, firstOwn, redLine ? target.red : target.blue,
                    redLine ? target.blue : target.red, target.pixels + 3 * y * size.width);
    }
}

} // namespace maravel::imagetransform
