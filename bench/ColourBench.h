// The speed of the image-transform library: every pixel format to RGB8, against the C library's copy of as
// many bytes and against peers that the caller brings.
#pragma once

#include "bench/Arena.h"
#include "bench/KernelBench.h"
#include "bench/Report.h"

namespace maravel::bench {

// Images of 5 MP, each in other memory than those before it; the target is always the same one, as that of
// the adapter is. Single-threaded.
void MeasureColour(Arena& arena, const KernelBenchSettings& settings, Report& report);

} // namespace maravel::bench
