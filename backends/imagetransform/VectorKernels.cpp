// The row kernels in the vectors of Highway, which compiles this file once for each instruction set and
// includes it again for that. Only headers of Highway are used, so that the same code serves both systems.
// Everything between the two marks of the namespace is compiled for a processor that may not be at hand:
// nothing there may be shared with other code, templates of the standard library included. That is why it is
// one file.
#include "imagetransform/RowKernels.h"

#include <cstring>

// Instructions beside the vectors' own that a processor with those might lack.
#define HWY_DISABLE_PCLMUL_AES
#define HWY_DISABLE_BMI2_FMA
#define HWY_DISABLE_F16C
#define HWY_IS_DEBUG_BUILD 0 // checks call what only Highway's own compiled library has
#define HWY_DISABLED_TARGETS (HWY_SSE4 | HWY_AVX3_DL)
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "imagetransform/VectorKernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace maravel::imagetransform::HWY_NAMESPACE {
#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128 // there the plain code is as good

namespace hn = hwy::HWY_NAMESPACE;

constexpr hn::ScalableTag<std::uint8_t> kBytes;
constexpr hn::ScalableTag<std::uint16_t> kWords;
constexpr hn::ScalableTag<std::int16_t> kSignedWords;
constexpr hn::ScalableTag<std::int32_t> kNumbers;
constexpr std::size_t kBlocks = hn::MaxLanes(kBytes) / kBlock;
constexpr std::size_t kLanes = kBlocks * kBlock;

using Bytes = hn::Vec<decltype(kBytes)>;
using Words = hn::Vec<decltype(kWords)>;
using SignedWords = hn::Vec<decltype(kSignedWords)>;
using Numbers = hn::Vec<decltype(kNumbers)>;

// One block from every `distance` bytes.
template <class D>
HWY_INLINE hn::Vec<D> LoadBlocks(D d, const std::uint8_t* from, std::size_t distance)
{
    if constexpr (hn::MaxLanes(D()) <= kBlock) {
        return hn::LoadU(d, from);
    }
    else {
        const hn::Half<D> half;
        return hn::Combine(d, LoadBlocks(half, from + distance * (hn::MaxLanes(half) / kBlock), distance),
                           LoadBlocks(half, from, distance));
    }
}

// The same for every block. Tables need not stand on a block's boundary.
template <class T>
HWY_INLINE Bytes LoadTable(const T* table)
{
    HWY_ALIGN std::uint8_t aligned[kBlock];
    std::memcpy(aligned, table, kBlock);
    return hn::LoadDup128(kBytes, aligned);
}

// Eight samples of each block become words with nothing but the wanted bits.
struct Unpacker
{
    Bytes table;
    Words factor;
    std::size_t blockBytes;

    explicit HWY_INLINE Unpacker(const SampleLayout& layout)
        : table(LoadTable(layout.table)), factor(hn::BitCast(kWords, LoadTable(layout.factors))),
          blockBytes(layout.bytes)
    {
    }

    HWY_INLINE Words operator()(const std::uint8_t* source) const
    {
        const Bytes bytes = LoadBlocks(kBytes, source, blockBytes);
        const Words shifted = hn::MulHigh(hn::BitCast(kWords, hn::TableLookupBytesOr0(bytes, table)), factor);
        return hn::And(shifted, hn::Set(kWords, 0xFF));
    }
};

std::size_t Unpack(const SampleLayout& layout, const std::uint8_t* source, std::size_t available,
                   std::size_t samples, std::uint8_t* out)
{
    const Unpacker unpack(layout);
    const std::size_t half = kBlocks * layout.bytes; // source bytes of half the samples of a step
    std::size_t done = 0;
    for (; done + kLanes <= samples && 2 * half + kBlock - layout.bytes <= available; done += kLanes) {
        const Words low = unpack(source);
        const Words high = unpack(source + half);
        hn::StoreU(hn::ConcatEven(kBytes, hn::BitCast(kBytes, high), hn::BitCast(kBytes, low)), kBytes,
                   out + done);
        source += 2 * half;
        available -= 2 * half;
    }
    return done;
}

// Three blocks of the target at a time. Of a source with one byte a pixel the near half is enough.
template <std::size_t channels>
HWY_INLINE std::size_t OrderPixels(const ChannelOrder& order, const std::uint8_t* source,
                                   std::size_t available, std::size_t pixels, std::uint8_t* out)
{
    const hn::FixedTag<std::uint8_t, kBlock> block;
    const auto table = [&](std::size_t half, std::size_t i)
                           HWY_ATTR { return hn::LoadU(block, order.tables[half] + i * kBlock); };
    const auto near0 = table(0, 0), near1 = table(0, 1), near2 = table(0, 2);
    const auto far0 = table(1, 0), far1 = table(1, 1), far2 = table(1, 2);
    constexpr std::size_t second = ChannelOrder::FirstByte(channels, 1);
    constexpr std::size_t third = ChannelOrder::FirstByte(channels, 2);
    constexpr std::size_t step = kBlock * channels;
    constexpr std::size_t reach = third + (channels > 1 ? 2 : 1) * kBlock;
    const std::size_t readable = available < reach ? 0 : (available - reach) / step + 1;
    const std::size_t steps = readable < pixels / kBlock ? readable : pixels / kBlock;
    for (std::size_t i = 0; i < steps; ++i) {
        auto pixels0 = hn::TableLookupBytesOr0(hn::LoadU(block, source), near0);
        auto pixels1 = hn::TableLookupBytesOr0(hn::LoadU(block, source + second), near1);
        auto pixels2 = hn::TableLookupBytesOr0(hn::LoadU(block, source + third), near2);
        if constexpr (channels > 1) {
            const auto more0 = hn::LoadU(block, source + kBlock);
            const auto more1 = hn::LoadU(block, source + second + kBlock);
            const auto more2 = hn::LoadU(block, source + third + kBlock);
            pixels0 = hn::Or(pixels0, hn::TableLookupBytesOr0(more0, far0));
            pixels1 = hn::Or(pixels1, hn::TableLookupBytesOr0(more1, far1));
            pixels2 = hn::Or(pixels2, hn::TableLookupBytesOr0(more2, far2));
        }
        hn::StoreU(pixels0, block, out);
        hn::StoreU(pixels1, block, out + kBlock);
        hn::StoreU(pixels2, block, out + 2 * kBlock);
        source += step;
        out += 3 * kBlock;
    }
    return steps * kBlock;
}

// Of four bytes a pixel: each block loses a quarter, then the blocks move together. A step writes beyond its
// pixels what the next one overwrites.
HWY_INLINE std::size_t DropFourth(const ChannelOrder& order, const std::uint8_t* source, std::size_t pixels,
                                  std::uint8_t* out)
{
    HWY_ALIGN std::int32_t words[kLanes / 4];
    for (std::size_t i = 0; i < kLanes / 4; ++i) {
        words[i] = static_cast<std::int32_t>(i < 3 * kBlocks ? i / 3 * 4 + i % 3 : 0);
    }
    const auto together = hn::SetTableIndices(kNumbers, words);
    const Bytes table = LoadTable(order.tables[0]);
    std::size_t done = 0;
    for (; 3 * done + kLanes <= 3 * pixels; done += kLanes / 4) {
        const Bytes bytes = hn::TableLookupBytesOr0(hn::LoadU(kBytes, source + 4 * done), table);
        const Numbers moved = hn::TableLookupLanes(hn::BitCast(kNumbers, bytes), together);
        hn::StoreU(hn::BitCast(kBytes, moved), kBytes, out + 3 * done);
    }
    return done;
}

std::size_t Order(const ChannelOrder& order, const std::uint8_t* source, std::size_t available,
                  std::size_t pixels, std::uint8_t* out)
{
    switch (order.channels) {
    case 1:
        return OrderPixels<1>(order, source, available, pixels, out);
    case 3:
        return OrderPixels<3>(order, source, available, pixels, out);
    default:
        return DropFourth(order, source, pixels, out);
    }
}

// Eight pixels of each block become words of Y, U or V.
template <bool both>
struct YuvReader
{
    Bytes tables[2];

    HWY_INLINE YuvReader(const YuvLayout& layout, std::size_t which)
        : tables{LoadTable(layout.tables[0][which]), LoadTable(layout.tables[1][which])}
    {
    }

    HWY_INLINE Words operator()(Bytes first, Bytes second) const
    {
        const Bytes bytes = hn::TableLookupBytesOr0(first, tables[0]);
        if constexpr (both) {
            return hn::BitCast(kWords, hn::Or(bytes, hn::TableLookupBytesOr0(second, tables[1])));
        }
        return hn::BitCast(kWords, bytes);
    }
};

struct Colours
{
    SignedWords red, green, blue;
};

struct YuvMultiplier
{
    SignedWords luma, offset, redV, greenU, greenV, blueU;

    static HWY_INLINE SignedWords Word(int number)
    {
        return hn::Set(kSignedWords, static_cast<std::int16_t>(number));
    }

    explicit HWY_INLINE YuvMultiplier(const YuvMatrix& m)
        : luma(Word(m.luma)), offset(Word(m.offset)), redV(Word(m.redV)), greenU(Word(m.greenU)),
          greenV(Word(m.greenV)), blueU(Word(m.blueU))
    {
    }

    // Of bytes in the upper halves of words. A sum that is too large for a word is for a byte too.
    HWY_INLINE Colours operator()(Words y, Words u, Words v) const
    {
        const Words middle = hn::Set(kWords, 0x8000);
        const SignedWords chromaU = hn::BitCast(kSignedWords, hn::Xor(u, middle));
        const SignedWords chromaV = hn::BitCast(kSignedWords, hn::Xor(v, middle));
        const SignedWords halfY = hn::BitCast(kSignedWords, hn::ShiftRight<1>(y));
        const SignedWords light = hn::Add(hn::MulFixedPoint15(halfY, luma), offset);
        const SignedWords red = hn::SaturatedAdd(light, hn::MulFixedPoint15(chromaV, redV));
        const SignedWords blue = hn::SaturatedAdd(light, hn::MulFixedPoint15(chromaU, blueU));
        const SignedWords green = hn::Add(
            light, hn::Add(hn::MulFixedPoint15(chromaU, greenU), hn::MulFixedPoint15(chromaV, greenV)));
        return {hn::ShiftRight<YuvMatrix::bits>(red), hn::ShiftRight<YuvMatrix::bits>(green),
                hn::ShiftRight<YuvMatrix::bits>(blue)};
    }
};

HWY_INLINE Bytes Pack(SignedWords low, SignedWords high)
{
    const hn::Half<decltype(kBytes)> half;
    return hn::Combine(kBytes, hn::DemoteTo(half, high), hn::DemoteTo(half, low));
}

template <bool both>
HWY_INLINE std::size_t YuvPixels(const YuvLayout& layout, const YuvMatrix& matrix, const std::uint8_t* source,
                                 std::size_t available, std::size_t pixels, bool redFirst, std::uint8_t* out)
{
    const YuvReader<both> y(layout, 0), u(layout, 1), v(layout, 2);
    const YuvMultiplier multiply(matrix);
    const std::size_t blockBytes = 8 / layout.pixels * layout.bytes;
    const std::size_t half = kBlocks * blockBytes; // source bytes of half the pixels of a step
    const std::size_t reach = 2 * half - blockBytes + kBlock + (both ? YuvLayout::farBytes : 0);
    std::size_t done = 0;
    for (; done + kLanes <= pixels && reach <= available; done += kLanes) {
        Colours colours[2];
        for (Colours& part : colours) {
            const Bytes first = LoadBlocks(kBytes, source, blockBytes);
            const Bytes second = both ? LoadBlocks(kBytes, source + YuvLayout::farBytes, blockBytes) : first;
            part = multiply(y(first, second), u(first, second), v(first, second));
            source += half;
        }
        const Bytes red = Pack(colours[0].red, colours[1].red);
        const Bytes green = Pack(colours[0].green, colours[1].green);
        const Bytes blue = Pack(colours[0].blue, colours[1].blue);
        hn::StoreInterleaved3(redFirst ? red : blue, green, redFirst ? blue : red, kBytes, out + 3 * done);
        available -= 2 * half;
    }
    return done;
}

std::size_t Yuv(const YuvLayout& layout, const YuvMatrix& matrix, const std::uint8_t* source,
                std::size_t available, std::size_t pixels, bool redFirst, std::uint8_t* out)
{
    return layout.pixels == 1 ? YuvPixels<true>(layout, matrix, source, available, pixels, redFirst, out)
                              : YuvPixels<false>(layout, matrix, source, available, pixels, redFirst, out);
}

// Of a vector that begins at a column with the line's own colour: the columns with it, and those between.
HWY_INLINE Words Own(Bytes bytes)
{
    return hn::And(hn::BitCast(kWords, bytes), hn::Set(kWords, 0xFF));
}

HWY_INLINE Words Between(Bytes bytes)
{
    return hn::ShiftRight<8>(hn::BitCast(kWords, bytes));
}

HWY_INLINE Bytes Merge(Words own, Words between)
{
    return hn::BitCast(kBytes, hn::Or(own, hn::ShiftLeft<8>(between)));
}

HWY_INLINE Words Sum(Words a, Words b, Words c, Words d)
{
    return hn::Add(hn::Add(a, b), hn::Add(c, d));
}

struct MosaicPixels
{
    Bytes own, green, other;
};

struct Bilinear
{
    static HWY_INLINE MosaicPixels Interpolate(const MosaicLines& lines, std::size_t x)
    {
        const auto load = [&](std::size_t line, std::size_t before)
                              HWY_ATTR { return hn::LoadU(kBytes, lines.at[line] + x + 1 - before); };
        const Bytes above = load(1, 1), line = load(2, 1), below = load(3, 1);
        const Bytes lineBefore = load(2, 2);
        const Words two = hn::Set(kWords, 2);
        const Words straight = Sum(Own(above), Own(below), Own(lineBefore), Between(line));
        const Words diagonal = Sum(Own(load(1, 2)), Between(above), Own(load(3, 2)), Between(below));
        const Bytes horizontal = hn::AverageRound(lineBefore, load(2, 0));
        const Bytes vertical = hn::AverageRound(above, below);
        const Bytes ownColumns = hn::BitCast(kBytes, hn::Set(kWords, 0xFF));
        const auto select = [&](Words own, Bytes between) HWY_ATTR {
            return hn::Or(hn::BitCast(kBytes, own), hn::AndNot(ownColumns, between));
        };
        return {select(Own(line), horizontal), select(hn::ShiftRight<2>(hn::Add(straight, two)), line),
                select(hn::ShiftRight<2>(hn::Add(diagonal, two)), vertical)};
    }
};

// (sum + half) / 2^bits, kept within a byte.
template <int bits>
HWY_INLINE Words Scale(Words sum)
{
    const auto number = hn::BitCast(kSignedWords, sum);
    const auto rounded = hn::ShiftRight<bits>(hn::Add(number, hn::Set(kSignedWords, 1 << (bits - 1))));
    const auto least = hn::Max(rounded, hn::Zero(kSignedWords));
    return hn::BitCast(kWords, hn::Min(least, hn::Set(kSignedWords, 255)));
}

// The weights stand at the plain code (Bayer.cpp).
struct GradientCorrected
{
    static HWY_INLINE MosaicPixels Interpolate(const MosaicLines& lines, std::size_t x)
    {
        const auto load = [&](std::size_t line, std::size_t before)
                              HWY_ATTR { return hn::LoadU(kBytes, lines.at[line] + x + 2 - before); };
        const Bytes top = load(0, 2), bottom = load(4, 2);
        const Bytes above = load(1, 2), aboveBefore = load(1, 4), aboveAfter = load(1, 0);
        const Bytes below = load(3, 2), belowBefore = load(3, 4), belowAfter = load(3, 0);
        const Bytes line = load(2, 2), lineBefore = load(2, 4), lineAfter = load(2, 0);

        // Columns with the own colour: green and the colour of the lines around are missing.
        const Words own = Own(line);
        const Words cross = Sum(Own(above), Own(below), Between(lineBefore), Between(line));
        const Words corners = Sum(Between(aboveBefore), Between(above), Between(belowBefore), Between(below));
        const Words far = Sum(Own(top), Own(bottom), Own(lineBefore), Own(lineAfter));
        const Words green = Scale<3>(hn::Sub(hn::Add(hn::ShiftLeft<2>(own), hn::ShiftLeft<1>(cross)), far));
        const Words farThrice = hn::Add(far, hn::ShiftLeft<1>(far));
        const Words ownTwelve = hn::Add(hn::ShiftLeft<3>(own), hn::ShiftLeft<2>(own));
        const Words other = Scale<4>(hn::Sub(hn::Add(ownTwelve, hn::ShiftLeft<2>(corners)), farThrice));

        // Columns with green: the own colour is missing, which stands left and right, and the other one,
        // which stands above and below.
        const Words centre = Between(line);
        const Words diagonal = Sum(Own(above), Own(aboveAfter), Own(below), Own(belowAfter));
        const Words common =
            hn::Sub(hn::Add(hn::ShiftLeft<3>(centre), hn::ShiftLeft<1>(centre)), hn::ShiftLeft<1>(diagonal));
        const Words across = hn::Add(Between(lineBefore), Between(lineAfter));
        const Words upright = hn::Add(Between(top), Between(bottom));
        const Words beside = hn::ShiftLeft<3>(hn::Add(Own(line), Own(lineAfter)));
        const Words over = hn::ShiftLeft<3>(hn::Add(Between(above), Between(below)));
        const Words ownBetween =
            Scale<4>(hn::Add(hn::Sub(hn::Add(common, beside), hn::ShiftLeft<1>(across)), upright));
        const Words otherBetween =
            Scale<4>(hn::Add(hn::Sub(hn::Add(common, over), hn::ShiftLeft<1>(upright)), across));
        return {Merge(own, ownBetween), Merge(green, centre), Merge(other, otherBetween)};
    }
};

template <class Interpolation>
HWY_INLINE void Demosaic(const MosaicLines& lines, std::size_t x, std::uint8_t* out)
{
    const MosaicPixels pixels = Interpolation::Interpolate(lines, x);
    if (lines.ownFirst) {
        hn::StoreInterleaved3(pixels.own, pixels.green, pixels.other, kBytes, out + 3 * x);
    }
    else {
        hn::StoreInterleaved3(pixels.other, pixels.green, pixels.own, kBytes, out + 3 * x);
    }
}

// The last step overlaps the one before, so that at most one column is left.
template <class Interpolation>
std::size_t DemosaicLine(const MosaicLines& lines, std::uint8_t* out)
{
    std::size_t x = lines.firstOwn;
    if (x + kLanes > lines.width) {
        return x;
    }
    for (; x + kLanes <= lines.width; x += kLanes) {
        Demosaic<Interpolation>(lines, x, out);
    }
    const std::size_t last = (lines.width - kLanes - lines.firstOwn) / 2 * 2 + lines.firstOwn;
    if (last + kLanes > x) {
        Demosaic<Interpolation>(lines, last, out);
    }
    return last + kLanes;
}

const RowKernels& Kernels()
{
    static constexpr RowKernels kernels = {Unpack, Order, Yuv, DemosaicLine<Bilinear>,
                                           DemosaicLine<GradientCorrected>};
    return kernels;
}

#endif
} // namespace maravel::imagetransform::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace maravel::imagetransform {

const RowKernels* VectorKernels([[maybe_unused]] const char* instructionSet)
{
#if HWY_TARGETS & HWY_SSSE3
    if (std::strcmp(instructionSet, "ssse3") == 0) {
        return &N_SSSE3::Kernels();
    }
#endif
#if HWY_TARGETS & HWY_AVX2
    if (std::strcmp(instructionSet, "avx2") == 0) {
        return &N_AVX2::Kernels();
    }
#endif
#if HWY_TARGETS & HWY_AVX3
    if (std::strcmp(instructionSet, "avx512vbmi") == 0) {
        return &N_AVX3::Kernels();
    }
#endif
    return nullptr;
}

} // namespace maravel::imagetransform
#endif
