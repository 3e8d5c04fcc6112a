#include "acquisition/FrameBuffers.h"

#include "acquisition/DeliveredFormats.h"
#include "adapter/HostCall.h"
#include "diag/Log.h"
#include "sdk/PixelFormatNames.h"
#include "sdk/ResultNames.h"

#include <cstdlib>
#include <limits>

namespace maravel {

namespace {

constexpr const char* kName = "AllocateVideoBuffers";

static_assert(FrameCountFor(0) <= MaxFramesPerChannel);

// Gives the record a buffer of payloadSize bytes and its context block; false when memory cannot be had. A
// record that fits already is not written to: the SDK's threads may be reading it.
bool PrepareFrame(ZvkFrame_t& frame, std::uint32_t payloadSize, FrameContext wanted)
{
    if (frame.bufferSize != payloadSize) {
        void* buffer = std::realloc(frame.buffer, payloadSize);
        if (buffer == nullptr) {
            return false;
        }
        frame.buffer = buffer;
        frame.bufferSize = payloadSize;
    }
    if (frame.context[0] == nullptr) {
        frame.context[0] = std::realloc(nullptr, sizeof(FrameContext));
        if (frame.context[0] == nullptr) {
            return false;
        }
        *static_cast<FrameContext*>(frame.context[0]) = wanted;
    }
    FrameContext& context = *static_cast<FrameContext*>(frame.context[0]);
    if (context.channelIndex != wanted.channelIndex) {
        context.channelIndex = wanted.channelIndex;
    }
    if (context.bufferIndex != wanted.bufferIndex) {
        context.bufferIndex = wanted.bufferIndex;
    }
    return true;
}

// Brings the channel's records to the number and size that the payload asks for.
bool PrepareFrames(VideoChannelData& channel, std::uint64_t channelIndex, std::uint32_t payloadSize)
{
    const MutexLock lock(g_frameMutex);
    const std::size_t count = FrameCountFor(payloadSize);
    while (channel.frames.size() < count) {
        channel.frames.push_back({});
    }
    while (channel.frames.size() > count) {
        ReleaseFrameMemory(channel.frames.back());
        channel.frames.pop_back();
    }
    std::uint32_t bufferIndex = 0;
    for (ZvkFrame_t& frame : channel.frames) {
        if (!PrepareFrame(frame, payloadSize, {channelIndex, bufferIndex})) {
            return false;
        }
        ++bufferIndex;
    }
    channel.payloadSize = payloadSize;
    return true;
}

// Bytes of an RGB8 image; 0 for a size that no image has.
std::size_t Rgb8Size(std::int64_t width, std::int64_t height)
{
    // Sides of 31 bits: the product fits.
    const auto isSide = [](std::int64_t side) {
        return side > 0 && side <= std::numeric_limits<std::int32_t>::max();
    };
    return isSide(width) && isSide(height)
               ? static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3
               : 0;
}

// Makes the conversion image an RGB8 image of the camera's current size.
bool PrepareConversion(const CZorvikAPIAccess& api, const CHVNImageTransformAPIAccess& transform,
                       VideoChannelData& channel, std::int64_t channelIndex)
{
    std::int64_t width = 0;
    ZvkError_t result = api.ZvkFeatureIntGet(channel.cameraHandle, "Width", &width);
    if (result != ZvkErrorSuccess) {
        WriteLog(__LINE__, "%s: ERROR. channelID=%d. ZvkFeatureEnumAsInt 'Width'. Reason=%s (%d)\n", kName,
                 static_cast<int>(channelIndex), ErrorCodeName(result), result);
        return false;
    }
    std::int64_t height = 0;
    if (api.ZvkFeatureIntGet(channel.cameraHandle, "Height", &height) != ZvkErrorSuccess) {
        return false;
    }
    const std::size_t size = Rgb8Size(width, height);
    void* data = size > 0 ? std::realloc(channel.convertedImage.data, size) : nullptr;
    if (data == nullptr) {
        WriteLog(__LINE__,
                 "%s: ERROR. channelID=%lld. No memory for a converted image of %lld x %lld pixels.\n", kName,
                 static_cast<long long>(channelIndex), static_cast<long long>(width),
                 static_cast<long long>(height));
        return false;
    }
    channel.convertedImage.size = sizeof(ZvkImage);
    channel.convertedImage.data = data;
    channel.convertedSize = size;
    result =
        transform.ZvkSetImageInfoFromPixelFormat(ZvkPixelFormatRgb8, static_cast<std::uint32_t>(width),
                                                 static_cast<std::uint32_t>(height), &channel.convertedImage);
    if (result != ZvkErrorSuccess) {
        WriteLog(__LINE__, "%s: ERROR. channelID=%lld. ZvkSetImageInfoFromPixelFormat. Reason=%s (%d)\n",
                 kName, static_cast<long long>(channelIndex), ErrorCodeName(result), result);
        return false;
    }
    return true;
}

} // namespace

bool AllocateVideoBuffers(std::int64_t channelIndex)
{
    const auto channelID = static_cast<long long>(channelIndex);
    WriteLog(__LINE__, "%s: channelID=%lld\n", kName, channelID);
    if (g_apiAccess == nullptr || g_adapterData == nullptr || g_imageTransformAccess == nullptr) {
        WriteLog(__LINE__, "%s: ERROR. Invalid class pointer.\n", kName);
        return false;
    }
    VideoChannelData* const found = FindChannel(channelIndex);
    if (found == nullptr) {
        return false;
    }
    VideoChannelData& channel = *found;
    const CZorvikAPIAccess& api = *g_apiAccess;

    std::uint32_t payloadSize = 0;
    if (api.ZvkPayloadSizeGet(channel.cameraHandle, &payloadSize) != ZvkErrorSuccess) {
        WriteLog(__LINE__, "%s: ERROR. Invalid channelID=%lld. Available cameras=%d.\n", kName, channelID,
                 static_cast<int>(g_adapterData->cameraCount));
        return false;
    }
    // The SDK writes into announced buffers, so their size stands until they are revoked.
    if (channel.bAcquisitionStarted && payloadSize != channel.payloadSize) {
        WriteLog(
            __LINE__,
            "%s: ERROR. channelID=%lld. Payload size changed from %u to %u bytes while capturing. Stop first.\n",
            kName, channelID, channel.payloadSize, payloadSize);
        return false;
    }
    if (payloadSize == 0 || !PrepareFrames(channel, static_cast<std::uint64_t>(channelIndex), payloadSize)) {
        WriteLog(__LINE__, "%s: ERROR. channelID=%lld. No memory for frames of %u bytes.\n", kName, channelID,
                 payloadSize);
        return false;
    }

    const char* entry = nullptr;
    ZvkError_t result = api.ZvkFeatureEnumGet(channel.cameraHandle, "PixelFormat", &entry);
    if (result != ZvkErrorSuccess) {
        WriteLog(__LINE__, "%s: ERROR. channelID=%lld. ZvkFeatureEnumGet 'PixelFormat'. Reason=%s (%d)\n",
                 kName, channelID, ErrorCodeName(result), result);
        return false;
    }
    std::int64_t formatValue = 0;
    result = api.ZvkFeatureEnumAsInt(channel.cameraHandle, "PixelFormat", TextOrEmpty(entry), &formatValue);
    if (result != ZvkErrorSuccess) {
        WriteLog(__LINE__, "%s: ERROR. channelID=%lld. ZvkFeatureEnumAsInt 'PixelFormat'. Reason=%s (%d)\n",
                 kName, channelID, ErrorCodeName(result), result);
        return false;
    }
    const auto format = static_cast<ZvkPixelFormat_t>(formatValue);
    WriteLog(__LINE__, "%s: Incoming video format: %s Channel: %d Camera: 0x%08X\n", kName,
             PixelFormatName(format), static_cast<int>(channelIndex), HandleBits(channel.cameraHandle));
    if (IsDeliveredUnchanged(format)) {
        ReleaseConvertedImage(channel);
        return true;
    }
    return PrepareConversion(api, *g_imageTransformAccess, channel, channelIndex);
}

} // namespace maravel
