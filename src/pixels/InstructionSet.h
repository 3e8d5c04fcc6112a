// The instruction set that the image kernels work with, chosen once for the process.
#pragma once

namespace maravel {

// Each one is faster than those before it.
enum class InstructionSet
{
    Plain,
    Ssse3,
    Avx2,
    Avx512Vbmi
};

inline constexpr InstructionSet kInstructionSets[] = {InstructionSet::Plain, InstructionSet::Ssse3,
                                                      InstructionSet::Avx2, InstructionSet::Avx512Vbmi};

// "plain", "ssse3", "avx2" or "avx512vbmi".
const char* InstructionSetName(InstructionSet set) noexcept;

// Whether processor and system allow the set.
bool InstructionSetUsable(InstructionSet set) noexcept;

// The set of that name when it is usable, otherwise (also for null) the fastest usable one.
InstructionSet ChooseInstructionSet(const char* wanted) noexcept;

// The set in use. At the first call it is chosen by the environment variable MARAVEL_INSTRUCTION_SET, with
// which support can rule a kernel out. Any thread.
InstructionSet CurrentInstructionSet() noexcept;

// For tests and benchmarks: uses this set from now on. Returns whether it is usable; when not, nothing
// changes. Any thread; calls under way keep their set.
bool ForceInstructionSet(InstructionSet set) noexcept;

} // namespace maravel
