#include "pixels/ImageWriting.h"
#include "pixels/InstructionSet.h"
#include "pixels/Kernels.h"

#include <iterator>

namespace maravel {

SplitRange SplitPlain(const std::uint8_t* rgb, std::size_t pixelCount, SplitTarget target, StoreKind) noexcept
{
    for (std::size_t i = 0; i < pixelCount; ++i) {
        target.red[i] = rgb[3 * i];
        target.green[i] = rgb[3 * i + 1];
        target.blue[i] = rgb[3 * i + 2];
    }
    return {0, pixelCount};
}

void SplitBy(InstructionSet set, const std::uint8_t* rgb, std::size_t pixelCount, SplitTarget target,
             StoreKind stores) noexcept
{
    constexpr SplitKernel* kKernels[] = {SplitPlain, SplitSsse3, SplitAvx2, SplitAvx512Vbmi};
    static_assert(std::size(kKernels) == std::size(kInstructionSets));
    const auto [begin, end] = kKernels[static_cast<std::size_t>(set)](rgb, pixelCount, target, stores);
    SplitPlain(rgb, begin, target, stores);
    SplitPlain(rgb + 3 * end, pixelCount - end, {target.red + end, target.green + end, target.blue + end},
               stores);
}

void SplitRgb8IntoPlanes(const std::uint8_t* rgb, std::size_t pixelCount, std::uint8_t* planes) noexcept
{
    const SplitTarget target{planes, planes + pixelCount, planes + 2 * pixelCount};
    SplitBy(CurrentInstructionSet(), rgb, pixelCount, target, ChooseStores(planes, 3 * pixelCount));
}

} // namespace maravel
