// The exported functions.
#include "AravisRuntime.h"

namespace maravel::aravis {

backend::CallControl& EntryPointCalls();
void* OriginalEntry(std::size_t index);

// Only a debugger reads the last calls here. A longer record would fill over the first hours and look like a
// leak.
MARAVEL_SERVE_ENTRY_POINTS(ZVK_RUNTIME_ENTRY_POINTS, AravisRuntime, 16)

} // namespace maravel::aravis
