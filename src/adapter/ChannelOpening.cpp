#include "adapter/Lifecycle.h"
#include "core/Callbacks.h"
#include "core/CameraAccess.h"
#include "sdk/Names.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace maravel {

namespace {

constexpr const char* kOpen = "InitializeVideoChannel";

// More features than this no camera has; an SDK that claims them is not believed.
constexpr std::uint32_t kMaxFeatures = 100'000;

// What opening a channel works with.
struct Opening : ChannelCall
{
    VideoChannelDescriptor& descriptor;
    bool failed = false; // a camera value could not be read; only the first such failure reaches errorText
};

void FillIdentity(const Opening& opening)
{
    char vendor[128] = "";
    std::uint32_t length = 0;
    const ZvkError_t result = opening.api.ZvkFeatureStringGet(opening.camera.transportLayerHandle,
                                                              "TLVendorName", vendor, sizeof vendor, &length);
    vendor[sizeof vendor - 1] = '\0';
    const bool isOwnTransport = result == ZvkErrorSuccess && std::strstr(vendor, "Halvane") != nullptr;
    VideoChannelDescriptor& descriptor = opening.descriptor;
    FormatErrorText(descriptor.label, sizeof descriptor.label, "%s%s",
                    isOwnTransport ? "Zorvik/HVN TL: " : "Zorvik/Other: ", opening.ModelName());
    CopyTextBounded(descriptor.serialNumber, sizeof descriptor.serialNumber, opening.camera.serialString);
}

// The channel's camera from its opening to its closing.
class OpenCamera
{
public:
    explicit OpenCamera(const Opening& opening) : opening_(opening), earlier_(opening.channel.cameraHandle)
    {
        ZvkHandle_t handle = nullptr;
        const ZvkError_t result = opening.api.ZvkCameraOpen(opening.CameraId(), ZvkAccessModeFull, &handle);
        if (result != ZvkErrorSuccess) {
            ReportError(__LINE__, opening.errorText,
                        "%s: ERROR. Error while opening camera. ChannelID=%d. Reason=%s (%d)", kOpen,
                        opening.ChannelNumber(), ErrorCodeName(result), result);
            return;
        }
        WriteLog(__LINE__, "%s: Camera OPENED successfully. channelID %d (%s [%s])\n", kOpen,
                 opening.ChannelNumber(), opening.ModelName(), opening.CameraId());
        opening.channel.cameraHandle = handle;
        isOpen_ = true;
    }
    OpenCamera(const OpenCamera&) = delete;
    OpenCamera& operator=(const OpenCamera&) = delete;
    ~OpenCamera()
    {
        if (!isOpen_) {
            return;
        }
        VideoChannelData& channel = opening_.channel;
        if (earlier_ != nullptr && earlier_ != channel.cameraHandle) {
            // An SDK that opens a camera twice: what streamed under the first handle must end before its
            // frames are made anew.
            opening_.api.ZvkCameraClose(earlier_);
            const MutexLock lock(g_frameMutex);
            g_acquiringCameras.erase(earlier_);
        }
        const ZvkError_t result = opening_.api.ZvkCameraClose(channel.cameraHandle);
        if (result != ZvkErrorSuccess) {
            ReportError(__LINE__, opening_.errorText,
                        "%s: ERROR. Error while closing camera. ChannelID=%d. Reason=%s (%d)", kOpen,
                        opening_.ChannelNumber(), ErrorCodeName(result), result);
            return;
        }
        ForgetCamera(channel, Patience::Endless);
        WriteLog(__LINE__, "%s: Camera CLOSED successfully. channelID %d (%s [%s])\n", kOpen,
                 opening_.ChannelNumber(), opening_.ModelName(), opening_.CameraId());
    }

    bool IsOpen() const noexcept { return isOpen_; }

private:
    const Opening& opening_;
    ZvkHandle_t earlier_;
    bool isOpen_ = false;
};

// Puts copies of the list's texts in the place of the SDK's own.
void KeepTexts(VideoChannelData& channel)
{
    std::size_t size = 0;
    for (const ZvkFeatureInfo_t& feature : channel.featureInfo) {
        size += std::strlen(TextOrEmpty(feature.name)) + std::strlen(TextOrEmpty(feature.description)) + 2;
    }
    channel.featureTexts = std::make_unique<char[]>(size);
    char* next = channel.featureTexts.get();
    const auto keep = [&next](const char*& text) {
        if (text != nullptr) {
            const std::size_t length = std::strlen(text) + 1;
            text = static_cast<const char*>(std::memcpy(next, text, length));
            next += length;
        }
    };
    for (ZvkFeatureInfo_t& feature : channel.featureInfo) {
        keep(feature.name);
        keep(feature.description);
    }
}

// Reads the camera's feature list into the channel.
bool ReadFeatureList(const Opening& opening)
{
    VideoChannelData& channel = opening.channel;
    std::uint32_t count = 0;
    ZvkError_t result =
        opening.api.ZvkFeaturesList(channel.cameraHandle, nullptr, 0, &count, sizeof(ZvkFeatureInfo_t));
    if (result != ZvkErrorSuccess) {
        return ReportError(__LINE__, opening.errorText,
                           "%s: ERROR. ZvkFeaturesList failed. ChannelID=%d. Reason=%s (%d)", kOpen,
                           opening.ChannelNumber(), ErrorCodeName(result), result);
    }
    if (count > kMaxFeatures) {
        return ReportError(__LINE__, opening.errorText,
                           "%s: ERROR. The SDK lists %u features, more than %u. ChannelID=%d.", kOpen, count,
                           kMaxFeatures, opening.ChannelNumber());
    }
    channel.featureNames.Clear();
    channel.featureCount = 0;
    channel.featureInfo.assign(count, {});
    std::uint32_t listed = 0;
    result = opening.api.ZvkFeaturesList(channel.cameraHandle, channel.featureInfo.data(), count, &listed,
                                         sizeof(ZvkFeatureInfo_t));
    if (result != ZvkErrorSuccess) {
        channel.featureInfo.clear();
        return false;
    }
    // A list that has grown meanwhile is cut to what was given room.
    channel.featureCount = std::min(listed, count);
    channel.featureInfo.resize(channel.featureCount);
    KeepTexts(channel);
    channel.featureNames.Build(channel.featureInfo.data(), channel.featureInfo.size());
    return true;
}

// The features that decide how the channel is configured. Flags are set and never cleared.
void NoteAvailability(VideoChannelData& channel, std::string_view name)
{
    channel.bExposureTimeAvail |= name == "ExposureTime";
    channel.bExposureTimeAbsAvail |= name == "ExposureTimeAbs";
    channel.bTriggerSourceAvail |= name == "TriggerSource";
    channel.bTriggerActivationAvail |= name == "TriggerActivation";
    channel.bExposureModeAvail |= name == "ExposureMode";
    channel.bTriggerModeAvail |= name == "TriggerMode";
}

void SortFeatures(const Opening& opening)
{
    VideoChannelData& channel = opening.channel;
    channel.compatibleFeatures.clear();
    for (std::uint32_t i = 0; i < channel.featureCount; ++i) {
        const ZvkFeatureInfo_t& feature = channel.featureInfo[i];
        const char* name = TextOrEmpty(feature.name);
        if (feature.featureDataType >= ZvkFeatureDataInt &&
            feature.featureDataType <= ZvkFeatureDataCommand) {
            channel.compatibleFeatures.push_back({i, name});
        }
        else {
            WriteLog(__LINE__, "%s: Datatype %d for feature '%s' not supported.\n", kOpen,
                     static_cast<int>(feature.featureDataType), name);
        }
        NoteAvailability(channel, name);
    }
    std::sort(channel.compatibleFeatures.begin(), channel.compatibleFeatures.end(),
              [](const CompatibleFeature& a, const CompatibleFeature& b) { return a.name < b.name; });
    WriteLog(__LINE__, "%s: Found %d Zorvik features (%d adapter compatible) for channelID %d (%s [%s])\n",
             kOpen, static_cast<int>(channel.featureCount),
             static_cast<int>(channel.compatibleFeatures.size()), opening.ChannelNumber(),
             opening.ModelName(), opening.CameraId());
    LogAvailability(__LINE__, kOpen, channel);
}

// Whether a camera value could be read.
bool WasRead(unsigned line, Opening& opening, const char* entry, const char* feature, ZvkError_t result)
{
    if (result != ZvkErrorSuccess && !opening.failed) {
        ReportError(line, opening.errorText, "%s: ERROR. %s %s failed. ChannelID=%d. Reason=%s (%d)", kOpen,
                    entry, feature, opening.ChannelNumber(), ErrorCodeName(result), result);
    }
    opening.failed |= result != ZvkErrorSuccess;
    return result == ZvkErrorSuccess;
}

// Reads exposure time and its lower bound from "ExposureTime" or, on older cameras, from "ExposureTimeAbs".
void ReadExposure(Opening& opening)
{
    const ZvkHandle_t camera = opening.channel.cameraHandle;
    const bool isAbs = !opening.channel.bExposureTimeAvail;
    if (isAbs && !opening.channel.bExposureTimeAbsAvail) {
        WriteLog(__LINE__, "%s: WARNING: Neither ExposureTime nor ExposureTimeAbs feature was found.\n",
                 kOpen);
        return;
    }
    const char* feature = isAbs ? "ExposureTimeAbs" : "ExposureTime";
    double microseconds = 0.0;
    const bool wasRead = WasRead(__LINE__, opening, "ZvkFeatureFloatGet", feature,
                                 opening.api.ZvkFeatureFloatGet(camera, feature, &microseconds));
    double minimum = 0.0;
    double maximum = 0.0;
    const bool hasRange = WasRead(__LINE__, opening, "ZvkFeatureFloatRangeQuery", feature,
                                  opening.api.ZvkFeatureFloatRangeQuery(camera, feature, &minimum, &maximum));
    if (wasRead) {
        opening.descriptor.exposureTime = microseconds / MicrosecondsPerSecond;
        opening.descriptor.exposureTimeMin = hasRange ? minimum : 0.0;
    }
}

void ReadSide(Opening& opening, const char* feature, std::int32_t& side)
{
    std::int64_t value = 0;
    if (WasRead(__LINE__, opening, "ZvkFeatureIntGet", feature,
                opening.api.ZvkFeatureIntGet(opening.channel.cameraHandle, feature, &value))) {
        side = static_cast<std::int32_t>(value);
    }
}

// Learns what the channel needs of its open camera.
bool LearnCamera(Opening& opening)
{
    GigEAdjustPacketSize(opening.api, opening.channel.cameraHandle);
    if (!ReadFeatureList(opening)) {
        return false;
    }
    SortFeatures(opening);
    ReadExposure(opening);
    ReadSide(opening, "Width", opening.descriptor.width);
    ReadSide(opening, "Height", opening.descriptor.height);
    return !opening.failed;
}

} // namespace

bool InitializeVideoChannel(char* errorText, VideoChannelDescriptor& descriptor, std::int32_t channelIndex)
{
    WriteLog(__LINE__, "%s: devnum=%d\n", kOpen, channelIndex);
    if (g_apiAccess == nullptr || g_adapterData == nullptr) {
        return ReportError(__LINE__, errorText, "%s: ERROR. INVALID class pointer.", kOpen);
    }
    const auto index = static_cast<std::size_t>(channelIndex);
    Opening opening{{kOpen, errorText, channelIndex, *g_apiAccess, *g_adapterData,
                     g_adapterData->channels[index], g_adapterData->cameras[index]},
                    descriptor};
    descriptor.channelID = channelIndex;
    FillCallbacks(descriptor);
    FillIdentity(opening);
    const OpenCamera camera(opening);
    return camera.IsOpen() && LearnCamera(opening);
}

} // namespace maravel
