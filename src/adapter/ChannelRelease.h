// The end of a channel and of the whole adapter.
#pragma once

#include "adapter/AdapterState.h"
#include "maravel/VideoChannel.h"

#include <cstdint>

namespace maravel {

// Host callback: stops and closes the channel's camera, and shuts the adapter down when no camera is left
// open.
std::int32_t MARAVEL_CALL ReleaseVideoChannel(char* errorText, std::int64_t channelID) noexcept;

// Stops the SDK, unloads its libraries, forgets the cameras and closes the log. Safe when there is nothing to
// end.
void ShutdownAdapter() noexcept MARAVEL_REQUIRES(g_adapterMutex);

// Closes every camera that is still open, each named in the log under `routine`.
void CloseAllCameras(const char* routine) noexcept MARAVEL_REQUIRES(g_adapterMutex);

// Closes every camera that is still open and shuts the adapter down. Registered with the runtime's exit list;
// runs when the module is unloaded or the process ends, without g_adapterMutex: the host no longer calls in.
void Exit() noexcept;

} // namespace maravel
