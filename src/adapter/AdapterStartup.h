#pragma once

#include "adapter/AdapterState.h"

namespace maravel {

// Starts the adapter: log, probes, SDK libraries, SDK, camera list. An earlier start is released first.
// Whatever fails leaves the objects as far as they got, with a log line; the caller sees from them what is
// missing. May throw std::bad_alloc.
void StartAdapter() MARAVEL_REQUIRES(g_adapterMutex);

} // namespace maravel
