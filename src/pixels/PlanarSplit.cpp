#include "pixels/PlanarSplit.h"

#include "pixels/InstructionSet.h"
#include "pixels/PlanarSplitKernels.h"
#include "pixels/StoreChoice.h"

namespace maravel {
namespace {

SplitKernel* KernelFor(InstructionSet set) noexcept
{
    switch (set) {
    case InstructionSet::Ssse3:
        return SplitSsse3;
    case InstructionSet::Avx2:
        return SplitAvx2;
    case InstructionSet::Avx512Vbmi:
        return SplitAvx512Vbmi;
    case InstructionSet::Plain:
        break;
    }
    return SplitPlain;
}

} // namespace

void SplitRgb8IntoPlanes(const std::uint8_t* rgb, std::size_t pixelCount, std::uint8_t* planes) noexcept
{
    const SplitTarget target{planes, planes + pixelCount, planes + 2 * pixelCount};
    KernelFor(CurrentInstructionSet())(rgb, pixelCount, target, ChooseStores(planes, 3 * pixelCount));
}

} // namespace maravel
