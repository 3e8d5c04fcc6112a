// Faults on demand, for the simulated SDK.
#pragma once

#include <string>

namespace maravel::camhost {

// Has the faults happen in the SDK that ZORVIK_HOME names. Its library stays loaded to the end of the
// program, so that a plan goes on when the adapter is started anew. Throws Failure.
void SimulateFaults(const std::string& faults);

} // namespace maravel::camhost
