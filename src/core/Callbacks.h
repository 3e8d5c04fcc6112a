// The fourteen callbacks that a host finds in its channel descriptor. All are called on host threads, take
// the host's text buffer of 256 characters and the channel's index first, answer MARAVEL_SUCCESS or
// MARAVEL_FAILURE with a text, throw nothing, and are served one at a time. Each is defined with the work
// that it does.
#pragma once

#include "maravel/VideoChannel.h"

#include <cstdint>

namespace maravel {

// Writes the callbacks into the record, each into the slot of its name; the five extended ones only into a
// record whose structSize says that it has them.
void FillCallbacks(VideoChannelDescriptor& descriptor) noexcept;

// Applies exposure, trigger mode, trigger edge and region of interest to the channel's camera.
std::int32_t MARAVEL_CALL SetupCommonParams(char* errorText, std::int64_t channelID,
                                            const CommonParams* params) noexcept;

// Describes the oldest frame that waits; it stays waiting.
std::int32_t MARAVEL_CALL GetImageAttributes(char* errorText, std::int64_t channelID,
                                             ImageAttributes* attributes,
                                             std::uint32_t* imageStatus) noexcept;

// Tells whether an image waits. Always succeeds, and uses no text.
std::int32_t MARAVEL_CALL QueryImageStatus(char* errorText, std::int64_t channelID,
                                           std::uint32_t* imageStatus) noexcept;

// Writes the oldest frame that waits into the host's memory, as it is or as RGB planes, and gives the frame
// back to the SDK.
std::int32_t MARAVEL_CALL GetImage(char* errorText, std::int64_t channelID, void* destination,
                                   std::uint32_t* imageStatus) noexcept;

// Prepares and queues the channel's frames, starts the camera, and in the manual trigger mode fires one
// software trigger.
std::int32_t MARAVEL_CALL StartAcquisition(char* errorText, std::int64_t channelID) noexcept;

// Stops the camera, takes every frame back from the SDK and forgets those that wait.
std::int32_t MARAVEL_CALL StopAcquisition(char* errorText, std::int64_t channelID) noexcept;

// Runs a command feature and waits until it is done, for a little over one second at most. Success means that
// it was started.
std::int32_t MARAVEL_CALL ExecuteCommand(char* errorText, std::int64_t channelID,
                                         const char* featureName) noexcept;

// Reads a feature of any type as text.
std::int32_t MARAVEL_CALL ReadValue(char* errorText, std::int64_t channelID, const char* featureName,
                                    char* valueText) noexcept;

// Writes a feature of any type from text. Numbers are clamped to the feature's range. Texts of numbers have a
// point as decimal mark, whatever the host's locale.
std::int32_t MARAVEL_CALL WriteValue(char* errorText, std::int64_t channelID, const char* featureName,
                                     const char* valueText) noexcept;

// The following four open no closed camera.

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

// Stops and closes the channel's camera, and shuts the adapter down when no camera is left open.
std::int32_t MARAVEL_CALL ReleaseVideoChannel(char* errorText, std::int64_t channelID) noexcept;

} // namespace maravel
