#include "acquisition/Frames.h"

#include "core/HostCall.h"
#include "sdk/Names.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <vector>

namespace maravel {

namespace {

constexpr const char* kAlloc = "AllocateVideoBuffers";

static_assert(FrameCountFor(0) <= MaxFramesPerChannel);

// The channel's records, out of reach of the SDK's threads for as long as this lives: memory is had and freed
// without g_frameMutex, for which the frames of all other cameras would wait.
class RecordsAside
{
public:
    explicit RecordsAside(VideoChannelData& channel) : channel_(channel) { Exchange(); }
    RecordsAside(const RecordsAside&) = delete;
    RecordsAside& operator=(const RecordsAside&) = delete;
    ~RecordsAside() { Exchange(); }

    std::vector<ZvkFrame_t> frames;

private:
    void Exchange()
    {
        const MutexLock lock(g_frameMutex);
        frames.swap(channel_.frames);
    }

    VideoChannelData& channel_;
};

// Gives the record a buffer of payloadSize bytes and its context block; false when memory cannot be had.
bool PrepareFrame(ZvkFrame_t& frame, std::uint32_t payloadSize, FrameContext wanted)
{
    if (frame.bufferSize != payloadSize) {
        std::free(frame.buffer); // and not resized: nobody wants the old pixels copied
        frame.bufferSize = 0;
        frame.buffer = std::malloc(payloadSize);
        if (frame.buffer == nullptr) {
            return false;
        }
        frame.bufferSize = payloadSize;
    }
    if (frame.context[0] == nullptr) {
        frame.context[0] = std::malloc(sizeof(FrameContext));
        if (frame.context[0] == nullptr) {
            return false;
        }
    }
    *ContextOf(frame) = wanted;
    return true;
}

// Whether the channel's records are just the ones that the payload asks for. They may be announced: the SDK's
// threads read them, so they are looked at only.
bool AreFramesPrepared(const VideoChannelData& channel, std::uint32_t payloadSize)
{
    return channel.frames.size() == FrameCountFor(payloadSize) &&
           std::all_of(channel.frames.begin(), channel.frames.end(), [&](const ZvkFrame_t& frame) {
               return frame.bufferSize == payloadSize && frame.context[0] != nullptr;
           });
}

// Brings the channel's records to the number and size that the payload asks for.
bool PrepareFrames(VideoChannelData& channel, std::uint64_t channelIndex, std::uint32_t payloadSize)
{
    if (AreFramesPrepared(channel, payloadSize)) {
        return true;
    }
    RecordsAside aside(channel);
    const std::size_t count = FrameCountFor(payloadSize);
    while (aside.frames.size() > count) {
        ReleaseFrameMemory(aside.frames.back());
        aside.frames.pop_back();
    }
    aside.frames.resize(count);
    std::uint32_t bufferIndex = 0;
    for (ZvkFrame_t& frame : aside.frames) {
        if (!PrepareFrame(frame, payloadSize, {channelIndex, bufferIndex})) {
            return false;
        }
        ++bufferIndex;
    }
    channel.payloadSize = payloadSize;
    return true;
}

// Reads the payload size and brings the frame records into line with it.
bool PrepareRecords(const CZorvikAPIAccess& api, VideoChannelData& channel, long long channelID)
    MARAVEL_REQUIRES(g_adapterMutex)
{
    std::uint32_t payloadSize = 0;
    if (api.ZvkPayloadSizeGet(channel.cameraHandle, &payloadSize) != ZvkErrorSuccess) {
        WriteLog(__LINE__, "%s: ERROR. Invalid channelID=%lld. Available cameras=%d.\n", kAlloc, channelID,
                 static_cast<int>(g_adapterData->cameraCount));
        return false;
    }
    // The SDK writes into announced buffers, so their size stands until they are revoked.
    if (channel.bAcquisitionStarted && payloadSize != channel.payloadSize) {
        WriteLog(
            __LINE__,
            "%s: ERROR. channelID=%lld. Payload size changed from %u to %u bytes while capturing. Stop first.\n",
            kAlloc, channelID, channel.payloadSize, payloadSize);
        return false;
    }
    if (payloadSize == 0) {
        WriteLog(__LINE__, "%s: ERROR. channelID=%lld. The camera's payload size is 0 bytes.\n", kAlloc,
                 channelID);
        return false;
    }
    if (!PrepareFrames(channel, static_cast<std::uint64_t>(channelID), payloadSize)) {
        WriteLog(__LINE__, "%s: ERROR. channelID=%lld. No memory for frames of %u bytes.\n", kAlloc,
                 channelID, payloadSize);
        return false;
    }
    return true;
}

bool ReadPixelFormat(const CZorvikAPIAccess& api, VideoChannelData& channel, long long channelID)
{
    const char* entry = nullptr;
    ZvkError_t result = api.ZvkFeatureEnumGet(channel.cameraHandle, "PixelFormat", &entry);
    if (result != ZvkErrorSuccess) {
        WriteLog(__LINE__, "%s: ERROR. channelID=%lld. ZvkFeatureEnumGet 'PixelFormat'. Reason=%s (%d)\n",
                 kAlloc, channelID, ErrorCodeName(result), result);
        return false;
    }
    std::int64_t value = 0;
    result = api.ZvkFeatureEnumAsInt(channel.cameraHandle, "PixelFormat", TextOrEmpty(entry), &value);
    if (result != ZvkErrorSuccess) {
        WriteLog(__LINE__, "%s: ERROR. channelID=%lld. ZvkFeatureEnumAsInt 'PixelFormat'. Reason=%s (%d)\n",
                 kAlloc, channelID, ErrorCodeName(result), result);
        return false;
    }
    channel.pixelFormat = static_cast<ZvkPixelFormat_t>(value);
    WriteLog(__LINE__, "%s: Incoming video format: %s Channel: %d Camera: 0x%08X\n", kAlloc,
             PixelFormatName(channel.pixelFormat), static_cast<int>(channelID),
             HandleBits(channel.cameraHandle));
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
                       VideoChannelData& channel, long long channelID)
{
    std::int64_t width = 0;
    ZvkError_t result = api.ZvkFeatureIntGet(channel.cameraHandle, "Width", &width);
    if (result != ZvkErrorSuccess) {
        WriteLog(__LINE__, "%s: ERROR. channelID=%d. ZvkFeatureEnumAsInt 'Width'. Reason=%s (%d)\n", kAlloc,
                 static_cast<int>(channelID), ErrorCodeName(result), result);
        return false;
    }
    std::int64_t height = 0;
    if (api.ZvkFeatureIntGet(channel.cameraHandle, "Height", &height) != ZvkErrorSuccess) {
        return false;
    }
    const std::size_t size = Rgb8Size(width, height);
    if (size != channel.convertedSize || size == 0) {
        ReleaseConvertedImage(channel);
        channel.convertedImage.data = size > 0 ? std::malloc(size) : nullptr;
        if (channel.convertedImage.data == nullptr) {
            WriteLog(__LINE__,
                     "%s: ERROR. channelID=%lld. No memory for a converted image of %lld x %lld pixels.\n",
                     kAlloc, channelID, static_cast<long long>(width), static_cast<long long>(height));
            return false;
        }
        channel.convertedSize = size;
    }
    channel.convertedImage.size = sizeof(ZvkImage);
    result =
        transform.ZvkSetImageInfoFromPixelFormat(ZvkPixelFormatRgb8, static_cast<std::uint32_t>(width),
                                                 static_cast<std::uint32_t>(height), &channel.convertedImage);
    if (result != ZvkErrorSuccess) {
        WriteLog(__LINE__, "%s: ERROR. channelID=%lld. ZvkSetImageInfoFromPixelFormat. Reason=%s (%d)\n",
                 kAlloc, channelID, ErrorCodeName(result), result);
        return false;
    }
    return true;
}

} // namespace

bool AllocateVideoBuffers(std::int64_t channelIndex)
{
    const auto channelID = static_cast<long long>(channelIndex);
    WriteLog(__LINE__, "%s: channelID=%lld\n", kAlloc, channelID);
    if (g_apiAccess == nullptr || g_adapterData == nullptr || g_imageTransformAccess == nullptr) {
        WriteLog(__LINE__, "%s: ERROR. Invalid class pointer.\n", kAlloc);
        return false;
    }
    VideoChannelData* const channel = FindChannel(channelIndex);
    if (channel == nullptr || !PrepareRecords(*g_apiAccess, *channel, channelID) ||
        !ReadPixelFormat(*g_apiAccess, *channel, channelID)) {
        return false;
    }
    if (IsDeliveredUnchanged(channel->pixelFormat)) {
        ReleaseConvertedImage(*channel);
        return true;
    }
    return PrepareConversion(*g_apiAccess, *g_imageTransformAccess, *channel, channelID);
}

} // namespace maravel
