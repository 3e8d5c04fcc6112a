// What becomes of a frame when the SDK has filled it. The SDK's threads.
#pragma once

#include "sdk/ZvkTypes.h"

namespace maravel {

// The callback of every frame that the adapter queues. Runs on the SDK's threads, possibly several at once;
// takes g_frameMutex and never g_adapterMutex. A complete frame of an acquiring camera goes to its channel's
// FIFO, an incomplete one back to the SDK; every other one is dropped, with a log line. Copies nothing,
// allocates nothing.
void FrameReceivedCallback(ZvkHandle_t cameraHandle, ZvkHandle_t streamHandle, ZvkFrame_t* frame) noexcept;

} // namespace maravel
