// The command `view`.
#pragma once

#include "camhost/CommandLine.h"
#include "host/Channel.h"

#include <vector>

namespace maravel::view {

// Serves the page with some of all channels until someone ends the program. Throws Failure.
void ShowLive(const std::vector<host::Channel>& all, const std::vector<host::Channel>& channels,
              const camhost::Options& options);

} // namespace maravel::view
