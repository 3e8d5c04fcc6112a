#pragma once

#include "maravel/VideoChannel.h"

#include <cstdint>

namespace maravel {

// Host callback: runs a command feature and waits until it is done, for a little over one second at most.
// Success means that it was started.
std::int32_t MARAVEL_CALL ExecuteCommand(char* errorText, std::int64_t channelID,
                                         const char* featureName) noexcept;

} // namespace maravel
