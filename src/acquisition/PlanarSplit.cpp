#include "acquisition/PlanarSplit.h"

#include "acquisition/InstructionSet.h"
#include "acquisition/PlanarSplitKernels.h"

namespace maravel {
namespace {

// From this size of the three planes on, streaming stores: measured, they lose by a third where the host
// reads one small buffer again and again, and win by a third where its buffers rotate, which large ones do.
constexpr std::size_t kStreamingBytes = std::size_t{4} << 20;

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
    const StoreKind stores = 3 * pixelCount < kStreamingBytes ? StoreKind::Cached : StoreKind::Streaming;
    KernelFor(CurrentInstructionSet())(rgb, pixelCount, target, stores);
}

} // namespace maravel
