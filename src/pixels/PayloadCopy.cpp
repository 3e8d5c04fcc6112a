#include "pixels/ImageWriting.h"
#include "pixels/InstructionSet.h"
#include "pixels/Kernels.h"

#include <cstdint>
#include <cstring>
#include <emmintrin.h>

namespace maravel {
void CopyPayload(void* destination, const void* source, std::size_t byteCount) noexcept
{
    const InstructionSet set = CurrentInstructionSet();
    if (ChooseStores(destination, byteCount) == StoreKind::Cached || set == InstructionSet::Plain) {
        if (byteCount != 0) {
            std::memcpy(destination, source, byteCount);
        }
        return;
    }

    auto* to = static_cast<std::uint8_t*>(destination);
    const auto* from = static_cast<const std::uint8_t*>(source);
    const std::size_t head = (0 - reinterpret_cast<std::uintptr_t>(to)) % kStreamingStep;
    const std::size_t whole = (byteCount - head) / kStreamingStep * kStreamingStep;
    std::memcpy(to, from, head);
    if (set >= InstructionSet::Avx2) {
        StreamingCopyAvx2(to + head, from + head, whole);
    }
    else {
        StreamingCopySse2(to + head, from + head, whole);
    }
    std::memcpy(to + head + whole, from + head + whole, byteCount - head - whole);
}

void StreamingCopySse2(std::uint8_t* destination, const std::uint8_t* source, std::size_t byteCount) noexcept
{
    for (std::size_t at = 0; at < byteCount; at += kStreamingStep) {
        const auto* from = reinterpret_cast<const __m128i*>(source + at);
        auto* to = reinterpret_cast<__m128i*>(destination + at);
        const __m128i v0 = _mm_loadu_si128(from);
        const __m128i v1 = _mm_loadu_si128(from + 1);
        const __m128i v2 = _mm_loadu_si128(from + 2);
        const __m128i v3 = _mm_loadu_si128(from + 3);
        const __m128i v4 = _mm_loadu_si128(from + 4);
        const __m128i v5 = _mm_loadu_si128(from + 5);
        const __m128i v6 = _mm_loadu_si128(from + 6);
        const __m128i v7 = _mm_loadu_si128(from + 7);
        _mm_stream_si128(to, v0);
        _mm_stream_si128(to + 1, v1);
        _mm_stream_si128(to + 2, v2);
        _mm_stream_si128(to + 3, v3);
        _mm_stream_si128(to + 4, v4);
        _mm_stream_si128(to + 5, v5);
        _mm_stream_si128(to + 6, v6);
        _mm_stream_si128(to + 7, v7);
    }
    _mm_sfence();
}

} // namespace maravel
