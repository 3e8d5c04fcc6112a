#include "acquisition/PlanarSplitKernels.h"

#include <immintrin.h>

namespace maravel {
namespace {

constexpr std::size_t kWidth = 64; // a vector and a cache line

// Bytes at positions p of a vector with p modulo 3 being 1, and being 2.
constexpr __mmask64 kPositions1 = 0x2492492492492492;
constexpr __mmask64 kPositions2 = 0x4924924924924924;

alignas(kWidth) constexpr std::uint8_t kMultiplesOf3[kWidth] = {
    0,   3,   6,   9,   12,  15,  18,  21,  24,  27,  30,  33,  36,  39,  42,  45,
    48,  51,  54,  57,  60,  63,  66,  69,  72,  75,  78,  81,  84,  87,  90,  93,
    96,  99,  102, 105, 108, 111, 114, 117, 120, 123, 126, 129, 132, 135, 138, 141,
    144, 147, 150, 153, 156, 159, 162, 165, 168, 171, 174, 177, 180, 183, 186, 189};

// One plane under construction. Where the plane does not begin on a cache line, each of its lines straddles
// two steps: the shuffle, which picks from two vectors, takes the line's first bytes from the step before
// (carried) and its last ones from the present step. A plane that does begin on a line takes all from the
// step before.
constexpr __mmask8 kAllQuads = 0xFF;

struct Plane
{
    __m512i order;
    __m512i carried;
    std::uint8_t* line; // the first whole line
};

Plane StartPlane(std::uint8_t* plane, unsigned colour, __m512i carried) noexcept
{
    const std::size_t head = (0 - reinterpret_cast<std::uintptr_t>(plane)) % kWidth;
    const __mmask64 fromPresent = head == 0 ? 0 : ~__mmask64{0} << (kWidth - head);
    const __m512i position = _mm512_add_epi8(_mm512_load_si512(kMultiplesOf3),
                                             _mm512_set1_epi8(static_cast<char>(3 * head + colour)));
    const __m512i inVector = _mm512_and_si512(position, _mm512_set1_epi8(kWidth - 1));
    const __m512i inPresent = _mm512_or_si512(inVector, _mm512_set1_epi8(kWidth));
    return {_mm512_mask_blend_epi8(fromPresent, inVector, inPresent), carried, plane + head};
}

template <StoreKind Stores>
void WriteLine(Plane& plane, std::size_t at, __m512i mixed) noexcept
{
    const __m512i bytes = _mm512_permutex2var_epi8(plane.carried, plane.order, mixed);
    plane.carried = mixed;
    if constexpr (Stores == StoreKind::Streaming) {
        // Two halves of a line stream a little faster than the whole of it.
        auto* line = reinterpret_cast<__m256i*>(plane.line + at);
        _mm256_stream_si256(line, _mm512_maskz_extracti64x4_epi64(kAllQuads, bytes, 0));
        _mm256_stream_si256(line + 1, _mm512_maskz_extracti64x4_epi64(kAllQuads, bytes, 1));
    }
    else {
        _mm512_store_si512(plane.line + at, bytes);
    }
}

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

void Prefetch(const std::uint8_t* line) noexcept
{
    _mm_prefetch(reinterpret_cast<const char*>(line), _MM_HINT_T0);
}

template <StoreKind Stores>
void SplitBlocks(const std::uint8_t* rgb, std::size_t blockCount, SplitTarget target) noexcept
{
    const Mixed first = Collect(rgb);
    Plane red = StartPlane(target.red, 0, first.red);
    Plane green = StartPlane(target.green, 1, first.green);
    Plane blue = StartPlane(target.blue, 2, first.blue);

    const std::size_t end = (blockCount - 1) * kWidth;
    for (std::size_t at = 0; at < end; at += kWidth) {
        rgb += 3 * kWidth;
        // Touching the next step's lines keeps the hardware's own prefetching going; any further ahead
        // hinders it.
        Prefetch(rgb + 3 * kWidth);
        Prefetch(rgb + 4 * kWidth);
        Prefetch(rgb + 5 * kWidth);
        const Mixed mixed = Collect(rgb);
        WriteLine<Stores>(red, at, mixed.red);
        WriteLine<Stores>(green, at, mixed.green);
        WriteLine<Stores>(blue, at, mixed.blue);
    }
    if constexpr (Stores == StoreKind::Streaming)
        _mm_sfence();
}

} // namespace

void SplitAvx512Vbmi(const std::uint8_t* rgb, std::size_t pixelCount, SplitTarget target,
                     StoreKind stores) noexcept
{
    const std::size_t blockCount = pixelCount / kWidth;
    if (blockCount < 2)
        return SplitPlain(rgb, pixelCount, target, stores);

    if (stores == StoreKind::Streaming)
        SplitBlocks<StoreKind::Streaming>(rgb, blockCount, target);
    else
        SplitBlocks<StoreKind::Cached>(rgb, blockCount, target);

    // What stands before the first whole line of a plane, and what the last step carried.
    SplitPlain(rgb, kWidth, target, stores);
    const std::size_t done = (blockCount - 1) * kWidth;
    SplitPlain(rgb + 3 * done, pixelCount - done,
               {target.red + done, target.green + done, target.blue + done}, stores);
}

} // namespace maravel
