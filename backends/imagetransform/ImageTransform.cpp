#include "imagetransform/ImageTransform.h"

#include "imagetransform/Bands.h"
#include "imagetransform/Conversions.h"
#include "imagetransform/PixelFormats.h"
#include "imagetransform/TransformInfo.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string_view>

namespace maravel::imagetransform {
namespace {

// One byte each of major, minor, patch and build.
constexpr std::uint32_t kPackedVersion = 0x01000000;
constexpr std::string_view kVersionText = "1.0.0.0";

constexpr ZvkPixelFormat_t kBgr8 = 0x02180015;

ZvkError_t CopyText(std::string_view from, char* text, std::uint32_t textSize)
{
    if (text == nullptr) {
        return ZvkErrorBadParameter;
    }
    if (from.size() + 1 > textSize) {
        return ZvkErrorMoreData;
    }
    std::memcpy(text, from.data(), from.size());
    text[from.size()] = '\0';
    return ZvkErrorSuccess;
}

ZvkError_t Describe(const PixelFormat* format, std::uint32_t width, std::uint32_t height, ZvkImage* image)
{
    if (image == nullptr) {
        return ZvkErrorBadParameter;
    }
    if (image->size != sizeof(ZvkImage)) {
        return ZvkErrorStructSize;
    }
    if (format == nullptr) {
        return ZvkErrorNotSupported;
    }
    const auto stride = LineBytes(format->code, width);
    if (width == 0 || height == 0 || !stride) {
        return ZvkErrorBadParameter;
    }
    image->imageInfo = {.width = width,
                        .height = height,
                        .stride = *stride,
                        .pixelFormat = format->code,
                        .bitsPerPixel = BitsPerPixel(format->code),
                        .reserved = {}};
    return ZvkErrorSuccess;
}

ZvkError_t CheckImage(const ZvkImage* image)
{
    if (image == nullptr) {
        return ZvkErrorBadParameter;
    }
    if (image->size != sizeof(ZvkImage)) {
        return ZvkErrorStructSize;
    }
    const ZvkImageInfo& info = image->imageInfo;
    const auto lineBytes = LineBytes(info.pixelFormat, info.width);
    if (image->data == nullptr || info.width == 0 || info.height == 0 || !lineBytes ||
        info.stride < *lineBytes) {
        return ZvkErrorBadParameter;
    }
    return ZvkErrorSuccess;
}

// A described image has no gap between its lines, not even the rest of a byte. A caller that makes its stride
// larger has one.
bool HasGaps(const ZvkImageInfo& image)
{
    return image.stride != LineBytes(image.pixelFormat, image.width);
}

struct Settings
{
    bool edgeAware = false;
    ColourCorrection correction;
};

ZvkError_t ReadSetting(const ZvkTransformInfo& parameter, Settings* settings)
{
    const auto require = [](bool valid) { return valid ? ZvkErrorSuccess : ZvkErrorBadParameter; };
    switch (parameter.kind) {
    case ZvkTransformDebayerMode:
        settings->edgeAware = parameter.value.debayerMode == ZvkDebayerModeEdgeAware;
        return parameter.value.debayerMode <= ZvkDebayerModeEdgeAware ? ZvkErrorSuccess
                                                                      : ZvkErrorNotSupported;
    case ZvkTransformColorCorrectionMatrix:
        return require(settings->correction.SetMatrix(parameter.value.matrix));
    case ZvkTransformGammaCorrection:
        return require(settings->correction.SetGamma(parameter.value.gamma));
    default:
        return ZvkErrorNotSupported;
    }
}

ZvkError_t ReadSettings(const ZvkTransformInfo* parameters, std::uint32_t count, Settings* settings)
{
    if (count != 0 && parameters == nullptr) {
        return ZvkErrorBadParameter;
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        if (const ZvkError_t result = ReadSetting(parameters[i], settings); result != ZvkErrorSuccess) {
            return result;
        }
    }
    return ZvkErrorSuccess;
}

// Fills in a record that proves to be a good one.
ZvkError_t WriteSetting(const ZvkTransformInfo& wanted, ZvkTransformInfo* parameters)
{
    if (parameters == nullptr) {
        return ZvkErrorBadParameter;
    }
    Settings ignored;
    const ZvkError_t result = ReadSetting(wanted, &ignored);
    if (result == ZvkErrorSuccess) {
        *parameters = wanted;
    }
    return result;
}

} // namespace

ZvkError_t ImageTransform::ZvkGetImageTransformVersion(std::uint32_t* packedVersion)
{
    if (packedVersion == nullptr) {
        return ZvkErrorBadParameter;
    }
    *packedVersion = kPackedVersion;
    return ZvkErrorSuccess;
}

// No bit set: the conversions ask for nothing beyond the base instruction set.
ZvkError_t ImageTransform::ZvkGetTechnoInfo(std::uint32_t* processorFeatures)
{
    if (processorFeatures == nullptr) {
        return ZvkErrorBadParameter;
    }
    *processorFeatures = 0;
    return ZvkErrorSuccess;
}

ZvkError_t ImageTransform::ZvkGetErrorInfo(ZvkError_t error, char* text, std::uint32_t textSize)
{
    switch (error) {
    case ZvkErrorSuccess:
        return CopyText("No error", text, textSize);
    case ZvkErrorBadParameter:
        return CopyText(
            "A pointer is null, a size or a setting is out of its range, or the two images differ in size",
            text, textSize);
    case ZvkErrorStructSize:
        return CopyText("The size field of an image record is wrong", text, textSize);
    case ZvkErrorMoreData:
        return CopyText("The text does not fit", text, textSize);
    case ZvkErrorResources:
        return CopyText("Out of memory", text, textSize);
    case ZvkErrorNotSupported:
        return CopyText("The pixel format or the operation is not supported", text, textSize);
    default:
        return ZvkErrorNotFound;
    }
}

// Every kind of information is the version.
ZvkError_t ImageTransform::ZvkGetApiInfoString(std::uint32_t, char* text, std::uint32_t textSize)
{
    return CopyText(kVersionText, text, textSize);
}

ZvkError_t ImageTransform::ZvkSetDebayerMode(std::uint32_t mode, ZvkTransformInfo* parameters)
{
    return WriteSetting({.kind = ZvkTransformDebayerMode, .value = {.debayerMode = mode}}, parameters);
}

ZvkError_t ImageTransform::ZvkSetColorCorrectionMatrix3x3(const float* matrix, ZvkTransformInfo* parameters)
{
    if (matrix == nullptr) {
        return ZvkErrorBadParameter;
    }
    ZvkTransformInfo wanted = {.kind = ZvkTransformColorCorrectionMatrix, .value = {.matrix = {}}};
    std::copy_n(matrix, std::size(wanted.value.matrix), wanted.value.matrix);
    return WriteSetting(wanted, parameters);
}

ZvkError_t ImageTransform::ZvkSetGammaCorrection(float gamma, ZvkTransformInfo* parameters)
{
    return WriteSetting({.kind = ZvkTransformGammaCorrection, .value = {.gamma = gamma}}, parameters);
}

ZvkError_t ImageTransform::ZvkSetImageInfoFromPixelFormat(ZvkPixelFormat_t pixelFormat, std::uint32_t width,
                                                          std::uint32_t height, ZvkImage* image)
{
    return Describe(FindPixelFormat(pixelFormat), width, height, image);
}

// The name is the SDK's without its prefix, "BayerRG8" for instance.
ZvkError_t ImageTransform::ZvkSetImageInfoFromString(const char* pixelFormatName, std::uint32_t length,
                                                     std::uint32_t width, std::uint32_t height,
                                                     ZvkImage* image)
{
    if (pixelFormatName == nullptr) {
        return ZvkErrorBadParameter;
    }
    return Describe(FindPixelFormat(std::string_view(pixelFormatName, length)), width, height, image);
}

// The codes of a layout are not documented.
ZvkError_t ImageTransform::ZvkSetImageInfoFromInputParameters(ZvkPixelFormat_t, std::uint32_t, std::uint32_t,
                                                              std::uint32_t, std::uint32_t, ZvkImage*)
{
    return ZvkErrorNotSupported;
}

ZvkError_t ImageTransform::ZvkSetImageInfoFromInputImage(const ZvkImage*, std::uint32_t, std::uint32_t,
                                                         ZvkImage*)
{
    return ZvkErrorNotSupported;
}

// Any format of the table to RGB8 or BGR8. Deeper samples lose all but their top 8 bits.
ZvkError_t ImageTransform::ZvkImageTransform(const ZvkImage* source, ZvkImage* destination,
                                             const ZvkTransformInfo* parameters, std::uint32_t parameterCount)
{
    for (const ZvkImage* image : {source, static_cast<const ZvkImage*>(destination)}) {
        if (const ZvkError_t result = CheckImage(image); result != ZvkErrorSuccess) {
            return result;
        }
    }
    Settings settings;
    if (const ZvkError_t result = ReadSettings(parameters, parameterCount, &settings);
        result != ZvkErrorSuccess) {
        return result;
    }

    const ZvkImageInfo& from = source->imageInfo;
    const ZvkImageInfo& to = destination->imageInfo;
    if (from.width != to.width || from.height != to.height) {
        return ZvkErrorBadParameter;
    }
    const PixelFormat* format = FindPixelFormat(from.pixelFormat);
    if (format == nullptr || (to.pixelFormat != ZvkPixelFormatRgb8 && to.pixelFormat != kBgr8)) {
        return ZvkErrorNotSupported;
    }

    Conversion conversion = {.format = format,
                             .source = static_cast<const std::uint8_t*>(source->data),
                             .sourceStride = HasGaps(from) ? static_cast<std::size_t>(from.stride) : 0,
                             .target = static_cast<std::uint8_t*>(destination->data),
                             .targetStride = static_cast<std::size_t>(to.stride),
                             .width = from.width,
                             .height = from.height,
                             .redFirst = to.pixelFormat == ZvkPixelFormatRgb8,
                             .edgeAware = settings.edgeAware,
                             .kernels = &ChosenKernels(),
                             .correction = settings.correction.IsNeeded() ? &settings.correction : nullptr};
    conversion.Prepare();
    Convert(conversion);
    return ZvkErrorSuccess;
}

} // namespace maravel::imagetransform
