#include "pixels/InstructionSet.h"

#include "platform/ProcessorFeatures.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace maravel {
namespace {

struct InstructionSetRow
{
    const char* name;
    bool ProcessorFeatures::*feature; // null: needs none
};

const InstructionSetRow& RowOf(InstructionSet set) noexcept
{
    static constexpr InstructionSetRow kRows[] = {{"plain", nullptr},
                                                  {"ssse3", &ProcessorFeatures::ssse3},
                                                  {"avx2", &ProcessorFeatures::avx2},
                                                  {"avx512vbmi", &ProcessorFeatures::avx512Vbmi}};
    static_assert(std::size(kRows) == std::size(kInstructionSets));
    return kRows[static_cast<std::size_t>(set)];
}

std::atomic<InstructionSet>& Current() noexcept
{
    static std::atomic<InstructionSet> current{ChooseInstructionSet(std::getenv("MARAVEL_INSTRUCTION_SET"))};
    return current;
}

} // namespace

const char* InstructionSetName(InstructionSet set) noexcept
{
    return RowOf(set).name;
}

bool InstructionSetUsable(InstructionSet set) noexcept
{
    static const ProcessorFeatures features = DetectProcessorFeatures();
    return set == InstructionSet::Plain || features.*RowOf(set).feature;
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
