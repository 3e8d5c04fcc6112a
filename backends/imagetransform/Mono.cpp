#include "imagetransform/Conversions.h"
#include "imagetransform/UnpackSamples.h"

#include <algorithm>
#include <array>

namespace maravel::imagetransform {

void ConvertMono(const PixelFormat& format, const std::uint8_t* source, ImageSize size, ColourTarget target)
{
    std::array<std::uint8_t, 1024> grey;
    std::uint8_t* out = target.pixels;
    for (std::size_t first = 0; first < size.Pixels(); first += grey.size()) {
        const std::size_t count = std::min(grey.size(), size.Pixels() - first);
        UnpackSamples(format, source, first, count, grey.data());
        for (std::size_t i = 0; i < count; ++i, out += 3)
            out[0] = out[1] = out[2] = grey[i];
    }
}

} // namespace maravel::imagetransform
