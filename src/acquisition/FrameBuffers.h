// The memory that a channel streams into. Host threads under g_adapterMutex.
#pragma once

#include "core/AdapterState.h"

#include <cstddef>
#include <cstdint>

namespace maravel {

// Number of frame records for a payload of that many bytes: the larger the frames, the fewer.
constexpr std::size_t FrameCountFor(std::uint32_t payloadSize) noexcept
{
    return payloadSize <= 0x100000 ? 16 : payloadSize <= 0x800000 ? 8 : 4;
}

// Prepares a channel whose camera is open for streaming: its frame records, their buffers and context blocks,
// and the conversion image. Buffers stay from start to start while the payload size is the same. False, with
// a log line, when the camera cannot be asked or memory cannot be had, and while the channel captures with
// another payload size.
bool AllocateVideoBuffers(std::int64_t channelIndex) MARAVEL_REQUIRES(g_adapterMutex);

} // namespace maravel
