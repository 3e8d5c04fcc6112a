// The parameters of a transform. The SDK's record is opaque to those who only pass it on; here it is what the
// ZvkSet... functions fill in and ZvkImageTransform reads. Of several records of one kind the last one
// counts.
#pragma once

#include "sdk/ZvkTypes.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>

extern "C" {

// How the two colours are found that a pixel of a mosaic lacks.
constexpr std::uint32_t ZvkDebayerModeBilinear = 0;  // the mean of the neighbours that have it; the default
constexpr std::uint32_t ZvkDebayerModeEdgeAware = 1; // corrected by the gradient of the colour that is there

constexpr std::uint32_t ZvkTransformDebayerMode = 1;
constexpr std::uint32_t ZvkTransformColorCorrectionMatrix = 2;
constexpr std::uint32_t ZvkTransformGammaCorrection = 3;

struct ZvkTransformInfo
{
    std::uint32_t kind; // 0: one of the above
    union
    {
        std::uint32_t debayerMode;
        // Row by row, for a column of red, green and blue: the first row makes the new red. -16..16 each.
        float matrix[9];
        // The exponent is 1 / gamma, so that more than 1 makes dark parts brighter. 0.1..10.
        float gamma;
    } value; // 4
};

} // extern "C"

static_assert(std::is_standard_layout_v<ZvkTransformInfo> && sizeof(ZvkTransformInfo) == 40);
static_assert(offsetof(ZvkTransformInfo, value) == 4);
