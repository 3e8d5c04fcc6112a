#pragma once

#include "sdk/ZorvikApiAccess.h"

namespace maravel {

// Asks the first stream of an open camera to negotiate the largest GigE Vision packet size that the network
// path allows, waits for that (a little over two seconds at most) and logs the size. Does nothing on a stream
// without such a command. The caller holds g_adapterMutex.
void GigEAdjustPacketSize(const CZorvikAPIAccess& api, ZvkHandle_t cameraHandle);

} // namespace maravel
