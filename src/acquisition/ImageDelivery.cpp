// The images that wait, described and written into the host's memory.
#include "acquisition/Frames.h"
#include "core/Callbacks.h"
#include "core/HostCall.h"
#include "pixels/ImageWriting.h"
#include "sdk/Names.h"

#include <cstddef>
#include <limits>
#include <optional>

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

// The oldest frame that waits; nothing when none does.
std::optional<ZvkFrame_t*> OldestFrame(const VideoChannelData& channel)
{
    const MutexLock lock(g_frameMutex);
    return channel.fifo.IsEmpty() ? std::nullopt : std::optional(channel.fifo.Oldest());
}

bool Describe(const ChannelCall& call, ImageAttributes& attributes, std::uint32_t& imageStatus)
{
    const ZvkFrame_t* frame = OldestFrame(call.channel).value_or(nullptr);
    if (frame == nullptr) {
        imageStatus = ImageStatusPending;
        return true;
    }
    FillAttributes(*frame, attributes);
    imageStatus = ImageStatusReady;
    return true;
}

// Bits of the frame's pixels. PFNC codes hold the bits of a pixel in bits 16 to 23.
std::uint64_t BitsOf(const ZvkFrame_t& frame)
{
    const std::uint64_t bitsPerPixel = frame.pixelFormat >> 16 & 0xFF;
    const std::uint64_t pixels = std::uint64_t{frame.width} * frame.height;
    return pixels > UINT64_MAX / 0xFF ? UINT64_MAX : pixels * bitsPerPixel;
}

// Whether the frame is of the kind that the channel was started for. The host takes the size of its memory
// from the frame's own size and format, so neither a camera that changed its format since nor a channel that
// a failed start left without its conversion image may have another one written.
bool IsOfStartedKind(const ChannelCall& call, const ZvkFrame_t& frame)
{
    const VideoChannelData& channel = call.channel;
    const bool isUnchanged = IsDeliveredUnchanged(frame.pixelFormat);
    const bool fits = channel.convertedImage.data != nullptr
                          ? !isUnchanged
                          : isUnchanged && (frame.pixelFormat == channel.pixelFormat ||
                                            BitsOf(frame) / 8 >= channel.payloadSize);
    if (!fits) {
        WriteLog(
            __LINE__,
            "%s: ERROR. Frame of format 0x%08X does not fit a channel started for format 0x%08X. Stop it, then start it. channelID=%lld.\n",
            kImage, frame.pixelFormat, channel.pixelFormat, call.channelID);
    }
    return fits;
}

// Whether the pixels that the frame claims lie in its buffer and fit into the conversion image.
bool FitsBuffers(const ChannelCall& call, const ZvkFrame_t& frame)
{
    const VideoChannelData& channel = call.channel;
    if (BitsOf(frame) > std::uint64_t{channel.payloadSize} * 8) {
        WriteLog(
            __LINE__,
            "%s: ERROR. Frame of %u x %u pixels, format 0x%08X, does not fit its buffer of %u bytes. channelID=%lld.\n",
            kImage, frame.width, frame.height, frame.pixelFormat, channel.payloadSize, call.channelID);
        return false;
    }
    const std::uint64_t pixels = std::uint64_t{frame.width} * frame.height;
    if (pixels > channel.convertedSize / 3 || pixels > std::numeric_limits<std::int32_t>::max()) {
        WriteLog(
            __LINE__,
            "%s: ERROR. Frame of %u x %u pixels does not fit the conversion image of %llu bytes. channelID=%lld.\n",
            kImage, frame.width, frame.height, static_cast<unsigned long long>(channel.convertedSize),
            call.channelID);
        return false;
    }
    return true;
}

// Converts the frame and writes it as planes. Whatever fails leaves the destination as it was; the frame is
// then lost for the host, with a log line.
void DeliverConverted(const CHVNImageTransformAPIAccess& transform, const ChannelCall& call,
                      const ZvkFrame_t& frame, std::uint8_t* destination)
{
    VideoChannelData& channel = call.channel;
    if (!FitsBuffers(call, frame)) {
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
    const auto& made = channel.convertedImage.imageInfo;
    if (made.width != frame.width || made.height != frame.height) {
        WriteLog(
            __LINE__,
            "%s: ERROR. Frame of %u x %u pixels was converted to %u x %u. It is not delivered. channelID=%lld.\n",
            kImage, frame.width, frame.height, made.width, made.height, call.channelID);
        return;
    }
    SplitRgb8IntoPlanes(static_cast<const std::uint8_t*>(channel.convertedImage.data),
                        std::size_t{frame.width} * frame.height, destination);
}

// Writes the frame as the attributes describe it, or nothing.
void WriteImage(const ChannelCall& call, const ZvkFrame_t& frame, void* destination)
    MARAVEL_REQUIRES(g_adapterMutex)
{
    if (!IsOfStartedKind(call, frame)) {
        return;
    }
    if (call.channel.convertedImage.data != nullptr) {
        DeliverConverted(*g_imageTransformAccess, call, frame, static_cast<std::uint8_t*>(destination));
    }
    else {
        CopyPayload(destination, frame.buffer, call.channel.payloadSize);
    }
}

bool Deliver(const ChannelCall& call, void* destination, std::uint32_t& imageStatus)
    MARAVEL_REQUIRES(g_adapterMutex)
{
    if (destination == nullptr) {
        return ReportError(__LINE__, call.errorText,
                           "%s: ERROR. Invalid destination pointer. channelID=%lld.", kImage, call.channelID);
    }
    VideoChannelData& channel = call.channel;
    const std::optional<ZvkFrame_t*> oldest = OldestFrame(channel);
    if (!oldest) {
        WriteLog(__LINE__, "%s: ERRIR, FIFO empty, pending.", kImage);
        imageStatus = ImageStatusPending;
        return true;
    }
    ZvkFrame_t* const frame = *oldest;
    if (frame == nullptr) {
        return ReportError(__LINE__, call.errorText, "%s: ERROR while accessing FIFO. channelID=%lld.",
                           kImage, call.channelID);
    }
    WriteImage(call, *frame, destination);
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
    return true;
}

} // namespace

std::int32_t MARAVEL_CALL GetImageAttributes(char* errorText, std::int64_t channelID,
                                             ImageAttributes* attributes, std::uint32_t* imageStatus) noexcept
{
    return HostCall({__LINE__, kAttributes, NoSuchChannelText::Cameras}, errorText, channelID,
                    {attributes, imageStatus},
                    [&](const ChannelCall& call) { return Describe(call, *attributes, *imageStatus); });
}

std::int32_t MARAVEL_CALL GetImage(char* errorText, std::int64_t channelID, void* destination,
                                   std::uint32_t* imageStatus) noexcept
{
    std::uint32_t status = ImageStatusError;
    const std::int32_t result =
        HostCall({__LINE__, kImage, NoSuchChannelText::Cameras}, errorText, channelID, {imageStatus},
                 [&](const ChannelCall& call)
                     MARAVEL_REQUIRES(g_adapterMutex) { return Deliver(call, destination, status); });
    if (imageStatus != nullptr) {
        *imageStatus = status;
    }
    return result;
}

} // namespace maravel
