// The simulated SDK's implementations of the runtime library's entry points, as static members so that each
// has exactly its entry's signature. They are reached through the exported functions of RuntimeExports.cpp.
#pragma once

#include "backends/common/Dispatch.h"
#include "sdk/RuntimeEntryPoints.h"

namespace maravel::simulated {

struct SimulatedRuntime
{
    ZVK_RUNTIME_ENTRY_POINTS(MARAVEL_ENTRY_MEMBER)
};

backend::CallControl& EntryPointCalls();
void* OriginalEntry(std::size_t index);

} // namespace maravel::simulated
