#include "adapter/ChannelOpening.h"

#include "acquisition/AcquisitionControl.h"
#include "acquisition/ImageDelivery.h"
#include "adapter/ChannelRelease.h"
#include "adapter/HostCall.h"
#include "config/CommonParams.h"
#include "config/GigEPacketSize.h"
#include "features/FeatureCommand.h"
#include "features/FeatureIntrospection.h"
#include "features/FeatureValue.h"
#include "sdk/ResultNames.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace maravel {

namespace {

constexpr const char* kName = "InitializeVideoChannel";
constexpr double kMicrosecondsPerSecond = 1'000'000.0;

// Hosts whose record is no larger know only the nine basic callbacks.
constexpr std::int32_t kBasicStructSize = 608;

// More features than this no camera has; an SDK that claims them is not believed.
constexpr std::uint32_t kMaxFeatures = 100'000;

// What opening a channel works with.
struct Opening
{
    char* errorText;
    VideoChannelDescriptor& descriptor;
    int channelIndex;
    const CZorvikAPIAccess& api;
    VideoChannelData& channel;
    const ZvkCameraInfo_t& camera;
    bool failed = false; // a camera value could not be read; only the first such failure reaches errorText

    const char* ModelName() const noexcept { return TextOrEmpty(camera.modelName); }
    const char* CameraId() const noexcept { return TextOrEmpty(camera.cameraIdString); }
};

// The callbacks, each in the slot of its name.
void FillCallbacks(VideoChannelDescriptor& descriptor)
{
    descriptor.SetupCommonParams = &maravel::SetupCommonParams;
    descriptor.GetImageAttributes = &maravel::GetImageAttributes;
    descriptor.QueryImageStatus = &maravel::QueryImageStatus;
    descriptor.GetImage = &maravel::GetImage;
    descriptor.StartAcquisition = &maravel::StartAcquisition;
    descriptor.StopAcquisition = &maravel::StopAcquisition;
    descriptor.ExecuteCommand = &maravel::ExecuteCommand;
    descriptor.ReadValue = &maravel::ReadValue;
    descriptor.WriteValue = &maravel::WriteValue;
    if (descriptor.structSize > kBasicStructSize) {
        descriptor.GetFeatureName = &maravel::GetFeatureName;
        descriptor.GetFeatureType = &maravel::GetFeatureType;
        descriptor.GetValidEnum = &maravel::GetValidEnum;
        descriptor.GetFeatureAttr = &maravel::GetFeatureAttr;
        descriptor.ReleaseVideoChannel = &maravel::ReleaseVideoChannel;
    }
}

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

bool OpenCamera(const Opening& opening)
{
    ZvkHandle_t handle = nullptr;
    const ZvkError_t result = opening.api.ZvkCameraOpen(opening.CameraId(), ZvkAccessModeFull, &handle);
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, opening.errorText,
                    "%s: ERROR. Error while opening camera. ChannelID=%d. Reason=%s (%d)", kName,
                    opening.channelIndex, ErrorCodeName(result), result);
        return false;
    }
    WriteLog(__LINE__, "%s: Camera OPENED successfully. channelID %d (%s [%s])\n", kName,
             opening.channelIndex, opening.ModelName(), opening.CameraId());
    opening.channel.cameraHandle = handle;
    return true;
}

// Reads the camera's feature list into the channel.
bool ReadFeatureList(const Opening& opening)
{
    VideoChannelData& channel = opening.channel;
    std::uint32_t count = 0;
    ZvkError_t result =
        opening.api.ZvkFeaturesList(channel.cameraHandle, nullptr, 0, &count, sizeof(ZvkFeatureInfo_t));
    if (result == ZvkErrorSuccess && count > kMaxFeatures) {
        result = ZvkErrorResources;
    }
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, opening.errorText,
                    "%s: ERROR. ZvkFeaturesList failed. ChannelID=%d. Reason=%s (%d)", kName,
                    opening.channelIndex, ErrorCodeName(result), result);
        return false;
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
    channel.featureCount =
        std::min(listed, count); // a list that has grown meanwhile is cut to what was given room
    channel.featureInfo.resize(channel.featureCount);
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
            WriteLog(__LINE__, "%s: Datatype %d for feature '%s' not supported.\n", kName,
                     static_cast<int>(feature.featureDataType), name);
        }
        NoteAvailability(channel, name);
    }
    std::sort(channel.compatibleFeatures.begin(), channel.compatibleFeatures.end(),
              [](const CompatibleFeature& a, const CompatibleFeature& b) { return a.name < b.name; });
    WriteLog(__LINE__, "%s: Found %d Zorvik features (%d adapter compatible) for channelID %d (%s [%s])\n",
             kName, static_cast<int>(channel.featureCount),
             static_cast<int>(channel.compatibleFeatures.size()), opening.channelIndex, opening.ModelName(),
             opening.CameraId());
    WriteLog(
        __LINE__,
        "%s: bExposureTimeAvail=%d, bExposureTimeAbsAvail=%d, bTriggerSourceAvail=%d, bTriggerActivationAvail=%d, bExposureModeAvail=%d, bTriggerModeAvail=%d\n",
        kName, channel.bExposureTimeAvail, channel.bExposureTimeAbsAvail, channel.bTriggerSourceAvail,
        channel.bTriggerActivationAvail, channel.bExposureModeAvail, channel.bTriggerModeAvail);
}

// Reads exposure time and its lower bound from "ExposureTime" or, on older cameras, from "ExposureTimeAbs".
void ReadExposure(Opening& opening)
{
    const ZvkHandle_t camera = opening.channel.cameraHandle;
    const bool isAbs = !opening.channel.bExposureTimeAvail;
    if (isAbs && !opening.channel.bExposureTimeAbsAvail) {
        WriteLog(__LINE__, "%s: WARNING: Neither ExposureTime nor ExposureTimeAbs feature was found.\n",
                 kName);
        return;
    }
    const char* feature = isAbs ? "ExposureTimeAbs" : "ExposureTime";
    double microseconds = 0.0;
    ZvkError_t result = opening.api.ZvkFeatureFloatGet(camera, feature, &microseconds);
    if (result == ZvkErrorSuccess) {
        opening.descriptor.exposureTime = microseconds / kMicrosecondsPerSecond;
    }
    else if (isAbs) {
        ReportError(__LINE__, opening.errorText,
                    "%s: ERROR. ZvkFeatureFloatGet ExposureTimeAbs failed. ChannelID=%d. Reason=%s (%d)",
                    kName, opening.channelIndex, ErrorCodeName(result), result);
        opening.failed = true;
    }
    else {
        ReportError(__LINE__, opening.errorText,
                    "%s: ERROR. ZvkFeatureFloatGet ExposureTime failed. ChannelID=%d. Reason=%s (%d)", kName,
                    opening.channelIndex, ErrorCodeName(result), result);
        opening.failed = true;
    }
    double minimum = 0.0;
    double maximum = 0.0;
    result = opening.api.ZvkFeatureFloatRangeQuery(camera, feature, &minimum, &maximum);
    if (result != ZvkErrorSuccess && !opening.failed) {
        if (isAbs) {
            ReportError(
                __LINE__, opening.errorText,
                "%s: ERROR. ZvkFeatureFloatRangeQuery ExposureTimeAbs failed. ChannelID=%d. Reason=%s (%d)",
                kName, opening.channelIndex, ErrorCodeName(result), result);
        }
        else {
            ReportError(
                __LINE__, opening.errorText,
                "%s: ERROR. ZvkFeatureFloatRangeQuery ExposureTime failed. ChannelID=%d. Reason=%s (%d)",
                kName, opening.channelIndex, ErrorCodeName(result), result);
        }
    }
    opening.failed |= result != ZvkErrorSuccess;
    opening.descriptor.exposureTimeMin = result == ZvkErrorSuccess ? minimum : 0.0;
}

void ReadSize(Opening& opening)
{
    const ZvkHandle_t camera = opening.channel.cameraHandle;
    std::int64_t value = 0;
    ZvkError_t result = opening.api.ZvkFeatureIntGet(camera, "Width", &value);
    if (result == ZvkErrorSuccess) {
        opening.descriptor.width = static_cast<std::int32_t>(value);
    }
    else if (!opening.failed) {
        ReportError(__LINE__, opening.errorText,
                    "%s: ERROR. ZvkFeatureIntGet Width failed. ChannelID=%d. Reason=%s (%d)", kName,
                    opening.channelIndex, ErrorCodeName(result), result);
    }
    opening.failed |= result != ZvkErrorSuccess;

    result = opening.api.ZvkFeatureIntGet(camera, "Height", &value);
    if (result == ZvkErrorSuccess) {
        opening.descriptor.height = static_cast<std::int32_t>(value);
    }
    else if (!opening.failed) {
        ReportError(__LINE__, opening.errorText,
                    "%s: ERROR. ZvkFeatureIntGet Height failed. ChannelID=%d. Reason=%s (%d)", kName,
                    opening.channelIndex, ErrorCodeName(result), result);
    }
    opening.failed |= result != ZvkErrorSuccess;
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
    ReadSize(opening);
    return !opening.failed;
}

void CloseCamera(const Opening& opening)
{
    const ZvkError_t result = opening.api.ZvkCameraClose(opening.channel.cameraHandle);
    if (result != ZvkErrorSuccess) {
        ReportError(__LINE__, opening.errorText,
                    "%s: ERROR. Error while closing camera. ChannelID=%d. Reason=%s (%d)", kName,
                    opening.channelIndex, ErrorCodeName(result), result);
        return;
    }
    opening.channel.cameraHandle = nullptr;
    WriteLog(__LINE__, "%s: Camera CLOSED successfully. channelID %d (%s [%s])\n", kName,
             opening.channelIndex, opening.ModelName(), opening.CameraId());
}

} // namespace

bool InitializeVideoChannel(char* errorText, VideoChannelDescriptor& descriptor, std::int32_t channelIndex)
{
    WriteLog(__LINE__, "%s: devnum=%d\n", kName, channelIndex);
    if (g_apiAccess == nullptr || g_adapterData == nullptr) {
        ReportError(__LINE__, errorText, "%s: ERROR. INVALID class pointer.", kName);
        return false;
    }
    const auto index = static_cast<std::size_t>(channelIndex);
    Opening opening{errorText,
                    descriptor,
                    channelIndex,
                    *g_apiAccess,
                    g_adapterData->channels[index],
                    g_adapterData->cameras[index]};
    descriptor.channelID = channelIndex;
    FillCallbacks(descriptor);
    FillIdentity(opening);
    if (!OpenCamera(opening)) {
        return false;
    }
    bool learned = false;
    try {
        learned = LearnCamera(opening);
    }
    catch (const std::bad_alloc&) {
        ReportError(__LINE__, errorText, "%s: ERROR. Out of memory.", kName);
    }
    CloseCamera(opening);
    return learned;
}

} // namespace maravel
