#include "imagetransform/Conversions.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace maravel::imagetransform {
namespace {

// Where the bytes of one group of pixels stand; the pixels of a group share one U and one V.
struct Group
{
    std::size_t pixels;
    std::size_t bytes;
    std::size_t u, v;
    std::array<std::size_t, 4> y;
};

constexpr Group GroupOf(YuvOrder order)
{
    switch (order) {
    case YuvOrder::UYV:
        return {.pixels = 1, .bytes = 3, .u = 0, .v = 2, .y = {1}};
    case YuvOrder::YUV:
        return {.pixels = 1, .bytes = 3, .u = 1, .v = 2, .y = {0}};
    case YuvOrder::UYVY:
        return {.pixels = 2, .bytes = 4, .u = 0, .v = 2, .y = {1, 3}};
    case YuvOrder::YUYV:
        return {.pixels = 2, .bytes = 4, .u = 1, .v = 3, .y = {0, 2}};
    case YuvOrder::UYYVYY:
        return {.pixels = 4, .bytes = 6, .u = 0, .v = 3, .y = {1, 2, 4, 5}};
    case YuvOrder::YYUYYV:
        return {.pixels = 4, .bytes = 6, .u = 2, .v = 5, .y = {0, 1, 3, 4}};
    }
    return {};
}

// Factors in 1/65536.
struct Matrix
{
    int lumaZero;
    int luma;
    int redV, greenU, greenV, blueU;
};

// From the weights of red and blue in the luma, and from how many codes luma and chroma span.
constexpr Matrix MakeMatrix(double red, double blue, int lumaZero, double lumaSpan, double chromaSpan)
{
    const double green = 1 - red - blue;
    const auto fixed = [](double factor) { return static_cast<int>(factor * 65536 + 0.5); };
    const double chroma = 255 / chromaSpan;
    return {.lumaZero = lumaZero,
            .luma = fixed(255 / lumaSpan),
            .redV = fixed(chroma * 2 * (1 - red)),
            .greenU = fixed(chroma * 2 * (1 - blue) * blue / green),
            .greenV = fixed(chroma * 2 * (1 - red) * red / green),
            .blueU = fixed(chroma * 2 * (1 - blue))};
}

constexpr Matrix MatrixOf(YuvColours colours)
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

std::uint8_t Clamp(int scaled)
{
    return static_cast<std::uint8_t>(std::clamp((scaled + 0x8000) >> 16, 0, 255));
}

// The order is a template parameter, so that the compiler knows where each sample stands.
template <YuvOrder order>
inline void ConvertGroup(const Matrix matrix, const std::uint8_t* source, std::size_t pixels,
                         std::uint8_t* out, std::size_t redAt, std::size_t blueAt)
{
    constexpr Group group = GroupOf(order);
    const int u = source[group.u] - 128;
    const int v = source[group.v] - 128;
    const int red = matrix.redV * v;
    const int green = matrix.greenU * u + matrix.greenV * v;
    const int blue = matrix.blueU * u;
    for (std::size_t i = 0; i < pixels; ++i, out += 3) {
        const int luma = matrix.luma * (source[group.y[i]] - matrix.lumaZero);
        out[redAt] = Clamp(luma + red);
        out[1] = Clamp(luma - green);
        out[blueAt] = Clamp(luma + blue);
    }
}

template <YuvOrder order>
void ConvertGroups(const Matrix matrix, const std::uint8_t* source, std::size_t pixels, ColourTarget target)
{
    constexpr Group group = GroupOf(order);
    const std::size_t groups = pixels / group.pixels;
    for (std::size_t i = 0; i < groups; ++i)
        ConvertGroup<order>(matrix, source + i * group.bytes, group.pixels,
                            target.pixels + 3 * i * group.pixels, target.red, target.blue);
    const std::size_t left = pixels % group.pixels;
    if (left == 0)
        return;

    // The image ends within a group: its luma is there, of its chroma what fits; the rest is its neighbour's.
    const std::uint8_t* end = source + groups * group.bytes;
    std::array<std::uint8_t, group.bytes> last;
    last.fill(128); // no colour
    if (groups > 0)
        std::memcpy(last.data(), end - group.bytes, group.bytes);
    std::memcpy(last.data(), end, (left * group.bytes + group.pixels - 1) / group.pixels);
    ConvertGroup<order>(matrix, last.data(), left, target.pixels + 3 * (pixels - left), target.red,
                        target.blue);
}

} // namespace

void ConvertYuv(const PixelFormat& format, const std::uint8_t* source, ImageSize size, ColourTarget target)
{
    const Matrix matrix = MatrixOf(format.colours);
    switch (format.yuvOrder) {
    case YuvOrder::UYV:
        return ConvertGroups<YuvOrder::UYV>(matrix, source, size.Pixels(), target);
    case YuvOrder::YUV:
        return ConvertGroups<YuvOrder::YUV>(matrix, source, size.Pixels(), target);
    case YuvOrder::UYVY:
        return ConvertGroups<YuvOrder::UYVY>(matrix, source, size.Pixels(), target);
    case YuvOrder::YUYV:
        return ConvertGroups<YuvOrder::YUYV>(matrix, source, size.Pixels(), target);
    case YuvOrder::UYYVYY:
        return ConvertGroups<YuvOrder::UYYVYY>(matrix, source, size.Pixels(), target);
    case YuvOrder::YYUYYV:
        return ConvertGroups<YuvOrder::YYUYYV>(matrix, source, size.Pixels(), target);
    }
}

} // namespace maravel::imagetransform
