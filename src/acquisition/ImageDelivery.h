#pragma once

#include "maravel/VideoChannel.h"

#include <cstdint>

namespace maravel {

// Host callback: describes the oldest frame that waits; it stays waiting.
std::int32_t MARAVEL_CALL GetImageAttributes(char* errorText, std::int64_t channelID,
                                             ImageAttributes* attributes,
                                             std::uint32_t* imageStatus) noexcept;

// Host callback: writes the oldest frame that waits into the host's memory, as it is or as RGB planes, and
// gives the frame back to the SDK.
std::int32_t MARAVEL_CALL GetImage(char* errorText, std::int64_t channelID, void* destination,
                                   std::uint32_t* imageStatus) noexcept;

} // namespace maravel
