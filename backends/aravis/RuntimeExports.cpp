// The exported functions.
#include "AravisRuntime.h"

namespace maravel::aravis {

backend::CallControl& EntryPointCalls();
void* OriginalEntry(std::size_t index);

MARAVEL_SERVE_ENTRY_POINTS(ZVK_RUNTIME_ENTRY_POINTS, AravisRuntime)

} // namespace maravel::aravis
