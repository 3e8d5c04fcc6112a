// Large pictures are converted by several threads at the same time, each taking one band of rows after
// another. The result does not depend on how many there are.
#pragma once

#include "imagetransform/Conversions.h"

namespace maravel::imagetransform {

void Convert(const Conversion& conversion);

// For tests and benchmarks: from now on that many threads, the caller's included, share every picture,
// however small. 0: as configured.
void UseThreads(unsigned threads);

} // namespace maravel::imagetransform
