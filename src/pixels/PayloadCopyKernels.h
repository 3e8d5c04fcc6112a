// Copies that write past the caches. See PlanarSplitKernels.h for what their files must not include.
#pragma once

#include <cstddef>
#include <cstdint>

namespace maravel {

// What one step copies. The destination is aligned to it, and byteCount is a multiple of it.
inline constexpr std::size_t kStreamingStep = 128;

using StreamingCopy = void(std::uint8_t* destination, const std::uint8_t* source,
                           std::size_t byteCount) noexcept;

StreamingCopy StreamingCopySse2; // every 64-bit processor has it
StreamingCopy StreamingCopyAvx2;

} // namespace maravel
