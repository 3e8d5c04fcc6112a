#include "pixels/InstructionSet.h"

#include "platform/ProcessorFeatures.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace maravel {
namespace {

std::atomic<InstructionSet>& Current() noexcept
{
    static std::atomic<InstructionSet> current{ChooseInstructionSet(std::getenv("MARAVEL_INSTRUCTION_SET"))};
    return current;
}

} // namespace

const char* InstructionSetName(InstructionSet set) noexcept
{
    switch (set) {
    case InstructionSet::Ssse3:
        return "ssse3";
    case InstructionSet::Avx2:
        return "avx2";
    case InstructionSet::Avx512Vbmi:
        return "avx512vbmi";
    case InstructionSet::Plain:
        break;
    }
    return "plain";
}

bool InstructionSetUsable(InstructionSet set) noexcept
{
    static const ProcessorFeatures features = DetectProcessorFeatures();
    switch (set) {
    case InstructionSet::Ssse3:
        return features.ssse3;
    case InstructionSet::Avx2:
        return features.avx2;
    case InstructionSet::Avx512Vbmi:
        return features.avx512Vbmi;
    case InstructionSet::Plain:
        break;
    }
    return true;
}

InstructionSet ChooseInstructionSet(const char* wanted) noexcept
{
    InstructionSet best = InstructionSet::Plain;
    for (const InstructionSet set : kInstructionSets) {
        if (!InstructionSetUsable(set)) {
            continue;
        }
        if (wanted != nullptr && std::strcmp(wanted, InstructionSetName(set)) == 0) {
            return set;
        }
        best = set;
    }
    return best;
}

InstructionSet CurrentInstructionSet() noexcept
{
    return Current().load(std::memory_order_relaxed);
}

bool ForceInstructionSet(InstructionSet set) noexcept
{
    if (!InstructionSetUsable(set)) {
        return false;
    }
    Current().store(set, std::memory_order_relaxed);
    return true;
}

} // namespace maravel
