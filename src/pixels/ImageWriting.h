// What is written into the host's memory. Allocates nothing. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>

namespace maravel {

// The payload of a frame, as memcpy: any alignment, no overlap. Copies past the caches where the size asks
// for it.
void CopyPayload(void* destination, const void* source, std::size_t byteCount) noexcept;

// RGB pixels to colour planes, the layout that the host wants of a colour image. Writes pixelCount bytes of
// red to planes, then as many of green, then of blue; rgb holds 3 * pixelCount bytes in the order red, green,
// blue. Any alignment; the two memories do not overlap. Uses the kernel of the current instruction set.
void SplitRgb8IntoPlanes(const std::uint8_t* rgb, std::size_t pixelCount, std::uint8_t* planes) noexcept;

} // namespace maravel
