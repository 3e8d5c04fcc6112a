#pragma once

#include "adapter/AdapterState.h"
#include "maravel/VideoChannel.h"

#include <cstdint>

namespace maravel {

// Host callback: prepares and queues the channel's frames, starts the camera, and in the manual trigger mode
// fires one software trigger.
std::int32_t MARAVEL_CALL StartAcquisition(char* errorText, std::int64_t channelID) noexcept;

// Host callback: stops the camera, takes every frame back from the SDK and forgets those that wait.
std::int32_t MARAVEL_CALL StopAcquisition(char* errorText, std::int64_t channelID) noexcept;

// Host callback: tells whether an image waits.
std::int32_t MARAVEL_CALL QueryImageStatus(char* errorText, std::int64_t channelID,
                                           std::uint32_t* imageStatus) noexcept;

} // namespace maravel
