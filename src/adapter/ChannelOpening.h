#pragma once

#include "adapter/AdapterState.h"
#include "maravel/VideoChannel.h"

#include <cstdint>

namespace maravel {

// Fills the descriptor and learns the camera's features; opens the camera for that and closes it again. False
// after a failure, with the first one's message in errorText. The index is below the number of cameras.
bool InitializeVideoChannel(char* errorText, VideoChannelDescriptor& descriptor, std::int32_t channelIndex)
    MARAVEL_REQUIRES(g_adapterMutex);

} // namespace maravel
