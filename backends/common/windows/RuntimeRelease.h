// What the compiler's own runtime library, linked into ours, keeps from the system.
#pragma once

namespace maravel::backend {

// Gives it back; called when the library is unloaded and the process lives on.
void ReleaseRuntimeMemory();

} // namespace maravel::backend
