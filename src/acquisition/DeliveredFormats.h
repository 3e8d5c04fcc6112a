// How each pixel format reaches the host.
#pragma once

#include "maravel/VideoChannel.h"
#include "sdk/ZvkTypes.h"

#include <cstdint>

namespace maravel {

// The host's pixel type for frames of this format: monochrome formats are delivered as they are, every other
// format is converted to RGB planes.
constexpr std::int32_t HostPixelType(ZvkPixelFormat_t format) noexcept
{
    switch (format) {
    case ZvkPixelFormatMono8:
        return PixelTypeMono8;
    case ZvkPixelFormatMono10:
        return PixelTypeMono10;
    case ZvkPixelFormatMono12:
        return PixelTypeMono12;
    case ZvkPixelFormatMono12Packed:
        return PixelTypeMono12Packed;
    case ZvkPixelFormatMono14:
        return PixelTypeMono14;
    case ZvkPixelFormatMono16:
        return PixelTypeMono16;
    default:
        return PixelTypeRgbPlanes;
    }
}

constexpr bool IsDeliveredUnchanged(ZvkPixelFormat_t format) noexcept
{
    return HostPixelType(format) != PixelTypeRgbPlanes;
}

} // namespace maravel
