// Reads the adapter's log.
#pragma once

#include "CommandLine.h"

namespace maravel::camhost {

// Returns the exit code. Throws Failure.
int ShowLog(const Options& options);

} // namespace maravel::camhost
