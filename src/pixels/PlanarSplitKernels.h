// The split kernels, one per instruction set and source file. A kernel's file is compiled for its instruction
// set, so it includes nothing that defines inline functions of ours or of the standard library: the linker
// might keep that file's copy, and call it on a processor that lacks the instructions.
//
// How all of them work: a step takes three vectors of the same width from the source. Their widths in bytes
// leave the remainder 1 when divided by 3, so the bytes of one colour stand at different positions modulo 3
// in the three vectors: two blends collect all of a colour in one vector, and one shuffle puts them in order.
#pragma once

#include "pixels/StoreChoice.h"

#include <cstddef>
#include <cstdint>

namespace maravel {

struct SplitTarget
{
    std::uint8_t* red;
    std::uint8_t* green;
    std::uint8_t* blue;
};

using SplitKernel = void(const std::uint8_t* rgb, std::size_t pixelCount, SplitTarget target,
                         StoreKind stores) noexcept;

SplitKernel SplitPlain;
SplitKernel SplitSsse3;
SplitKernel SplitAvx2;
SplitKernel SplitAvx512Vbmi;

} // namespace maravel
