#pragma once

#include "maravel/VideoChannel.h"

#include <cstdint>

namespace maravel {

// Host callback: applies exposure, trigger mode, trigger edge and region of interest to the channel's camera.
std::int32_t MARAVEL_CALL SetupCommonParams(char* errorText, std::int64_t channelID,
                                            const CommonParams* params) noexcept;

} // namespace maravel
