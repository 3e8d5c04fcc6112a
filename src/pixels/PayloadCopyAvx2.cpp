#include "pixels/Kernels.h"

#include <immintrin.h>

namespace maravel {

void StreamingCopyAvx2(std::uint8_t* destination, const std::uint8_t* source, std::size_t byteCount) noexcept
{
    for (std::size_t at = 0; at < byteCount; at += kStreamingStep) {
        const auto* from = reinterpret_cast<const __m256i*>(source + at);
        auto* to = reinterpret_cast<__m256i*>(destination + at);
        const __m256i v0 = _mm256_loadu_si256(from);
        const __m256i v1 = _mm256_loadu_si256(from + 1);
        const __m256i v2 = _mm256_loadu_si256(from + 2);
        const __m256i v3 = _mm256_loadu_si256(from + 3);
        _mm256_stream_si256(to, v0);
        _mm256_stream_si256(to + 1, v1);
        _mm256_stream_si256(to + 2, v2);
        _mm256_stream_si256(to + 3, v3);
    }
    _mm_sfence();
}

} // namespace maravel
