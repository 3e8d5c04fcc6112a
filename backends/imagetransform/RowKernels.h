// The loops that whole pictures pass through, one per kind of work. A kernel knows nothing of formats: what
// it does is in the layout that it is given. Vectors do as much of a line as they can without reading or
// writing beyond it and say how much that was; plain code does the rest, with the same results to the bit.
#pragma once

#include <cstddef>
#include <cstdint>

namespace maravel::imagetransform {

inline constexpr std::size_t kBlock = 16;     // bytes that one look-up reaches
inline constexpr std::uint8_t kNoByte = 0x80; // in a look-up: zero

// Where the top 8 bits of eight samples in a row stand: from bit `shift` (0 to 7) of byte `byte` on. For
// vectors the same as a look-up of words, and as factors that move the wanted bits into the upper half of a
// product.
struct SampleLayout
{
    std::size_t bytes; // of eight samples, at most 16
    std::uint8_t byte[8];
    std::uint8_t shift[8];
    std::uint8_t table[kBlock];
    std::uint16_t factors[8];
};

// Which of a pixel's bytes (1, 3 or 4) become the first, second and third of the target's. For vectors the
// same as look-ups of three blocks of the target, each in two neighbouring blocks of the source.
struct ChannelOrder
{
    std::size_t channels;
    std::uint8_t from[3];
    std::uint8_t tables[2][3 * kBlock];

    // Where in the source the two begin that a block of the target is looked up in.
    static constexpr std::size_t FirstByte(std::size_t channels, std::size_t block)
    {
        return block * kBlock / 3 * channels;
    }
};

// Where the bytes of a group of pixels (1, 2 or 4) stand that share one U and one V. For vectors the same as
// look-ups of eight pixels: Y, U and V as the upper halves of words, from the first 16 bytes and, where those
// are not enough, from the 16 bytes that begin at farBytes.
struct YuvLayout
{
    static constexpr std::size_t farBytes = 8;

    std::size_t pixels;
    std::size_t bytes;
    std::uint8_t u, v;
    std::uint8_t y[4];
    std::uint8_t tables[2][3][kBlock];
};

// How a colour is made of Y, U - 128 and V - 128. Everything is words, so that one instruction multiplies,
// rounds and keeps what counts: a product is (word * factor + 2^14) / 2^15, in 1/64 of a step of the colour.
struct YuvMatrix
{
    static constexpr int lumaScale = 128;   // of a Y before it is multiplied
    static constexpr int chromaScale = 256; // of U - 128 and V - 128
    static constexpr int bits = 6;          // of a product's fraction

    int luma; // in 1/16384, the others in 1/8192
    int redV, greenU, greenV, blueU;
    int offset; // added to the product of Y: what black is above 0, and the rounding
};

// A line of a mosaic and its neighbours, each readable from two samples before its first to two behind its
// last.
struct MosaicLines
{
    const std::uint8_t* at[5]; // at[2] is the line itself, at[0] the second one above it
    std::size_t width;
    std::size_t firstOwn; // a line alternates between green and its own colour; the first column with that
    bool ownFirst;        // the own colour is the first of a target pixel's bytes, otherwise the third
};

// Each returns the number of samples or pixels done, counted from the first one. `available` bytes may be
// read from the source, which may be more than the samples or pixels take.
struct RowKernels
{
    std::size_t (*unpack)(const SampleLayout& layout, const std::uint8_t* source, std::size_t available,
                          std::size_t samples, std::uint8_t* out);
    std::size_t (*order)(const ChannelOrder& order, const std::uint8_t* source, std::size_t available,
                         std::size_t pixels, std::uint8_t* out);
    // Whole groups only.
    std::size_t (*yuv)(const YuvLayout& layout, const YuvMatrix& matrix, const std::uint8_t* source,
                       std::size_t available, std::size_t pixels, bool redFirst, std::uint8_t* out);
    // These two begin at column firstOwn and return the column behind the last one done.
    std::size_t (*bilinear)(const MosaicLines& lines, std::uint8_t* out);
    std::size_t (*gradientCorrected)(const MosaicLines& lines, std::uint8_t* out);
};

// The kernels for the processor at hand. The environment variable MARAVEL_INSTRUCTION_SET rules faster ones
// out.
const RowKernels& ChosenKernels();

// Uses the kernels of this instruction set from now on, for tests: "plain", "ssse3", "avx2" or "avx512vbmi";
// null: those of the processor. False, and nothing changes, when they are not built or the processor lacks
// it.
bool ChooseKernels(const char* instructionSet);

// The kernels that were built for an instruction set; null when there are none.
const RowKernels* VectorKernels(const char* instructionSet);

} // namespace maravel::imagetransform
