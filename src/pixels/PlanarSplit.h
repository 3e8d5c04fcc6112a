// RGB pixels to colour planes, the layout that the host wants of a colour image.
#pragma once

#include <cstddef>
#include <cstdint>

namespace maravel {

// Writes pixelCount bytes of red to planes, then as many of green, then of blue; rgb holds 3 * pixelCount
// bytes in the order red, green, blue. Any alignment; the two memories do not overlap. Uses the kernel of the
// current instruction set. Allocates nothing. Any thread.
void SplitRgb8IntoPlanes(const std::uint8_t* rgb, std::size_t pixelCount, std::uint8_t* planes) noexcept;

} // namespace maravel
