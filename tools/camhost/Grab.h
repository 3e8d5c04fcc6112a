// Acquires images and writes them to files.
#pragma once

#include "CommandLine.h"
#include "host/Channel.h"

#include <vector>

namespace maravel::camhost {

// Runs all channels at the same time until each has delivered its images; prints a summary. Cameras are
// stopped however it ends, and images that arrived before are written. Throws Failure. A request to end the
// program ends it early.
void Grab(const std::vector<host::Channel>& channels, const Options& options);

} // namespace maravel::camhost
