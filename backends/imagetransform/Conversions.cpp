#include "imagetransform/Conversions.h"

#include <algorithm>
#include <cstring>

namespace maravel::imagetransform {
namespace {

bool IsCopy(const Conversion& conversion)
{
    const PixelFormat& format = *conversion.format;
    return format.family == Family::Rgb && format.packing == Packing::Byte &&
           format.rgbOrder == (conversion.redFirst ? RgbOrder::Rgb : RgbOrder::Bgr);
}

constexpr std::size_t kPiece = 4096; // pixels that are corrected while they are in the nearest cache

void ConvertPixels(const Conversion& conversion, const SourceRun& run, std::size_t first, std::size_t count,
                   std::uint8_t* out)
{
    if (IsCopy(conversion)) {
        if (out != run.bytes + 3 * first) {
            std::memcpy(out, run.bytes + 3 * first, 3 * count);
        }
    }
    else if (conversion.format->family == Family::Yuv) {
        ConvertYuv(conversion, run, first, count, out);
    }
    else {
        ConvertChannels(conversion, run, first, count, out);
    }
}

void ConvertRun(const Conversion& conversion, const SourceRun& run, std::size_t first, std::size_t count,
                std::uint8_t* out)
{
    if (conversion.correction == nullptr) {
        return ConvertPixels(conversion, run, first, count, out);
    }
    for (std::size_t done = 0; done < count; done += kPiece) {
        const std::size_t pixels = std::min(kPiece, count - done);
        ConvertPixels(conversion, run, first + done, pixels, out + 3 * done);
        conversion.correction->Apply(out + 3 * done, pixels, conversion.redFirst);
    }
}

} // namespace

void Conversion::Prepare()
{
    if (format->family == Family::Yuv) {
        yuv = YuvLayoutOf(format->yuvOrder);
        matrix = YuvMatrixOf(format->colours);
    }
    else {
        samples = SampleLayoutOf(*format);
        order = ChannelOrderOf(*format, redFirst);
    }
}

SourceRun Conversion::RunOf(std::size_t row) const
{
    const std::size_t pixels = sourceStride == 0 ? width * height : width;
    return {source + row * sourceStride, (pixels * BitsPerPixel(format->code) + 7) / 8, pixels};
}

void ConvertRows(const Conversion& conversion, std::size_t firstRow, std::size_t rows)
{
    if (conversion.format->family == Family::Bayer) {
        return ConvertMosaic(conversion, firstRow, rows);
    }
    std::uint8_t* out = conversion.target + firstRow * conversion.targetStride;
    if (conversion.sourceStride == 0 && conversion.targetStride == 3 * conversion.width) {
        return ConvertRun(conversion, conversion.RunOf(firstRow), conversion.FirstOf(firstRow),
                          rows * conversion.width, out);
    }
    for (std::size_t row = firstRow; row < firstRow + rows; ++row, out += conversion.targetStride) {
        ConvertRun(conversion, conversion.RunOf(row), conversion.FirstOf(row), conversion.width, out);
    }
}

} // namespace maravel::imagetransform
