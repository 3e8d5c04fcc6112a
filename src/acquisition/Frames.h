// What the steps of an acquisition share: the memory that a channel streams into, what becomes of a frame
// when the SDK has filled it, and how each pixel format reaches the host.
#pragma once

#include "core/AdapterState.h"
#include "maravel/VideoChannel.h"

#include <cstddef>
#include <cstdint>

namespace maravel {

// The host's pixel type for frames of this format: monochrome formats are delivered as they are, every other
// format is converted to RGB planes.
constexpr std::int32_t HostPixelType(ZvkPixelFormat_t format) noexcept
{
    return format == ZvkPixelFormatMono8          ? PixelTypeMono8
           : format == ZvkPixelFormatMono10       ? PixelTypeMono10
           : format == ZvkPixelFormatMono12       ? PixelTypeMono12
           : format == ZvkPixelFormatMono12Packed ? PixelTypeMono12Packed
           : format == ZvkPixelFormatMono14       ? PixelTypeMono14
           : format == ZvkPixelFormatMono16       ? PixelTypeMono16
                                                  : PixelTypeRgbPlanes;
}

constexpr bool IsDeliveredUnchanged(ZvkPixelFormat_t format) noexcept
{
    return HostPixelType(format) != PixelTypeRgbPlanes;
}

// Number of frame records for a payload of that many bytes: the larger the frames, the fewer.
constexpr std::size_t FrameCountFor(std::uint32_t payloadSize) noexcept
{
    return payloadSize <= 0x100000 ? 16 : payloadSize <= 0x800000 ? 8 : 4;
}

// Prepares a channel whose camera is open for streaming: its frame records, their buffers and context blocks,
// and the conversion image. Buffers stay from start to start while the payload size is the same. False, with
// a log line, when the camera cannot be asked or memory cannot be had, and while the channel captures with
// another payload size. Host threads.
bool AllocateVideoBuffers(std::int64_t channelIndex) MARAVEL_REQUIRES(g_adapterMutex);

// The callback of every frame that the adapter queues. Runs on the SDK's threads, possibly several at once;
// takes g_frameMutex and never g_adapterMutex. A complete frame of an acquiring camera goes to its channel's
// FIFO, an incomplete one back to the SDK; every other one is dropped, with a log line. Copies nothing,
// allocates nothing.
void FrameReceivedCallback(ZvkHandle_t cameraHandle, ZvkHandle_t streamHandle, ZvkFrame_t* frame) noexcept;

} // namespace maravel
