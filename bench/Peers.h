// Well-known libraries that split colours too. Linked to the benchmark program only.
#pragma once

#include "bench/KernelBench.h"

namespace maravel::bench {

std::vector<SplitPeer> SplitPeers();

} // namespace maravel::bench
