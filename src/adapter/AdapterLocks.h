// The adapter's two mutexes. Both live as long as the module.
#pragma once

#include "adapter/Mutex.h"

namespace maravel {

// Held by GetVideoChannel and by every host callback for its whole run. Taken before g_frameMutex where both
// are needed.
extern Mutex g_adapterMutex;

// Held by the SDK's frame callback, and by host entries only around what they do with the set of acquiring
// cameras and with a channel's FIFO and counters. No host entry calls the SDK while it holds it: the SDK may
// be waiting for a callback that waits for this mutex.
extern Mutex g_frameMutex;

} // namespace maravel
