#include "bench/InProcessAdapter.h"

#include "acquisition/Frames.h"
#include "core/AdapterState.h"

#include <cstring>
#include <stdexcept>

// The adapter's one export; hosts look it up by name, so no header declares it.
extern "C" std::int32_t MARAVEL_CALL GetVideoChannel(char* errorText, std::int32_t channelIndex,
                                                     VideoChannelDescriptor* descriptor) noexcept;

namespace maravel::bench {
namespace {

// More than any camera has: the adapter takes the camera's maximum.
constexpr std::int32_t kWholeSensor = 1 << 30;

ZvkError_t QueueNothing(ZvkHandle_t, const ZvkFrame_t*, ZvkFrameCallback)
{
    return ZvkErrorSuccess;
}

ZvkError_t DescribeNothing(ZvkPixelFormat_t, std::uint32_t, std::uint32_t, ZvkImage*)
{
    return ZvkErrorSuccess;
}

// Writes its result, as every conversion does, and asks the system for nothing.
ZvkError_t ConvertToGrey(const ZvkImage*, ZvkImage* destination, const ZvkTransformInfo*, std::uint32_t)
{
    const ZvkImageInfo& info = destination->imageInfo;
    std::memset(destination->data, 0x80, std::size_t{3} * info.width * info.height);
    return ZvkErrorSuccess;
}

void Require(bool condition, const char* what, const char* text)
{
    if (!condition) {
        throw std::runtime_error(std::string(what) + ": " + text);
    }
}

} // namespace

InProcessAdapter::InProcessAdapter(const std::filesystem::path& builtSdkFolder,
                                   const std::string& pixelFormat)
    : sandbox_(builtSdkFolder, {1, pixelFormat, 2592, 1944, false})
{
    sandbox_.Enter();
    channel_.structSize = sizeof channel_;
    Require(GetVideoChannel(errorText_, 0, &channel_) == MARAVEL_SUCCESS && channel_.openResult == 0,
            "the adapter did not start", errorText_);
    CommonParams params = {};
    params.exposure = 10e-6;
    params.acqContinuous = 1;
    params.roiwidth = kWholeSensor;
    params.roiheight = kWholeSensor;
    Require(channel_.SetupCommonParams(errorText_, 0, &params) == MARAVEL_SUCCESS, "SetupCommonParams",
            errorText_);
    Require(channel_.StartAcquisition(errorText_, 0) == MARAVEL_SUCCESS, "StartAcquisition", errorText_);

    const MutexLock lock(g_adapterMutex);
    VideoChannelData& channel = g_adapterData->channels[0];
    camera_ = channel.cameraHandle;
    frames_ = channel.frames.data();
    for (ZvkFrame_t& frame : channel.frames) {
        frame.width = 2592;
        frame.height = 1944;
        frame.pixelFormat = pixelFormat == "Mono8" ? ZvkPixelFormatMono8 : ZvkPixelFormatRgb8;
        frame.receiveStatus = 0;
    }
    image_.resize(std::size_t{3} * 2592 * 1944);
}

InProcessAdapter::~InProcessAdapter()
{
    channel_.StopAcquisition(errorText_, 0);
    channel_.ReleaseVideoChannel(errorText_, 0);
}

void InProcessAdapter::SilenceSdk()
{
    const MutexLock lock(g_adapterMutex);
    g_apiAccess->ZvkCaptureFrameQueue = &QueueNothing;
    g_imageTransformAccess->ZvkSetImageInfoFromPixelFormat = &DescribeNothing;
    g_imageTransformAccess->ZvkImageTransform = &ConvertToGrey;
}

std::size_t InProcessAdapter::FrameCount() const
{
    const MutexLock lock(g_adapterMutex);
    return g_adapterData->channels[0].frames.size();
}

void InProcessAdapter::Receive(std::size_t frame)
{
    ++frames_[frame].frameId;
    frames_[frame].timestamp += 71'428'571;
    FrameReceivedCallback(camera_, this, &frames_[frame]); // of the stream only null matters
}

void InProcessAdapter::DropOldest()
{
    const MutexLock lock(g_frameMutex);
    g_receptionAccess.data->channels[0].fifo.RemoveOldest();
}

void InProcessAdapter::Fetch()
{
    std::uint32_t status = ImageStatusUnavailable;
    ImageAttributes attributes = {};
    attributes.structSize = sizeof attributes;
    channel_.QueryImageStatus(errorText_, 0, &status);
    channel_.GetImageAttributes(errorText_, 0, &attributes, &status);
    const std::int32_t result = channel_.GetImage(errorText_, 0, image_.data(), &status);
    Require(result == MARAVEL_SUCCESS && status == ImageStatusReady, "GetImage", errorText_);
}

void InProcessAdapter::QueryStatus()
{
    std::uint32_t status = ImageStatusUnavailable;
    char text[MARAVEL_TEXT_SIZE];
    channel_.QueryImageStatus(text, 0, &status);
}

std::filesystem::path InProcessAdapter::LogFile() const
{
    for (const auto& entry : std::filesystem::recursive_directory_iterator(sandbox_.Folder())) {
        if (entry.path().filename() == "MaravelAdapterZorvik.log") {
            return entry.path();
        }
    }
    throw std::runtime_error("the adapter writes no log");
}

} // namespace maravel::bench
