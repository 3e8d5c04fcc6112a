// Well-known libraries that split and convert colours too. Linked to the benchmark program only.
#pragma once

#include "bench/KernelBench.h"

namespace maravel::bench {

std::vector<SplitPeer> SplitPeers();

// Peers do not unpack: of packed pixels they get words, which is less work. Where none reads a format, one
// that reads as many bytes of a like format stands for it.
std::vector<ColourPeer> ColourPeers(std::uint32_t format, bool edgeAware);

} // namespace maravel::bench
