#include "imagetransform/RowKernels.h"

#include "pixels/InstructionSet.h"

#include <atomic>
#include <cstring>

namespace maravel::imagetransform {
namespace {

// Does nothing, so that the plain code does everything.
constexpr RowKernels kPlain = {
    .unpack = [](const SampleLayout&, const std::uint8_t*, std::size_t, std::size_t,
                 std::uint8_t*) -> std::size_t { return 0; },
    .order = [](const ChannelOrder&, const std::uint8_t*, std::size_t, std::size_t,
                std::uint8_t*) -> std::size_t { return 0; },
    .yuv = [](const YuvLayout&, const YuvMatrix&, const std::uint8_t*, std::size_t, std::size_t, bool,
              std::uint8_t*) -> std::size_t { return 0; },
    .bilinear = [](const MosaicLines& lines, std::uint8_t*) { return lines.firstOwn; },
    .gradientCorrected = [](const MosaicLines& lines, std::uint8_t*) { return lines.firstOwn; }};

const RowKernels* KernelsFor(InstructionSet set)
{
    if (set == InstructionSet::Plain) {
        return &kPlain;
    }
    return InstructionSetUsable(set) ? VectorKernels(InstructionSetName(set)) : nullptr;
}

const RowKernels* FastestUpTo(InstructionSet highest)
{
    const RowKernels* fastest = &kPlain;
    for (const InstructionSet set : kInstructionSets) {
        const RowKernels* kernels = set <= highest ? KernelsFor(set) : nullptr;
        fastest = kernels != nullptr ? kernels : fastest;
    }
    return fastest;
}

constinit std::atomic<const RowKernels*> g_chosen{nullptr};

} // namespace

const RowKernels& ChosenKernels()
{
    const RowKernels* chosen = g_chosen.load(std::memory_order_relaxed);
    if (chosen == nullptr) {
        chosen = FastestUpTo(CurrentInstructionSet());
        g_chosen.store(chosen, std::memory_order_relaxed);
    }
    return *chosen;
}

bool ChooseKernels(const char* instructionSet)
{
    if (instructionSet == nullptr) {
        g_chosen.store(nullptr, std::memory_order_relaxed);
        return true;
    }
    for (const InstructionSet set : kInstructionSets) {
        const RowKernels* kernels = KernelsFor(set);
        if (kernels != nullptr && std::strcmp(instructionSet, InstructionSetName(set)) == 0) {
            g_chosen.store(kernels, std::memory_order_relaxed);
            return true;
        }
    }
    return false;
}

} // namespace maravel::imagetransform
