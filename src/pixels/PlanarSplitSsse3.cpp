#include "pixels/Kernels.h"

#include <immintrin.h>

namespace maravel {
namespace {

constexpr std::size_t kWidth = 16;

constexpr auto kPositions1 = PositionsModulo3<kWidth>(1);
constexpr auto kPositions2 = PositionsModulo3<kWidth>(2);
constexpr auto kMultiplesOf3 = PositionsTimes<kWidth>(3);

__m128i Load(const ByteTable<kWidth>& table) noexcept
{
    return _mm_load_si128(reinterpret_cast<const __m128i*>(table.bytes));
}

__m128i Load(const std::uint8_t* bytes) noexcept
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

// Bytes of b where the mask is set, of a elsewhere.
__m128i Blend(__m128i a, __m128i b, __m128i mask) noexcept
{
    return _mm_or_si128(_mm_andnot_si128(mask, a), _mm_and_si128(mask, b));
}

__m128i Order(int colour) noexcept
{
    const __m128i positions = _mm_add_epi8(Load(kMultiplesOf3), _mm_set1_epi8(static_cast<char>(colour)));
    return _mm_and_si128(positions, _mm_set1_epi8(kWidth - 1));
}

template <StoreKind Stores>
void Write(std::uint8_t* plane, __m128i bytes) noexcept
{
    if constexpr (Stores == StoreKind::Streaming) {
        _mm_stream_si128(reinterpret_cast<__m128i*>(plane), bytes);
    }
    else {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(plane), bytes);
    }
}

template <StoreKind Stores>
void SplitBlocks(const std::uint8_t* rgb, std::size_t blockCount, SplitTarget target) noexcept
{
    const __m128i positions1 = Load(kPositions1);
    const __m128i positions2 = Load(kPositions2);
    const __m128i redOrder = Order(0);
    const __m128i greenOrder = Order(1);
    const __m128i blueOrder = Order(2);
    for (std::size_t block = 0; block < blockCount; ++block) {
        const __m128i first = Load(rgb);
        const __m128i second = Load(rgb + kWidth);
        const __m128i third = Load(rgb + 2 * kWidth);
        const __m128i red = Blend(Blend(first, second, positions2), third, positions1);
        const __m128i green = Blend(Blend(second, first, positions1), third, positions2);
        const __m128i blue = Blend(Blend(third, second, positions1), first, positions2);
        const std::size_t at = block * kWidth;
        Write<Stores>(target.red + at, _mm_shuffle_epi8(red, redOrder));
        Write<Stores>(target.green + at, _mm_shuffle_epi8(green, greenOrder));
        Write<Stores>(target.blue + at, _mm_shuffle_epi8(blue, blueOrder));
        rgb += 3 * kWidth;
    }
    if constexpr (Stores == StoreKind::Streaming) {
        _mm_sfence();
    }
}

bool Aligned(const SplitTarget& target) noexcept
{
    return ((reinterpret_cast<std::uintptr_t>(target.red) | reinterpret_cast<std::uintptr_t>(target.green) |
             reinterpret_cast<std::uintptr_t>(target.blue)) %
            kWidth) == 0;
}

} // namespace

SplitRange SplitSsse3(const std::uint8_t* rgb, std::size_t pixelCount, SplitTarget target,
                      StoreKind stores) noexcept
{
    const std::size_t blockCount = pixelCount / kWidth;
    // Streaming stores want aligned planes, which all but odd image sizes have.
    if (stores == StoreKind::Streaming && Aligned(target)) {
        SplitBlocks<StoreKind::Streaming>(rgb, blockCount, target);
    }
    else {
        SplitBlocks<StoreKind::Cached>(rgb, blockCount, target);
    }
    return {0, blockCount * kWidth};
}

} // namespace maravel
