#include "RuntimeRelease.h"

namespace maravel::backend {

void ReleaseRuntimeMemory() {}

} // namespace maravel::backend
