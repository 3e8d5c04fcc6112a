// The records and scalar types that the Zorvik SDK and its callers exchange, laid out as the SDK has them
// (x86-64, little-endian, natural alignment). Fixed-width fields, the SDK's spelling.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

extern "C" {

using ZvkHandle_t = void*;              // camera, stream or transport layer; opaque
using ZvkError_t = std::int32_t;        // 0 is success, errors are negative
using ZvkBool_t = std::uint8_t;         // non-zero is true
using ZvkPixelFormat_t = std::uint32_t; // PFNC pixel-format code

struct ZvkVersionInfo_t
{
    std::uint32_t major; // 0
    std::uint32_t minor; // 4
    std::uint32_t patch; // 8
};

// One camera of the SDK's list. The texts and the stream array belong to the SDK and live until ZvkShutdown.
struct ZvkCameraInfo_t
{
    const char* cameraIdString;       // 0: what ZvkCameraOpen takes
    const char* cameraIdExtended;     // 8: not read by the adapter
    const char* cameraName;           // 16: not read by the adapter
    const char* modelName;            // 24
    const char* serialString;         // 32
    ZvkHandle_t transportLayerHandle; // 40: has the text feature "TLVendorName"
    ZvkHandle_t interfaceHandle;      // 48: not read by the adapter
    ZvkHandle_t localDeviceHandle;    // 56: not read by the adapter
    const ZvkHandle_t* streamHandles; // 64: the camera's streams; null while the camera is closed
    std::uint32_t streamCount;        // 72: entries of streamHandles
    std::uint32_t permittedAccess;    // 76: not read by the adapter
};

// One feature of a module. The texts belong to the SDK, which need not keep them after the camera is closed.
struct ZvkFeatureInfo_t
{
    const char* name;              // 0: the feature's GenICam name
    const char* category;          // 8: not read by the adapter
    const char* displayName;       // 16: not read by the adapter
    const char* sfncNamespace;     // 24: not read by the adapter
    const char* description;       // 32: may be null
    const char* tooltip;           // 40: not read by the adapter
    const char* unit;              // 48: not read by the adapter
    const char* representation;    // 56: not read by the adapter
    std::uint32_t featureDataType; // 64: ZvkFeatureData...
    std::uint32_t featureFlags;    // 68: not read by the adapter
    std::uint32_t pollingTime;     // 72: milliseconds; not read by the adapter
    std::uint32_t visibility;      // 76: not read by the adapter
    ZvkBool_t isStreamable;        // 80: not read by the adapter
    ZvkBool_t hasSelectedFeatures; // 81: not read by the adapter
    std::uint8_t padding[6];       // 82
};

// ZvkFeatureInfo_t::featureDataType. Any other value is a type whose values the adapter does not carry.
enum ZvkFeatureDataType : std::uint32_t
{
    ZvkFeatureDataUnknown = 0,
    ZvkFeatureDataInt = 1,
    ZvkFeatureDataFloat = 2,
    ZvkFeatureDataEnum = 3,
    ZvkFeatureDataString = 4,
    ZvkFeatureDataBool = 5,
    ZvkFeatureDataCommand = 6,
    ZvkFeatureDataRaw = 7,
    ZvkFeatureDataNone = 8,
};

// A frame record. The caller owns the record and its buffer; while it is announced neither may move. The SDK
// writes everything from receiveStatus on.
struct ZvkFrame_t
{
    void* buffer;                 // 0: receives the image
    std::uint32_t bufferSize;     // 8: bytes
    std::uint32_t padding12;      // 12
    void* context[4];             // 16: the caller's own, handed back untouched
    std::int32_t receiveStatus;   // 48: 0 complete, anything else incomplete
    std::uint32_t padding52;      // 52
    std::uint64_t frameId;        // 56: counts from 0 at each acquisition start
    std::uint64_t timestamp;      // 64: ticks of the camera
    std::uint32_t imageSize;      // 72: bytes received; not read by the adapter
    std::uint32_t receiveFlags;   // 76: not read by the adapter
    std::uint32_t ancillarySize;  // 80: not read by the adapter
    ZvkPixelFormat_t pixelFormat; // 84
    std::uint32_t width;          // 88: pixels
    std::uint32_t height;         // 92: pixels
    std::uint32_t offsetX;        // 96: left edge on the sensor, pixels
    std::uint32_t offsetY;        // 100: top edge on the sensor, pixels
    std::uint64_t reserved;       // 104: not read by the adapter
};

// Called on the SDK's own threads when a queued frame was filled or given up.
using ZvkFrameCallback = void (*)(ZvkHandle_t cameraHandle, ZvkHandle_t streamHandle, ZvkFrame_t* frame);

// Called on the SDK's own threads when a feature's value may have changed.
using ZvkInvalidationCallback = void (*)(ZvkHandle_t handle, const char* name, void* userContext);

// What ZvkSetImageInfoFromPixelFormat writes into a ZvkImage. Only width and height are read back by callers.
struct ZvkImageInfo
{
    std::uint32_t width;          // 0: pixels
    std::uint32_t height;         // 4: pixels
    std::int32_t stride;          // 8: bytes from one line to the next
    ZvkPixelFormat_t pixelFormat; // 12
    std::uint32_t bitsPerPixel;   // 16: as stored, packing included
    std::uint32_t reserved[5];    // 20
};

// The image record of the image-transform library. The caller owns the record and its pixels.
struct ZvkImage
{
    std::uint32_t size;     // 0: size of this record, set by the caller
    std::uint32_t padding4; // 4
    void* data;             // 8: pixels
    ZvkImageInfo imageInfo; // 16
};

struct ZvkTransformInfo; // parameters of a transform; the adapter passes none

} // extern "C"

// The SDK's results, one for every code, written once: ENTRY(name, code), descending from success.
// clang-format off
#define ZVK_RESULTS(ENTRY) \
    ENTRY(ZvkErrorSuccess, 0) \
    ENTRY(ZvkErrorInternalFault, -1) \
    ENTRY(ZvkErrorApiNotStarted, -2) \
    ENTRY(ZvkErrorNotFound, -3) \
    ENTRY(ZvkErrorBadHandle, -4) \
    ENTRY(ZvkErrorDeviceNotOpen, -5) \
    ENTRY(ZvkErrorInvalidAccess, -6) \
    ENTRY(ZvkErrorBadParameter, -7) \
    ENTRY(ZvkErrorStructSize, -8) \
    ENTRY(ZvkErrorMoreData, -9) \
    ENTRY(ZvkErrorWrongType, -10) \
    ENTRY(ZvkErrorInvalidValue, -11) \
    ENTRY(ZvkErrorTimeout, -12) \
    ENTRY(ZvkErrorOther, -13) \
    ENTRY(ZvkErrorResources, -14) \
    ENTRY(ZvkErrorInvalidCall, -15) \
    ENTRY(ZvkErrorNoTL, -16) \
    ENTRY(ZvkErrorNotImplemented, -17) \
    ENTRY(ZvkErrorNotSupported, -18) \
    ENTRY(ZvkErrorIncomplete, -19) \
    ENTRY(ZvkErrorIO, -20) \
    ENTRY(ZvkErrorValidValueSetNotPresent, -21) \
    ENTRY(ZvkErrorGenTLUnspecified, -22) \
    ENTRY(ZvkErrorUnspecified, -23) \
    ENTRY(ZvkErrorBusy, -24) \
    ENTRY(ZvkErrorNoData, -25) \
    ENTRY(ZvkErrorParsingChunkData, -26) \
    ENTRY(ZvkErrorInUse, -27) \
    ENTRY(ZvkErrorUnknown, -28) \
    ENTRY(ZvkErrorXml, -29) \
    ENTRY(ZvkErrorNotAvailable, -30) \
    ENTRY(ZvkErrorNotInitialized, -31) \
    ENTRY(ZvkErrorInvalidAddress, -32) \
    ENTRY(ZvkErrorAlready, -33) \
    ENTRY(ZvkErrorNoChunkData, -34) \
    ENTRY(ZvkErrorUserCallbackException, -35) \
    ENTRY(ZvkErrorFeaturesUnavailable, -36) \
    ENTRY(ZvkErrorTLNotFound, -37) \
    ENTRY(ZvkErrorAmbiguous, -38) \
    ENTRY(ZvkErrorRetriesExceeded, -39) \
    ENTRY(ZvkErrorInsufficientBufferCount, -40)
// clang-format on

#define ZVK_CONSTANT(name, code) inline constexpr ZvkError_t name = code;
ZVK_RESULTS(ZVK_CONSTANT)
#undef ZVK_CONSTANT

// Access mode of ZvkCameraOpen: full control of the camera.
inline constexpr std::uint32_t ZvkAccessModeFull = 1;

// Pixel formats that the adapter tells apart (GenICam PFNC codes; their names are the SDK's).
inline constexpr ZvkPixelFormat_t ZvkPixelFormatMono8 = 0x01080001;
inline constexpr ZvkPixelFormat_t ZvkPixelFormatMono10 = 0x01100003;
inline constexpr ZvkPixelFormat_t ZvkPixelFormatMono12 = 0x01100005;
inline constexpr ZvkPixelFormat_t ZvkPixelFormatMono12Packed = 0x010C0006;
inline constexpr ZvkPixelFormat_t ZvkPixelFormatMono14 = 0x01100025;
inline constexpr ZvkPixelFormat_t ZvkPixelFormatMono16 = 0x01100007;
inline constexpr ZvkPixelFormat_t ZvkPixelFormatRgb8 = 0x02180014;

static_assert(std::is_standard_layout_v<ZvkVersionInfo_t> && sizeof(ZvkVersionInfo_t) == 12);
static_assert(offsetof(ZvkVersionInfo_t, major) == 0);
static_assert(offsetof(ZvkVersionInfo_t, minor) == 4);
static_assert(offsetof(ZvkVersionInfo_t, patch) == 8);

static_assert(std::is_standard_layout_v<ZvkCameraInfo_t> && sizeof(ZvkCameraInfo_t) == 80);
static_assert(offsetof(ZvkCameraInfo_t, cameraIdString) == 0);
static_assert(offsetof(ZvkCameraInfo_t, modelName) == 24);
static_assert(offsetof(ZvkCameraInfo_t, serialString) == 32);
static_assert(offsetof(ZvkCameraInfo_t, transportLayerHandle) == 40);
static_assert(offsetof(ZvkCameraInfo_t, streamHandles) == 64);
static_assert(offsetof(ZvkCameraInfo_t, streamCount) == 72);

static_assert(std::is_standard_layout_v<ZvkFeatureInfo_t> && sizeof(ZvkFeatureInfo_t) == 88);
static_assert(offsetof(ZvkFeatureInfo_t, name) == 0);
static_assert(offsetof(ZvkFeatureInfo_t, description) == 32);
static_assert(offsetof(ZvkFeatureInfo_t, featureDataType) == 64);

static_assert(std::is_standard_layout_v<ZvkFrame_t> && sizeof(ZvkFrame_t) == 112);
static_assert(offsetof(ZvkFrame_t, buffer) == 0);
static_assert(offsetof(ZvkFrame_t, bufferSize) == 8);
static_assert(offsetof(ZvkFrame_t, context) == 16);
static_assert(offsetof(ZvkFrame_t, receiveStatus) == 48);
static_assert(offsetof(ZvkFrame_t, frameId) == 56);
static_assert(offsetof(ZvkFrame_t, timestamp) == 64);
static_assert(offsetof(ZvkFrame_t, pixelFormat) == 84);
static_assert(offsetof(ZvkFrame_t, width) == 88);
static_assert(offsetof(ZvkFrame_t, height) == 92);
static_assert(offsetof(ZvkFrame_t, offsetX) == 96);
static_assert(offsetof(ZvkFrame_t, offsetY) == 100);

static_assert(std::is_standard_layout_v<ZvkImage> && sizeof(ZvkImage) == 56);
static_assert(offsetof(ZvkImage, size) == 0);
static_assert(offsetof(ZvkImage, data) == 8);
static_assert(offsetof(ZvkImage, imageInfo) == 16);
static_assert(sizeof(ZvkImageInfo) == 40);
static_assert(offsetof(ZvkImageInfo, width) == 0);
static_assert(offsetof(ZvkImageInfo, height) == 4);
