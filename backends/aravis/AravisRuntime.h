// The implementations of the runtime library's entry points over Aravis, as static members so that each has
// exactly its entry's signature. They are reached through the exported functions of RuntimeExports.cpp.
#pragma once

#include "backends/common/Dispatch.h"
#include "sdk/RuntimeEntryPoints.h"

namespace maravel::aravis {

struct AravisRuntime
{
    ZVK_RUNTIME_ENTRY_POINTS(MARAVEL_ENTRY_MEMBER)
};

} // namespace maravel::aravis
