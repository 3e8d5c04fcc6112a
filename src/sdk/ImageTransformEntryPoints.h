// The entry points of the SDK's image-transform library, written once: ENTRY(result, name, parameters), in
// the order of the table that the adapter keeps. See RuntimeEntryPoints.h for those marked with a dash.
#pragma once

#include "sdk/ZvkTypes.h"

// clang-format off
#define ZVK_IMAGE_TRANSFORM_ENTRY_POINTS(ENTRY) \
    ENTRY(ZvkError_t, ZvkGetImageTransformVersion, (std::uint32_t* packedVersion)) \
    ENTRY(ZvkError_t, ZvkGetTechnoInfo, (std::uint32_t* processorFeatures)) /* - */ \
    ENTRY(ZvkError_t, ZvkGetErrorInfo, (ZvkError_t error, char* text, std::uint32_t textSize)) /* - */ \
    ENTRY(ZvkError_t, ZvkGetApiInfoString, (std::uint32_t infoType, char* text, std::uint32_t textSize)) /* - */ \
    ENTRY(ZvkError_t, ZvkSetDebayerMode, (std::uint32_t mode, ZvkTransformInfo* parameters)) /* - */ \
    ENTRY(ZvkError_t, ZvkSetColorCorrectionMatrix3x3, (const float* matrix, ZvkTransformInfo* parameters)) /* - */ \
    ENTRY(ZvkError_t, ZvkSetGammaCorrection, (float gamma, ZvkTransformInfo* parameters)) /* - */ \
    ENTRY(ZvkError_t, ZvkSetImageInfoFromPixelFormat, (ZvkPixelFormat_t pixelFormat, std::uint32_t width, std::uint32_t height, ZvkImage* image)) \
    ENTRY(ZvkError_t, ZvkSetImageInfoFromString, (const char* pixelFormatName, std::uint32_t length, std::uint32_t width, std::uint32_t height, ZvkImage* image)) /* - */ \
    ENTRY(ZvkError_t, ZvkSetImageInfoFromInputParameters, (ZvkPixelFormat_t inputFormat, std::uint32_t width, std::uint32_t height, std::uint32_t layout, std::uint32_t bitsPerPixel, ZvkImage* image)) /* - */ \
    ENTRY(ZvkError_t, ZvkSetImageInfoFromInputImage, (const ZvkImage* inputImage, std::uint32_t layout, std::uint32_t bitsPerPixel, ZvkImage* image)) /* - */ \
    ENTRY(ZvkError_t, ZvkImageTransform, (const ZvkImage* source, ZvkImage* destination, const ZvkTransformInfo* parameters, std::uint32_t parameterCount))
// clang-format on
