#include "imagetransform/Conversions.h"

#include <algorithm>

namespace maravel::imagetransform {
namespace {

constexpr YuvLayout GroupOf(YuvOrder order)
{
    switch (order) {
    case YuvOrder::UYV:
        return {.pixels = 1, .bytes = 3, .u = 0, .v = 2, .y = {1}, .tables = {}};
    case YuvOrder::YUV:
        return {.pixels = 1, .bytes = 3, .u = 1, .v = 2, .y = {0}, .tables = {}};
    case YuvOrder::UYVY:
        return {.pixels = 2, .bytes = 4, .u = 0, .v = 2, .y = {1, 3}, .tables = {}};
    case YuvOrder::YUYV:
        return {.pixels = 2, .bytes = 4, .u = 1, .v = 3, .y = {0, 2}, .tables = {}};
    case YuvOrder::UYYVYY:
        return {.pixels = 4, .bytes = 6, .u = 0, .v = 3, .y = {1, 2, 4, 5}, .tables = {}};
    case YuvOrder::YYUYYV:
        return {.pixels = 4, .bytes = 6, .u = 2, .v = 5, .y = {0, 1, 3, 4}, .tables = {}};
    }
    return {};
}

// From the weights of red and blue in the luma, and from how many codes luma and chroma span.
constexpr YuvMatrix MakeMatrix(double red, double blue, int lumaZero, double lumaSpan, double chromaSpan)
{
    const auto fixed = [](double factor, int one) { return static_cast<int>(factor * one + 0.5); };
    const double green = 1 - red - blue;
    const double luma = 255 / lumaSpan, chroma = 255 / chromaSpan;
    constexpr int one = 1 << YuvMatrix::bits;
    return {.luma = fixed(luma, 16384),
            .redV = fixed(chroma * 2 * (1 - red), 8192),
            .greenU = -fixed(chroma * 2 * (1 - blue) * blue / green, 8192),
            .greenV = -fixed(chroma * 2 * (1 - red) * red / green, 8192),
            .blueU = fixed(chroma * 2 * (1 - blue), 8192),
            .offset = one / 2 - fixed(lumaZero * luma, one)};
}

int Product(int word, int factor)
{
    return (word * factor + (1 << 14)) >> 15;
}

std::uint8_t Clamp(int sum)
{
    return static_cast<std::uint8_t>(std::clamp(sum >> YuvMatrix::bits, 0, 255));
}

// A byte of a group. The image may end within its last group: that group's chroma is then its neighbour's, or
// none.
int ByteAt(const SourceRun& run, const YuvLayout& layout, std::size_t group, std::size_t byte)
{
    const std::size_t at = group * layout.bytes + byte;
    if (at < run.byteCount) {
        return run.bytes[at];
    }
    return group > 0 ? run.bytes[at - layout.bytes] : 128;
}

void ConvertPixel(const YuvLayout& layout, const YuvMatrix& matrix, const SourceRun& run, std::size_t pixel,
                  bool redFirst, std::uint8_t* out)
{
    const std::size_t group = pixel / layout.pixels;
    const int y = ByteAt(run, layout, group, layout.y[pixel % layout.pixels]) * YuvMatrix::lumaScale;
    const int u = (ByteAt(run, layout, group, layout.u) - 128) * YuvMatrix::chromaScale;
    const int v = (ByteAt(run, layout, group, layout.v) - 128) * YuvMatrix::chromaScale;
    const int light = Product(y, matrix.luma) + matrix.offset;
    const std::uint8_t red = Clamp(light + Product(v, matrix.redV));
    const std::uint8_t blue = Clamp(light + Product(u, matrix.blueU));
    out[0] = redFirst ? red : blue;
    out[1] = Clamp(light + Product(u, matrix.greenU) + Product(v, matrix.greenV));
    out[2] = redFirst ? blue : red;
}

} // namespace

YuvLayout YuvLayoutOf(YuvOrder order)
{
    YuvLayout layout = GroupOf(order);
    for (std::size_t pixel = 0; pixel < kBlock / 2; ++pixel) {
        const std::size_t group = pixel / layout.pixels * layout.bytes;
        const std::size_t bytes[] = {group + layout.y[pixel % layout.pixels], group + layout.u,
                                     group + layout.v};
        for (std::size_t i = 0; i < 3; ++i) {
            std::uint8_t* const first = &layout.tables[0][i][2 * pixel];
            std::uint8_t* const second = &layout.tables[1][i][2 * pixel];
            const bool inFirst = bytes[i] < kBlock;
            first[0] = second[0] = kNoByte;
            first[1] = inFirst ? static_cast<std::uint8_t>(bytes[i]) : kNoByte;
            second[1] = inFirst ? kNoByte : static_cast<std::uint8_t>(bytes[i] - YuvLayout::farBytes);
        }
    }
    return layout;
}

YuvMatrix YuvMatrixOf(YuvColours colours)
{
    switch (colours) {
    case YuvColours::FullRange601:
        return MakeMatrix(0.299, 0.114, 0, 255, 255);
    case YuvColours::Limited601:
        return MakeMatrix(0.299, 0.114, 16, 219, 224);
    case YuvColours::Limited709:
        return MakeMatrix(0.2126, 0.0722, 16, 219, 224);
    }
    return {};
}

void ConvertYuv(const Conversion& conversion, const SourceRun& run, std::size_t first, std::size_t count,
                std::uint8_t* out)
{
    const YuvLayout& layout = conversion.yuv;
    const YuvMatrix& matrix = conversion.matrix;
    std::size_t done = 0;
    const auto plain = [&](std::size_t end) {
        for (; done < end; ++done) {
            ConvertPixel(layout, matrix, run, first + done, conversion.redFirst, out + 3 * done);
        }
    };
    plain(std::min(count, (layout.pixels - first % layout.pixels) % layout.pixels));
    const std::size_t offset = (first + done) / layout.pixels * layout.bytes;
    if (done < count) {
        done += conversion.kernels->yuv(layout, matrix, run.bytes + offset, run.byteCount - offset,
                                        count - done, conversion.redFirst, out + 3 * done);
    }
    plain(count);
}

} // namespace maravel::imagetransform
