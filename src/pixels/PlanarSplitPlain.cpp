#include "pixels/PlanarSplitKernels.h"

namespace maravel {

void SplitPlain(const std::uint8_t* rgb, std::size_t pixelCount, SplitTarget target, StoreKind) noexcept
{
    for (std::size_t i = 0; i < pixelCount; ++i) {
        target.red[i] = rgb[3 * i];
        target.green[i] = rgb[3 * i + 1];
        target.blue[i] = rgb[3 * i + 2];
    }
}

} // namespace maravel
