#include "pixels/Kernels.h"

#include <immintrin.h>

namespace maravel {
namespace {

// The two 128-bit lanes of a vector hold bytes that stand 48 apart in the source, so that blends and shuffles
// never cross a lane and each lane yields 16 consecutive pixels.
constexpr std::size_t kLane = 16;
constexpr std::size_t kWidth = 2 * kLane;

constexpr auto kPositions1 = PositionsModulo3<kWidth, kLane>(1);
constexpr auto kPositions2 = PositionsModulo3<kWidth, kLane>(2);
constexpr auto kIndices = PositionsTimes<kWidth, kLane>(1);

__m256i Load(const ByteTable<kWidth>& table) noexcept
{
    return _mm256_load_si256(reinterpret_cast<const __m256i*>(table.bytes));
}

__m256i LoadLanes(const std::uint8_t* rgb) noexcept
{
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(rgb));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(rgb + 3 * kLane));
    return _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
}

struct Source
{
    __m256i first;
    __m256i second;
    __m256i third;
};

Source LoadSource(const std::uint8_t* rgb) noexcept
{
    return {LoadLanes(rgb), LoadLanes(rgb + kLane), LoadLanes(rgb + 2 * kLane)};
}

// Collects one colour of a step, still in the order of the source.
struct Mixer
{
    __m256i positions1 = Load(kPositions1);
    __m256i positions2 = Load(kPositions2);

    __m256i Red(const Source& from) const noexcept
    {
        return _mm256_blendv_epi8(_mm256_blendv_epi8(from.first, from.second, positions2), from.third,
                                  positions1);
    }
    __m256i Green(const Source& from) const noexcept
    {
        return _mm256_blendv_epi8(_mm256_blendv_epi8(from.second, from.first, positions1), from.third,
                                  positions2);
    }
    __m256i Blue(const Source& from) const noexcept
    {
        return _mm256_blendv_epi8(_mm256_blendv_epi8(from.third, from.second, positions1), from.first,
                                  positions2);
    }
};

// Shuffle that puts a lane's colour in order, rotated by the pixels before the plane's first whole chunk.
__m256i Order(unsigned colour, std::size_t head) noexcept
{
    const __m256i indices = Load(kIndices);
    const __m256i tripled = _mm256_add_epi8(indices, _mm256_add_epi8(indices, indices));
    const __m256i offset = _mm256_set1_epi8(static_cast<char>(3 * head + colour));
    return _mm256_and_si256(_mm256_add_epi8(tripled, offset), _mm256_set1_epi8(kLane - 1));
}

template <StoreKind Stores>
void WriteAligned(std::uint8_t* plane, __m256i bytes) noexcept
{
    if constexpr (Stores == StoreKind::Streaming) {
        _mm256_stream_si256(reinterpret_cast<__m256i*>(plane), bytes);
    }
    else {
        _mm256_store_si256(reinterpret_cast<__m256i*>(plane), bytes);
    }
}

// Planes on 32-byte boundaries: a whole cache line of each at a time.
template <StoreKind Stores>
std::size_t SplitAligned(const std::uint8_t* rgb, std::size_t pixelCount, SplitTarget target) noexcept
{
    const Mixer mix;
    const __m256i redOrder = Order(0, 0);
    const __m256i greenOrder = Order(1, 0);
    const __m256i blueOrder = Order(2, 0);
    std::size_t done = 0;
    for (; done + 2 * kWidth <= pixelCount; done += 2 * kWidth) {
        const Source low = LoadSource(rgb + 3 * done);
        const Source high = LoadSource(rgb + 3 * done + 3 * kWidth);
        WriteAligned<Stores>(target.red + done, _mm256_shuffle_epi8(mix.Red(low), redOrder));
        WriteAligned<Stores>(target.red + done + kWidth, _mm256_shuffle_epi8(mix.Red(high), redOrder));
        WriteAligned<Stores>(target.green + done, _mm256_shuffle_epi8(mix.Green(low), greenOrder));
        WriteAligned<Stores>(target.green + done + kWidth, _mm256_shuffle_epi8(mix.Green(high), greenOrder));
        WriteAligned<Stores>(target.blue + done, _mm256_shuffle_epi8(mix.Blue(low), blueOrder));
        WriteAligned<Stores>(target.blue + done + kWidth, _mm256_shuffle_epi8(mix.Blue(high), blueOrder));
    }
    return done;
}

// One plane at any address, written in chunks that are aligned to a lane: a chunk takes its first bytes from
// the lane before (carried) and its last ones from the present lane.
struct Plane
{
    Plane(std::uint8_t* plane, unsigned colour) noexcept
    {
        const std::size_t head = (0 - reinterpret_cast<std::uintptr_t>(plane)) % kLane;
        order = Order(colour, head);
        // Bytes from kLane - head on come from the present lane.
        fromPresent =
            _mm256_cmpgt_epi8(Load(kIndices), _mm256_set1_epi8(static_cast<char>(kLane - 1 - head)));
        next = plane + head;
    }

    template <StoreKind Stores>
    void Write(__m256i mixed) noexcept
    {
        const __m256i present = _mm256_shuffle_epi8(mixed, order);
        const __m256i straddling = _mm256_permute2x128_si256(carried, present, 0x21);
        const __m256i bytes = _mm256_blendv_epi8(carried, straddling, fromPresent);
        carried = present;
        if constexpr (Stores == StoreKind::Streaming) {
            _mm_stream_si128(reinterpret_cast<__m128i*>(next), _mm256_castsi256_si128(bytes));
            _mm_stream_si128(reinterpret_cast<__m128i*>(next + kLane), _mm256_extracti128_si256(bytes, 1));
        }
        else {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(next), bytes);
        }
        next += kWidth;
    }

    __m256i order;
    __m256i fromPresent;
    __m256i carried;
    std::uint8_t* next;
};

template <StoreKind Stores>
std::size_t SplitMisaligned(const std::uint8_t* rgb, std::size_t pixelCount, SplitTarget target) noexcept
{
    const Mixer mix;
    Plane red(target.red, 0);
    Plane green(target.green, 1);
    Plane blue(target.blue, 2);
    const Source first = LoadSource(rgb);
    red.carried = _mm256_shuffle_epi8(mix.Red(first), red.order);
    green.carried = _mm256_shuffle_epi8(mix.Green(first), green.order);
    blue.carried = _mm256_shuffle_epi8(mix.Blue(first), blue.order);

    std::size_t done = 0;
    for (; done + 2 * kWidth <= pixelCount; done += kWidth) {
        const Source source = LoadSource(rgb + 3 * done + 3 * kWidth);
        red.Write<Stores>(mix.Red(source));
        green.Write<Stores>(mix.Green(source));
        blue.Write<Stores>(mix.Blue(source));
    }
    return done;
}

template <StoreKind Stores>
std::size_t Split(const std::uint8_t* rgb, std::size_t pixelCount, SplitTarget target, bool aligned) noexcept
{
    const std::size_t done = aligned ? SplitAligned<Stores>(rgb, pixelCount, target)
                                     : SplitMisaligned<Stores>(rgb, pixelCount, target);
    if constexpr (Stores == StoreKind::Streaming) {
        _mm_sfence();
    }
    return done;
}

} // namespace

SplitRange SplitAvx2(const std::uint8_t* rgb, std::size_t pixelCount, SplitTarget target,
                     StoreKind stores) noexcept
{
    if (pixelCount < 2 * kWidth) {
        return {0, 0};
    }

    const bool aligned =
        ((reinterpret_cast<std::uintptr_t>(target.red) | reinterpret_cast<std::uintptr_t>(target.green) |
          reinterpret_cast<std::uintptr_t>(target.blue)) %
         kWidth) == 0;
    const std::size_t done = stores == StoreKind::Streaming
                                 ? Split<StoreKind::Streaming>(rgb, pixelCount, target, aligned)
                                 : Split<StoreKind::Cached>(rgb, pixelCount, target, aligned);
    // What stands before the first whole chunk of a plane, and what the last step carried, is not split.
    return {aligned ? 0 : kLane, done};
}

} // namespace maravel
