// The conversion of a picture to 8-bit colour, in bands of rows that may be done in any order and at the same
// time: none reads what another one writes. Nothing is allocated; what lies between source and target is a
// few rows on the stack. The caller has checked sizes, strides and pointers.
#pragma once

#include "imagetransform/ColourCorrection.h"
#include "imagetransform/PixelFormats.h"
#include "imagetransform/RowKernels.h"

#include <cstddef>
#include <cstdint>

namespace maravel::imagetransform {

// Pixels that follow one another without a gap: a line, or the whole image when its lines do. Samples and
// groups may then run on over the end of a line.
struct SourceRun
{
    const std::uint8_t* bytes;
    std::size_t byteCount;
    std::size_t pixels;
};

struct Conversion
{
    const PixelFormat* format;
    const std::uint8_t* source;
    std::size_t sourceStride; // bytes from line to line; 0 when the lines follow one another without a gap
    std::uint8_t* target;     // three bytes a pixel; green stands in the middle
    std::size_t targetStride; // bytes from line to line
    std::size_t width;        // pixels, at least 1
    std::size_t height;       // pixels, at least 1
    bool redFirst;            // RGB8, otherwise BGR8
    bool edgeAware;           // of two ways to interpolate a mosaic
    const RowKernels* kernels;
    const ColourCorrection* correction; // null: none

    // What the format comes to, by Prepare.
    SampleLayout samples = {};
    ChannelOrder order = {};
    YuvLayout yuv = {};
    YuvMatrix matrix = {};

    void Prepare();

    // The run that a row lies in, and which of the run's pixels is the row's first.
    SourceRun RunOf(std::size_t row) const;
    std::size_t FirstOf(std::size_t row) const { return sourceStride == 0 ? row * width : 0; }
};

SampleLayout SampleLayoutOf(const PixelFormat& format);
ChannelOrder ChannelOrderOf(const PixelFormat& format, bool redFirst);
YuvLayout YuvLayoutOf(YuvOrder order);
YuvMatrix YuvMatrixOf(YuvColours colours);

void ConvertRows(const Conversion& conversion, std::size_t firstRow, std::size_t rows);

// The kinds of work that it is composed of. The first three convert pixels first .. first + count - 1 of a
// run.

// The top 8 bits of samples, which are as many as the run's pixels times the format's channels.
void UnpackSamples(const Conversion& conversion, const SourceRun& run, std::size_t first, std::size_t count,
                   std::uint8_t* out);

// Family::Mono and Family::Rgb.
void ConvertChannels(const Conversion& conversion, const SourceRun& run, std::size_t first, std::size_t count,
                     std::uint8_t* out);

// Family::Yuv.
void ConvertYuv(const Conversion& conversion, const SourceRun& run, std::size_t first, std::size_t count,
                std::uint8_t* out);

// Family::Bayer.
void ConvertMosaic(const Conversion& conversion, std::size_t firstRow, std::size_t rows);

} // namespace maravel::imagetransform
