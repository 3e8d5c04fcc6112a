// Which instruction-set extensions may be used here: the processor has them and the system saves their
// registers.
#pragma once

namespace maravel {

struct ProcessorFeatures
{
    bool ssse3 = false;
    bool avx2 = false;
    bool avx512Vbmi = false; // with AVX-512 F and BW, and the system saving the 512-bit registers
};

// Asks the processor anew at every call (some 100 ns, under a hypervisor some microseconds). Any thread.
ProcessorFeatures DetectProcessorFeatures() noexcept;

} // namespace maravel
