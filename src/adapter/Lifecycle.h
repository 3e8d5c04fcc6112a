// The life of the adapter: start-up, channels handed out, shut-down, the end of the module. Host threads
// under g_adapterMutex, but for Exit.
#pragma once

#include "core/AdapterState.h"
#include "maravel/VideoChannel.h"

#include <cstdint>

namespace maravel {

// What the log calls the start-up and the hand-out of a channel.
inline constexpr const char* kEntry = "GetVideoChannel";

// Starts the adapter: log, probes, SDK libraries, SDK, camera list. An earlier start is released first.
// Whatever fails leaves the objects as far as they got, with a log line; the caller sees from them what is
// missing. May throw std::bad_alloc.
void StartAdapter() MARAVEL_REQUIRES(g_adapterMutex);

// Fills the descriptor and learns the camera's features; opens the camera for that and closes it again,
// however it ends. False after a failure, with a message in errorText unless it is the feature list that
// fails at its second reading. The index is below the number of cameras. May throw std::bad_alloc.
bool InitializeVideoChannel(char* errorText, VideoChannelDescriptor& descriptor, std::int32_t channelIndex)
    MARAVEL_REQUIRES(g_adapterMutex);

// Closes every camera that is still open, each named in the log under `routine`.
void CloseAllCameras(const char* routine, Patience patience) noexcept MARAVEL_REQUIRES(g_adapterMutex);

// Stops the SDK, unloads its libraries, forgets the cameras and closes the log. Safe when there is nothing to
// end.
void ShutdownAdapter(Patience patience) noexcept MARAVEL_REQUIRES(g_adapterMutex);

// Closes every camera that is still open and shuts the adapter down. Registered with the runtime's exit list;
// runs when the module is unloaded or the process ends, without g_adapterMutex: the host no longer calls in.
void Exit() noexcept;

} // namespace maravel
