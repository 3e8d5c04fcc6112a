#include "pixels/Kernels.h"

#include <immintrin.h>

namespace maravel {
namespace {

constexpr std::size_t kWidth = 64; // a vector and a cache line

// Bytes at positions p of a vector with p modulo 3 being 1, and being 2.
constexpr __mmask64 kPositions1 = 0x2492492492492492;
constexpr __mmask64 kPositions2 = 0x4924924924924924;

constexpr auto kMultiplesOf3 = PositionsTimes<kWidth>(3);

constexpr __mmask8 kAllQuads = 0xFF;

template <StoreKind Stores>
void StoreLine(std::uint8_t* line, __m512i bytes) noexcept
{
    if constexpr (Stores == StoreKind::Streaming) {
        // Two halves of a line stream a little faster than the whole of it.
        auto* halves = reinterpret_cast<__m256i*>(line);
        _mm256_stream_si256(halves, _mm512_maskz_extracti64x4_epi64(kAllQuads, bytes, 0));
        _mm256_stream_si256(halves + 1, _mm512_maskz_extracti64x4_epi64(kAllQuads, bytes, 1));
    }
    else {
        _mm512_store_si512(line, bytes);
    }
}

std::size_t PixelsBeforeLine(const std::uint8_t* plane) noexcept
{
    return (0 - reinterpret_cast<std::uintptr_t>(plane)) % kWidth;
}

// Where in a step's vector the pixels of a line stand, the line beginning `head` pixels into the step.
__m512i Order(unsigned colour, std::size_t head) noexcept
{
    const __m512i position = _mm512_add_epi8(_mm512_load_si512(kMultiplesOf3.bytes),
                                             _mm512_set1_epi8(static_cast<char>(3 * head + colour)));
    return _mm512_and_si512(position, _mm512_set1_epi8(kWidth - 1));
}

// A plane that begins on a cache line: each step yields one line.
class AlignedPlane
{
public:
    AlignedPlane(std::uint8_t* plane, unsigned colour) noexcept : order_(Order(colour, 0)), plane_(plane) {}

    template <StoreKind Stores>
    void Write(std::size_t at, __m512i mixed) noexcept
    {
        StoreLine<Stores>(plane_ + at, _mm512_maskz_permutexvar_epi8(~__mmask64{0}, order_, mixed));
    }

private:
    __m512i order_;
    std::uint8_t* plane_;
};

// A plane at any address: each of its lines straddles two steps. The shuffle, which picks from two vectors,
// takes a line's first bytes from the step before (carried) and its last ones from the present step.
class StraddlingPlane
{
public:
    StraddlingPlane(std::uint8_t* plane, unsigned colour, __m512i firstStep) noexcept : carried_(firstStep)
    {
        const std::size_t head = PixelsBeforeLine(plane);
        const __mmask64 fromPresent = head == 0 ? 0 : ~__mmask64{0} << (kWidth - head);
        const __m512i inCarried = Order(colour, head);
        const __m512i inPresent = _mm512_or_si512(inCarried, _mm512_set1_epi8(kWidth));
        order_ = _mm512_mask_blend_epi8(fromPresent, inCarried, inPresent);
        firstLine_ = plane + head;
    }

    template <StoreKind Stores>
    void Write(std::size_t at, __m512i mixed) noexcept
    {
        StoreLine<Stores>(firstLine_ + at, _mm512_permutex2var_epi8(carried_, order_, mixed));
        carried_ = mixed;
    }

private:
    __m512i order_;
    __m512i carried_;
    std::uint8_t* firstLine_;
};

// The colours of one step, each still in the order of the source.
struct Mixed
{
    __m512i red;
    __m512i green;
    __m512i blue;
};

Mixed Collect(const std::uint8_t* rgb) noexcept
{
    const __m512i first = _mm512_loadu_si512(rgb);
    const __m512i second = _mm512_loadu_si512(rgb + kWidth);
    const __m512i third = _mm512_loadu_si512(rgb + 2 * kWidth);
    Mixed mixed;
    mixed.red =
        _mm512_mask_blend_epi8(kPositions1, _mm512_mask_blend_epi8(kPositions2, first, second), third);
    mixed.green =
        _mm512_mask_blend_epi8(kPositions2, _mm512_mask_blend_epi8(kPositions1, second, first), third);
    mixed.blue =
        _mm512_mask_blend_epi8(kPositions2, _mm512_mask_blend_epi8(kPositions1, third, second), first);
    return mixed;
}

// Touching the next step's lines keeps the processor's own prefetching going; further ahead would hinder it.
void PrefetchStep(const std::uint8_t* rgb) noexcept
{
    const auto* lines = reinterpret_cast<const char*>(rgb);
    _mm_prefetch(lines, _MM_HINT_T0);
    _mm_prefetch(lines + kWidth, _MM_HINT_T0);
    _mm_prefetch(lines + 2 * kWidth, _MM_HINT_T0);
}

template <StoreKind Stores, typename Plane>
void WriteSteps(const std::uint8_t* rgb, std::size_t stepCount, Plane red, Plane green, Plane blue) noexcept
{
    for (std::size_t at = 0; at < stepCount * kWidth; at += kWidth) {
        PrefetchStep(rgb + 3 * kWidth);
        const Mixed mixed = Collect(rgb);
        red.template Write<Stores>(at, mixed.red);
        green.template Write<Stores>(at, mixed.green);
        blue.template Write<Stores>(at, mixed.blue);
        rgb += 3 * kWidth;
    }
    if constexpr (Stores == StoreKind::Streaming) {
        _mm_sfence();
    }
}

// Returns up to which pixel the planes are written, but for the pixels before their first line.
template <StoreKind Stores>
std::size_t SplitSteps(const std::uint8_t* rgb, std::size_t stepCount, SplitTarget target,
                       bool aligned) noexcept
{
    if (aligned) {
        WriteSteps<Stores>(rgb, stepCount, AlignedPlane(target.red, 0), AlignedPlane(target.green, 1),
                           AlignedPlane(target.blue, 2));
        return stepCount * kWidth;
    }
    const Mixed first = Collect(rgb);
    WriteSteps<Stores>(rgb + 3 * kWidth, stepCount - 1, StraddlingPlane(target.red, 0, first.red),
                       StraddlingPlane(target.green, 1, first.green),
                       StraddlingPlane(target.blue, 2, first.blue));
    return (stepCount - 1) * kWidth;
}

// How many pixels to pass over until one begins on a line of the source. There is always one among 64, since
// 3 * 43 is 1 modulo 64.
std::size_t PixelsBeforeSourceLine(const std::uint8_t* rgb) noexcept
{
    return (0 - reinterpret_cast<std::uintptr_t>(rgb)) * 43 % kWidth;
}

} // namespace

SplitRange SplitAvx512Vbmi(const std::uint8_t* rgb, std::size_t pixelCount, SplitTarget target,
                           StoreKind stores) noexcept
{
    // Loads that straddle lines would double the time, so begin at a pixel that stands on a line of the
    // source.
    const std::size_t before = PixelsBeforeSourceLine(rgb);
    if (pixelCount < before + kWidth) {
        return {0, 0};
    }
    rgb += 3 * before;
    target = {target.red + before, target.green + before, target.blue + before};

    const std::size_t stepCount = (pixelCount - before) / kWidth;
    const bool aligned =
        (PixelsBeforeLine(target.red) | PixelsBeforeLine(target.green) | PixelsBeforeLine(target.blue)) == 0;
    const std::size_t done = stores == StoreKind::Streaming
                                 ? SplitSteps<StoreKind::Streaming>(rgb, stepCount, target, aligned)
                                 : SplitSteps<StoreKind::Cached>(rgb, stepCount, target, aligned);

    // What stands before the first line of a plane is not split.
    return {before + (aligned ? 0 : kWidth), before + done};
}

} // namespace maravel
