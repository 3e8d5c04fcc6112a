// Acquires images and writes them to files.
#pragma once

#include "CommandLine.h"
#include "host/Channel.h"

#include <functional>
#include <vector>

namespace maravel::camhost {

// Runs all channels at the same time until each has delivered its images; prints a summary. Cameras are
// stopped however it ends, and images that arrived before are written. Throws Failure. A request to end the
// program ends it early.
// `restart` starts the adapter anew and gives its channels; for cameras that were lost.
using RestartAdapter = std::function<std::vector<host::Channel>()>;
void Grab(const std::vector<host::Channel>& channels, const RestartAdapter& restart, const Options& options);

} // namespace maravel::camhost
