// Acquires images and writes them to files.
#pragma once

#include "CommandLine.h"
#include "host/Channel.h"

#include <functional>
#include <vector>

namespace maravel::camhost {

// Starts the adapter anew and gives all its channels; for cameras that were lost.
using RestartAdapter = std::function<std::vector<host::Channel>()>;

// Runs some of all channels at the same time until each has delivered its images; prints a summary. Cameras
// are stopped however it ends, and images that arrived before are written. Throws Failure. A request to end
// the program ends it early.
void Grab(const std::vector<host::Channel>& all, const std::vector<host::Channel>& channels,
          const RestartAdapter& restart, const Options& options);

} // namespace maravel::camhost
