// The entry points of the SDK's runtime library, written once: ENTRY(result, name, parameters), in the order
// of the table that the adapter keeps. Whoever serves or calls them expands this list, so that a signature
// cannot differ between the two sides. The SDK documents no signature for the entry points that the adapter
// does not call (marked with a dash); theirs here are what our own backends agree on.
#pragma once

#include "sdk/ZvkTypes.h"

// clang-format off
#define ZVK_RUNTIME_ENTRY_POINTS(ENTRY) \
    ENTRY(ZvkError_t, ZvkVersionQuery, (ZvkVersionInfo_t* versionInfo, std::uint32_t sizeofVersionInfo)) \
    ENTRY(ZvkError_t, ZvkStartup, (const char* pathConfiguration)) \
    ENTRY(void, ZvkShutdown, (void)) \
    ENTRY(ZvkError_t, ZvkCamerasList, (ZvkCameraInfo_t* cameras, std::uint32_t listLength, std::uint32_t* numFound, std::uint32_t sizeofCameraInfo)) \
    ENTRY(ZvkError_t, ZvkCameraInfoQueryByHandle, (ZvkHandle_t cameraHandle, ZvkCameraInfo_t* info, std::uint32_t sizeofCameraInfo)) \
    ENTRY(ZvkError_t, ZvkCameraInfoQuery, (const char* idString, ZvkCameraInfo_t* info, std::uint32_t sizeofCameraInfo)) /* - */ \
    ENTRY(ZvkError_t, ZvkCameraOpen, (const char* idString, std::uint32_t accessMode, ZvkHandle_t* cameraHandle)) \
    ENTRY(ZvkError_t, ZvkCameraClose, (ZvkHandle_t cameraHandle)) \
    ENTRY(ZvkError_t, ZvkFeaturesList, (ZvkHandle_t handle, ZvkFeatureInfo_t* features, std::uint32_t listLength, std::uint32_t* numFound, std::uint32_t sizeofFeatureInfo)) \
    ENTRY(ZvkError_t, ZvkFeatureInfoQuery, (ZvkHandle_t handle, const char* name, ZvkFeatureInfo_t* info, std::uint32_t sizeofFeatureInfo)) /* - */ \
    ENTRY(ZvkError_t, ZvkFeatureListSelected, (ZvkHandle_t handle, const char* name, ZvkFeatureInfo_t* features, std::uint32_t listLength, std::uint32_t* numFound, std::uint32_t sizeofFeatureInfo)) /* - */ \
    ENTRY(ZvkError_t, ZvkFeatureAccessQuery, (ZvkHandle_t handle, const char* name, ZvkBool_t* isReadable, ZvkBool_t* isWriteable)) \
    ENTRY(ZvkError_t, ZvkFeatureIntGet, (ZvkHandle_t handle, const char* name, std::int64_t* value)) \
    ENTRY(ZvkError_t, ZvkFeatureIntSet, (ZvkHandle_t handle, const char* name, std::int64_t value)) \
    ENTRY(ZvkError_t, ZvkFeatureIntRangeQuery, (ZvkHandle_t handle, const char* name, std::int64_t* minimum, std::int64_t* maximum)) \
    ENTRY(ZvkError_t, ZvkFeatureIntIncrementQuery, (ZvkHandle_t handle, const char* name, std::int64_t* increment)) /* - */ \
    ENTRY(ZvkError_t, ZvkFeatureIntValidValueSetQuery, (ZvkHandle_t handle, const char* name, std::int64_t* values, std::uint32_t listLength, std::uint32_t* numFound)) /* - */ \
    ENTRY(ZvkError_t, ZvkFeatureFloatGet, (ZvkHandle_t handle, const char* name, double* value)) \
    ENTRY(ZvkError_t, ZvkFeatureFloatSet, (ZvkHandle_t handle, const char* name, double value)) \
    ENTRY(ZvkError_t, ZvkFeatureFloatRangeQuery, (ZvkHandle_t handle, const char* name, double* minimum, double* maximum)) \
    ENTRY(ZvkError_t, ZvkFeatureFloatIncrementQuery, (ZvkHandle_t handle, const char* name, ZvkBool_t* hasIncrement, double* increment)) /* - */ \
    ENTRY(ZvkError_t, ZvkFeatureEnumGet, (ZvkHandle_t handle, const char* name, const char** value)) \
    ENTRY(ZvkError_t, ZvkFeatureEnumSet, (ZvkHandle_t handle, const char* name, const char* value)) \
    ENTRY(ZvkError_t, ZvkFeatureEnumRangeQuery, (ZvkHandle_t handle, const char* name, const char** entries, std::uint32_t listLength, std::uint32_t* numFilled)) \
    ENTRY(ZvkError_t, ZvkFeatureEnumIsAvailable, (ZvkHandle_t handle, const char* name, const char* value, ZvkBool_t* isAvailable)) \
    ENTRY(ZvkError_t, ZvkFeatureEnumAsInt, (ZvkHandle_t handle, const char* name, const char* value, std::int64_t* intValue)) \
    ENTRY(ZvkError_t, ZvkFeatureEnumAsString, (ZvkHandle_t handle, const char* name, std::int64_t intValue, const char** value)) /* - */ \
    ENTRY(ZvkError_t, ZvkFeatureEnumEntryGet, (ZvkHandle_t handle, const char* name, const char* value, ZvkFeatureInfo_t* info, std::uint32_t sizeofFeatureInfo)) /* - */ \
    ENTRY(ZvkError_t, ZvkFeatureStringGet, (ZvkHandle_t handle, const char* name, char* buffer, std::uint32_t bufferSize, std::uint32_t* sizeFilled)) \
    ENTRY(ZvkError_t, ZvkFeatureStringSet, (ZvkHandle_t handle, const char* name, const char* value)) \
    ENTRY(ZvkError_t, ZvkFeatureStringMaxlengthQuery, (ZvkHandle_t handle, const char* name, std::uint32_t* maxLength)) /* - */ \
    ENTRY(ZvkError_t, ZvkFeatureBoolGet, (ZvkHandle_t handle, const char* name, ZvkBool_t* value)) \
    ENTRY(ZvkError_t, ZvkFeatureBoolSet, (ZvkHandle_t handle, const char* name, ZvkBool_t value)) \
    ENTRY(ZvkError_t, ZvkFeatureCommandRun, (ZvkHandle_t handle, const char* name)) \
    ENTRY(ZvkError_t, ZvkFeatureCommandIsDone, (ZvkHandle_t handle, const char* name, ZvkBool_t* isDone)) \
    ENTRY(ZvkError_t, ZvkFeatureRawGet, (ZvkHandle_t handle, const char* name, char* buffer, std::uint32_t bufferSize, std::uint32_t* sizeFilled)) /* - */ \
    ENTRY(ZvkError_t, ZvkFeatureRawSet, (ZvkHandle_t handle, const char* name, const char* buffer, std::uint32_t bufferSize)) /* - */ \
    ENTRY(ZvkError_t, ZvkFeatureRawLengthQuery, (ZvkHandle_t handle, const char* name, std::uint32_t* length)) /* - */ \
    ENTRY(ZvkError_t, ZvkFeatureInvalidationRegister, (ZvkHandle_t handle, const char* name, ZvkInvalidationCallback callback, void* userContext)) /* - */ \
    ENTRY(ZvkError_t, ZvkFeatureInvalidationUnregister, (ZvkHandle_t handle, const char* name, ZvkInvalidationCallback callback)) /* - */ \
    ENTRY(ZvkError_t, ZvkPayloadSizeGet, (ZvkHandle_t handle, std::uint32_t* payloadSize)) \
    ENTRY(ZvkError_t, ZvkFrameAnnounce, (ZvkHandle_t handle, const ZvkFrame_t* frame, std::uint32_t sizeofFrame)) \
    ENTRY(ZvkError_t, ZvkFrameRevoke, (ZvkHandle_t handle, const ZvkFrame_t* frame)) /* - */ \
    ENTRY(ZvkError_t, ZvkFrameRevokeAll, (ZvkHandle_t handle)) \
    ENTRY(ZvkError_t, ZvkCaptureStart, (ZvkHandle_t handle)) \
    ENTRY(ZvkError_t, ZvkCaptureEnd, (ZvkHandle_t handle)) \
    ENTRY(ZvkError_t, ZvkCaptureFrameQueue, (ZvkHandle_t handle, const ZvkFrame_t* frame, ZvkFrameCallback callback)) \
    ENTRY(ZvkError_t, ZvkCaptureFrameWait, (ZvkHandle_t handle, const ZvkFrame_t* frame, std::uint32_t timeout)) /* - */ \
    ENTRY(ZvkError_t, ZvkCaptureQueueFlush, (ZvkHandle_t handle)) \
    ENTRY(ZvkError_t, ZvkTransportLayersList, (ZvkHandle_t* layers, std::uint32_t listLength, std::uint32_t* numFound)) /* - */ \
    ENTRY(ZvkError_t, ZvkInterfacesList, (ZvkHandle_t* interfaces, std::uint32_t listLength, std::uint32_t* numFound)) /* - */ \
    ENTRY(ZvkError_t, ZvkMemoryRead, (ZvkHandle_t handle, std::uint64_t address, std::uint32_t bufferSize, char* buffer, std::uint32_t* sizeComplete)) /* - */ \
    ENTRY(ZvkError_t, ZvkMemoryWrite, (ZvkHandle_t handle, std::uint64_t address, std::uint32_t bufferSize, const char* buffer, std::uint32_t* sizeComplete)) /* - */ \
    ENTRY(ZvkError_t, ZvkSettingsSave, (ZvkHandle_t handle, const char* filePath)) /* - */ \
    ENTRY(ZvkError_t, ZvkSettingsLoad, (ZvkHandle_t handle, const char* filePath)) /* - */ \
    ENTRY(ZvkError_t, ZvkChunkDataAccess, (const ZvkFrame_t* frame, void* callback, void* userContext)) /* - */
// clang-format on
