// Host callbacks through which a host learns a camera's features. None of them opens a closed camera.
#pragma once

#include "maravel/VideoChannel.h"

#include <cstdint>

namespace maravel {

// The name at a position of the channel's sorted list. Past its end: failure without a message.
std::int32_t MARAVEL_CALL GetFeatureName(char* errorText, std::int64_t channelID, std::int32_t listIndex,
                                         char* nameText) noexcept;

// A feature's type as FeatureType...
std::int32_t MARAVEL_CALL GetFeatureType(char* errorText, std::int64_t channelID, const char* featureName,
                                         std::int32_t* featureType) noexcept;

// The entry at a position among an enumeration's entries that are available now. Past the last one: failure
// without a message.
std::int32_t MARAVEL_CALL GetValidEnum(char* errorText, std::int64_t channelID, const char* featureName,
                                       std::uint32_t entryIndex, char* entryText) noexcept;

// A feature's description or access, as attrKind (FeatureAttr...) asks.
std::int32_t MARAVEL_CALL GetFeatureAttr(char* errorText, std::int64_t channelID, const char* featureName,
                                         std::uint32_t attrKind, char* attrText) noexcept;

} // namespace maravel
