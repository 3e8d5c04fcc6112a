#include "acquisition/ImageDelivery.h"

#include "acquisition/DeliveredFormats.h"
#include "acquisition/FrameReception.h"
#include "acquisition/PayloadCopy.h"
#include "acquisition/PlanarSplit.h"
#include "adapter/HostCall.h"
#include "sdk/ResultNames.h"

#include <cstddef>
#include <limits>

namespace maravel {

namespace {

constexpr const char* kAttributes = "GetImageAttributes";
constexpr const char* kImage = "GetImage";

// Hosts whose record ends here know no time stamp.
constexpr std::int32_t kSizeWithoutTimestamp = 44;

void FillAttributes(const ZvkFrame_t& frame, ImageAttributes& attributes)
{
    attributes.width = static_cast<std::int32_t>(frame.width);
    attributes.height = static_cast<std::int32_t>(frame.height);
    attributes.regionX = 0;
    attributes.regionY = 0;
    attributes.regionWidth = attributes.width;
    attributes.regionHeight = attributes.height;
    attributes.offsetX = static_cast<std::int32_t>(frame.offsetX);
    attributes.offsetY = static_cast<std::int32_t>(frame.offsetY);
    WriteLog(__LINE__, "%s: INFO offsetX=%d, offsetY=%d, width=%d, height=%d\n", kAttributes,
             attributes.offsetX, attributes.offsetY, attributes.width, attributes.height);
    attributes.pixelType = HostPixelType(frame.pixelFormat);
    attributes.pitch = attributes.width;
    if (attributes.structSize > kSizeWithoutTimestamp) {
        attributes.timestamp = frame.timestamp;
    }
}

std::int32_t Describe(const ChannelCall& call, ImageAttributes& attributes, std::uint32_t& imageStatus)
{
    const ZvkFrame_t* frame = nullptr;
    {
        const MutexLock lock(g_frameMutex);
        if (!call.channel.fifo.IsEmpty()) {
            frame = call.channel.fifo.Oldest();
        }
    }
    if (frame == nullptr) {
        imageStatus = ImageStatusPending;
        return MARAVEL_SUCCESS;
    }
    FillAttributes(*frame, attributes);
    imageStatus = ImageStatusReady;
    return MARAVEL_SUCCESS;
}

// Whether the pixels that the frame claims lie in its buffer and fit into the conversion image. PFNC codes
// hold the bits of a pixel in bits 16 to 23.
bool FitsBuffers(const ZvkFrame_t& frame, const VideoChannelData& channel)
{
    const std::uint64_t pixels = std::uint64_t{frame.width} * frame.height;
    const std::uint64_t bitsPerPixel = frame.pixelFormat >> 16 & 0xFF;
    const std::uint64_t bufferBits = std::uint64_t{channel.payloadSize} * 8;
    return (bitsPerPixel == 0 || pixels <= bufferBits / bitsPerPixel) && pixels <= channel.convertedSize / 3;
}

// Converts the frame and writes it as planes. Whatever fails leaves the destination as it was; the frame is
// then lost for the host, with a log line.
void DeliverConverted(const CHVNImageTransformAPIAccess& transform, const ChannelCall& call,
                      const ZvkFrame_t& frame, std::uint8_t* destination)
{
    VideoChannelData& channel = call.channel;
    if (!FitsBuffers(frame, channel)) {
        WriteLog(
            __LINE__,
            "%s: ERROR. Frame of %u x %u pixels, format 0x%08X, does not fit its buffer of %u bytes. channelID=%lld.\n",
            kImage, frame.width, frame.height, frame.pixelFormat, channel.payloadSize, call.channelID);
        return;
    }
    ZvkImage source = {};
    source.size = sizeof source;
    source.data = frame.buffer;
    ZvkError_t result =
        transform.ZvkSetImageInfoFromPixelFormat(frame.pixelFormat, frame.width, frame.height, &source);
    if (result != ZvkErrorSuccess) {
        WriteLog(__LINE__, "%s: ERROR. ZvkSetImageInfoFromPixelFormat failed. Reason=%s (%d)\n", kImage,
                 ErrorCodeName(result), result);
        return;
    }
    result = transform.ZvkImageTransform(&source, &channel.convertedImage, nullptr, 0);
    if (result != ZvkErrorSuccess) {
        WriteLog(__LINE__, "%s: ERROR. ZvkImageTransform failed. Reason=%s (%d)\n", kImage,
                 ErrorCodeName(result), result);
        return;
    }
    const std::uint64_t pixels =
        std::uint64_t{channel.convertedImage.imageInfo.width} * channel.convertedImage.imageInfo.height;
    if (pixels <= std::numeric_limits<std::int32_t>::max() && pixels <= channel.convertedSize / 3) {
        SplitRgb8IntoPlanes(static_cast<const std::uint8_t*>(channel.convertedImage.data),
                            static_cast<std::size_t>(pixels), destination);
    }
}

std::int32_t Deliver(const ChannelCall& call, void* destination, std::uint32_t& imageStatus)
    MARAVEL_REQUIRES(g_adapterMutex)
{
    if (destination == nullptr) {
        ReportError(__LINE__, call.errorText, "%s: ERROR. Invalid destination pointer. channelID=%lld.",
                    kImage, call.channelID);
        return MARAVEL_FAILURE;
    }
    VideoChannelData& channel = call.channel;
    bool isEmpty = true;
    ZvkFrame_t* frame = nullptr;
    {
        const MutexLock lock(g_frameMutex);
        isEmpty = channel.fifo.IsEmpty();
        frame = isEmpty ? nullptr : channel.fifo.Oldest();
    }
    if (isEmpty) {
        WriteLog(__LINE__, "%s: ERRIR, FIFO empty, pending.", kImage);
        imageStatus = ImageStatusPending;
        return MARAVEL_SUCCESS;
    }
    if (frame == nullptr) {
        ReportError(__LINE__, call.errorText, "%s: ERROR while accessing FIFO. channelID=%lld.", kImage,
                    call.channelID);
        return MARAVEL_FAILURE;
    }
    if (channel.convertedImage.data != nullptr) {
        DeliverConverted(*g_imageTransformAccess, call, *frame, static_cast<std::uint8_t*>(destination));
    }
    else {
        CopyPayload(destination, frame->buffer, channel.payloadSize);
    }
    {
        const MutexLock lock(g_frameMutex);
        channel.fifo.RemoveOldest();
    }
    const ZvkError_t result =
        call.api.ZvkCaptureFrameQueue(channel.cameraHandle, frame, &FrameReceivedCallback);
    imageStatus = ImageStatusReady;
    if (result != ZvkErrorSuccess) {
        FormatErrorText(call.errorText, ErrorTextSize,
                        "%s: ERROR while re-queuing frame. channelID=%lld. Reason=%s (%d)", kImage,
                        call.channelID, ErrorCodeName(result), result);
        WriteLog(__LINE__, "%s, (%d)\n", call.errorText, result);
    }
    return MARAVEL_SUCCESS;
}

} // namespace

std::int32_t MARAVEL_CALL GetImageAttributes(char* errorText, std::int64_t channelID,
                                             ImageAttributes* attributes, std::uint32_t* imageStatus) noexcept
{
    return HostCall({__LINE__, kAttributes, "%s: ERROR. Invalid class pointer.",
                     "%s: ERROR. Invalid channelID=%lld. Available cameras=%d"},
                    errorText, channelID, [&](const ChannelCall& call) -> std::int32_t {
                        if (RejectNull(__LINE__, call, attributes) ||
                            RejectNull(__LINE__, call, imageStatus)) {
                            return MARAVEL_FAILURE;
                        }
                        return Describe(call, *attributes, *imageStatus);
                    });
}

std::int32_t MARAVEL_CALL GetImage(char* errorText, std::int64_t channelID, void* destination,
                                   std::uint32_t* imageStatus) noexcept
{
    std::uint32_t status = ImageStatusError;
    const std::int32_t result = HostCall(
        {__LINE__, kImage, "%s: ERROR. Invalid class pointer.",
         "%s: ERROR. Invalid channelID=%lld. Available cameras=%d"},
        errorText, channelID, [&](const ChannelCall& call) MARAVEL_REQUIRES(g_adapterMutex) -> std::int32_t {
            return RejectNull(__LINE__, call, imageStatus) ? MARAVEL_FAILURE
                                                           : Deliver(call, destination, status);
        });
    if (imageStatus != nullptr) {
        *imageStatus = status;
    }
    return result;
}

} // namespace maravel
