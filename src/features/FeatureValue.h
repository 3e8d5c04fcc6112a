#pragma once

#include "maravel/VideoChannel.h"

#include <cstdint>

namespace maravel {

// Host callback: reads a feature of any type as text.
std::int32_t MARAVEL_CALL ReadValue(char* errorText, std::int64_t channelID, const char* featureName,
                                    char* valueText) noexcept;

// Host callback: writes a feature of any type from text. Numbers are clamped to the feature's range. Texts of
// numbers have a point as decimal mark, whatever the host's locale.
std::int32_t MARAVEL_CALL WriteValue(char* errorText, std::int64_t channelID, const char* featureName,
                                     const char* valueText) noexcept;

} // namespace maravel
