#include "imagetransform/Conversions.h"

#include <algorithm>

namespace maravel::imagetransform {
namespace {

constexpr std::size_t kTile = 4096; // columns that are done at a time
constexpr std::size_t kReach = 2;   // neighbours on either side that count
constexpr std::size_t kLines = 2 * kReach + 1;

// The place that a neighbour outside the image is taken from. A mirrored one has the colour that the missing
// one would have had; one line or column alone has nothing to mirror.
std::size_t Mirrored(std::ptrdiff_t place, std::size_t count)
{
    const auto last = static_cast<std::ptrdiff_t>(count) - 1;
    while (place < 0 || place > last) {
        place = last == 0 ? 0 : place < 0 ? -place : 2 * last - place;
    }
    return static_cast<std::size_t>(place);
}

// The last lines of a tile that were asked for, unpacked, with their neighbours on either side.
class LineCache
{
public:
    LineCache(const Conversion& conversion, std::size_t firstColumn, std::size_t columns)
        : conversion_(conversion), firstColumn_(firstColumn), columns_(columns)
    {
        std::ranges::fill(held_, conversion.height);
    }

    // The first one of the tile's columns; `row` may be up to kReach outside the image.
    const std::uint8_t* Line(std::ptrdiff_t row)
    {
        const std::size_t wanted = Mirrored(row, conversion_.height);
        std::uint8_t* line = storage_[wanted % kLines] + kReach;
        if (held_[wanted % kLines] != wanted) {
            Read(wanted, line);
            held_[wanted % kLines] = wanted;
        }
        return line;
    }

private:
    void Read(std::size_t row, std::uint8_t* line) const
    {
        const std::size_t before = std::min(firstColumn_, kReach);
        const std::size_t after = std::min(conversion_.width - firstColumn_ - columns_, kReach);
        UnpackSamples(conversion_, conversion_.RunOf(row), conversion_.FirstOf(row) + firstColumn_ - before,
                      before + columns_ + after, line - before);
        const auto mirror = [&](std::ptrdiff_t column) {
            const auto first = static_cast<std::ptrdiff_t>(firstColumn_);
            const std::size_t from = Mirrored(first + column, conversion_.width);
            line[column] = line[static_cast<std::ptrdiff_t>(from) - first];
        };
        for (std::size_t i = before + 1; i <= kReach; ++i) {
            mirror(-static_cast<std::ptrdiff_t>(i));
        }
        for (std::size_t i = after; i < kReach; ++i) {
            mirror(static_cast<std::ptrdiff_t>(columns_ + i));
        }
    }

    const Conversion& conversion_;
    std::size_t firstColumn_, columns_;
    std::size_t held_[kLines];
    std::uint8_t storage_[kLines][kTile + 2 * kReach];
};

std::uint8_t Mean(int a, int b)
{
    return static_cast<std::uint8_t>((a + b + 1) / 2);
}

std::uint8_t Mean(int a, int b, int c, int d)
{
    return static_cast<std::uint8_t>((a + b + c + d + 2) / 4);
}

struct MosaicPixel
{
    std::uint8_t own, green, other;
};

MosaicPixel InterpolateBilinear(const MosaicLines& lines, std::size_t x, bool own)
{
    const std::uint8_t* above = lines.at[1] + x;
    const std::uint8_t* line = lines.at[2] + x;
    const std::uint8_t* below = lines.at[3] + x;
    if (!own) {
        return {Mean(line[-1], line[1]), line[0], Mean(above[0], below[0])};
    }
    return {line[0], Mean(above[0], below[0], line[-1], line[1]),
            Mean(above[-1], above[1], below[-1], below[1])};
}

// Sums are in 1/16.
std::uint8_t Scale(int sum)
{
    return static_cast<std::uint8_t>(std::clamp((sum + 8) >> 4, 0, 255));
}

// The interpolation of Malvar, He and Cutler (2004), made of the mean of the neighbours that have the missing
// colour and of how the colour that is there bends. The weights are theirs.
MosaicPixel InterpolateGradientCorrected(const MosaicLines& lines, std::size_t x, bool own)
{
    const std::uint8_t* above = lines.at[1] + x;
    const std::uint8_t* line = lines.at[2] + x;
    const std::uint8_t* below = lines.at[3] + x;
    const int upright = lines.at[0][x] + lines.at[4][x];
    const int across = line[-2] + line[2];
    const int beside = line[-1] + line[1];
    const int over = above[0] + below[0];
    const int corners = above[-1] + above[1] + below[-1] + below[1];
    if (!own) {
        const int common = 10 * line[0] - 2 * corners;
        return {Scale(common + 8 * beside - 2 * across + upright), line[0],
                Scale(common + 8 * over - 2 * upright + across)};
    }
    const int far = upright + across;
    return {line[0], Scale(8 * line[0] + 4 * (beside + over) - 2 * far),
            Scale(12 * line[0] + 4 * corners - 3 * far)};
}

// The columns that a line's vectors did not do.
void FinishLine(const MosaicLines& lines, bool edgeAware, std::size_t begin, std::size_t end,
                std::uint8_t* out)
{
    for (std::size_t x = begin; x < end; ++x) {
        const bool own = x % 2 == lines.firstOwn;
        const MosaicPixel pixel =
            edgeAware ? InterpolateGradientCorrected(lines, x, own) : InterpolateBilinear(lines, x, own);
        out[3 * x] = lines.ownFirst ? pixel.own : pixel.other;
        out[3 * x + 1] = pixel.green;
        out[3 * x + 2] = lines.ownFirst ? pixel.other : pixel.own;
    }
}

void InterpolateLine(const Conversion& conversion, const MosaicLines& lines, std::uint8_t* out)
{
    const RowKernels& kernels = *conversion.kernels;
    const std::size_t done =
        conversion.edgeAware ? kernels.gradientCorrected(lines, out) : kernels.bilinear(lines, out);
    FinishLine(lines, conversion.edgeAware, 0, std::min(lines.firstOwn, lines.width), out);
    FinishLine(lines, conversion.edgeAware, done, lines.width, out);
    if (conversion.correction != nullptr) {
        conversion.correction->Apply(out, lines.width, conversion.redFirst);
    }
}

void ConvertTile(const Conversion& conversion, std::size_t firstColumn, std::size_t columns,
                 std::size_t firstRow, std::size_t rows)
{
    const BayerPhase phase = conversion.format->phase;
    const bool redFirst = phase == BayerPhase::GR || phase == BayerPhase::RG;
    const bool greenFirst = phase == BayerPhase::GR || phase == BayerPhase::GB;
    LineCache cache(conversion, firstColumn, columns);
    for (std::size_t y = firstRow; y < firstRow + rows; ++y) {
        const auto line = static_cast<std::ptrdiff_t>(y);
        const bool even = y % 2 == 0;
        const bool redLine = even == redFirst;
        const std::uint8_t* far[2] = {nullptr, nullptr}; // the mean needs nothing that far away
        if (conversion.edgeAware) {
            far[0] = cache.Line(line - 2);
            far[1] = cache.Line(line + 2);
        }
        const MosaicLines lines = {
            .at = {far[0], cache.Line(line - 1), cache.Line(line), cache.Line(line + 1), far[1]},
            .width = columns,
            .firstOwn = even == greenFirst ? 1u : 0u,
            .ownFirst = redLine == conversion.redFirst};
        InterpolateLine(conversion, lines, conversion.target + y * conversion.targetStride + 3 * firstColumn);
    }
}

} // namespace

void ConvertMosaic(const Conversion& conversion, std::size_t firstRow, std::size_t rows)
{
    static_assert(kTile % 2 == 0, "every tile begins with the same colours");
    for (std::size_t column = 0; column < conversion.width; column += kTile) {
        ConvertTile(conversion, column, std::min(kTile, conversion.width - column), firstRow, rows);
    }
}

} // namespace maravel::imagetransform
