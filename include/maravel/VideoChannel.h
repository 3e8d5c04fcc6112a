/* The interface between a machine-vision host and the acquisition adapter.
 *
 * A host loads the adapter library, looks up the one exported function "GetVideoChannel" and calls it with
 * index 0, 1, 2, ... until it answers MARAVEL_FAILURE. Each call fills a VideoChannelDescriptor, whose
 * callbacks drive that channel from then on. Valid C (C11) and C++.
 *
 * Every function here
 *  - takes as its first argument a text buffer of MARAVEL_TEXT_SIZE characters that the host owns; after a
 *    failure it holds one line that says why (at most 255 characters and a terminating null);
 *  - takes the channel's index (VideoChannelDescriptor::channelID) as its second argument;
 *  - returns MARAVEL_SUCCESS or MARAVEL_FAILURE;
 *  - may be called from any thread. Calls are served one at a time.
 *
 * All records are little-endian with 8-byte pointers; their byte offsets are pinned at the end of this file.
 */
#ifndef MARAVEL_VIDEOCHANNEL_H
#define MARAVEL_VIDEOCHANNEL_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
#define MARAVEL_CALL __stdcall
#else
#define MARAVEL_CALL
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Version of this interface. It grows when something is added; a record or callback that is there never
 * changes. */
#define MARAVEL_INTERFACE_VERSION 1

/* Status that every function returns. */
#define MARAVEL_SUCCESS 0
#define MARAVEL_FAILURE 1 /* a failure, or the end of a list */

/* Size of every text buffer that crosses the interface, in characters, terminating null included. */
#define MARAVEL_TEXT_SIZE 256

/* Image status, written by QueryImageStatus, GetImageAttributes and GetImage. */
enum
{
    ImageStatusReady = 0x0000,      /* an image waits, or was delivered */
    ImageStatusPending = 0x1000,    /* no image waits yet */
    ImageStatusError = 0x2000,      /* the request failed (GetImage only) */
    ImageStatusUnavailable = 0x3000 /* the adapter is not started, or there is no such channel */
};

/* ImageAttributes::pixelType: how GetImage lays the image out. */
enum
{
    PixelTypeMono8 = 0,        /* one byte a pixel */
    PixelTypeRgbPlanes = 2,    /* width x height bytes of red, then of green, then of blue */
    PixelTypeMono16 = 9,       /* two bytes a pixel, little-endian */
    PixelTypeMono10 = 12,      /* two bytes a pixel, value in the low 10 bits */
    PixelTypeMono12 = 13,      /* two bytes a pixel, value in the low 12 bits */
    PixelTypeMono14 = 16,      /* two bytes a pixel, value in the low 14 bits */
    PixelTypeMono12Packed = 18 /* two pixels in three bytes, GigE Vision packing */
};

/* Feature types, written by GetFeatureType. */
enum
{
    FeatureTypeUnsupported = -1, /* a type whose values do not cross this interface */
    FeatureTypeEnum = 1,
    FeatureTypeInt = 2,
    FeatureTypeFloat = 3,
    FeatureTypeCommand = 4,
    FeatureTypeBool = 5,
    FeatureTypeString = 6
};

/* What GetFeatureAttr is asked for. */
enum
{
    FeatureAttrDescription = 1, /* the feature's description */
    FeatureAttrReadable = 2,    /* "True" or "False": can be read now */
    FeatureAttrWritable = 3     /* "True" or "False": can be written now */
};

/* The host's common acquisition parameters. Read by SetupCommonParams, never written. */
typedef struct CommonParams
{
    uint8_t hostData0[8];        /* 0: the host's own, not read */
    double exposure;             /* 8: exposure time in seconds */
    uint8_t hostData16[16];      /* 16: the host's own, not read */
    int32_t acqContinuous;       /* 32: 1 acquire continuously, 0 acquire on demand */
    int32_t acqTriggered;        /* 36: 1 an external hardware trigger starts images, 0 not */
    int32_t acqTriggerLowToHigh; /* 40: non-zero trigger on the rising edge, 0 on the falling edge */
    int32_t roix;                /* 44: left edge of the region of interest, pixels */
    int32_t roiy;                /* 48: top edge, pixels */
    int32_t roiwidth;            /* 52: width, pixels; more than the camera's maximum means the maximum */
    int32_t roiheight;           /* 56: height, pixels; likewise */
} CommonParams;                  /* 64 bytes with padding; the first 60 are read */

/* What GetImageAttributes says of the oldest image that waits. */
typedef struct ImageAttributes
{
    int32_t structSize;   /* 0: set by the host: size of its record in bytes */
    int32_t width;        /* 4: pixels */
    int32_t height;       /* 8: pixels */
    int32_t pitch;        /* 12: equal to width */
    int32_t pixelType;    /* 16: PixelType... */
    int32_t regionX;      /* 20: 0 */
    int32_t regionY;      /* 24: 0 */
    int32_t regionWidth;  /* 28: equal to width */
    int32_t regionHeight; /* 32: equal to height */
    int32_t offsetX;      /* 36: the image's left edge on the sensor, pixels */
    int32_t offsetY;      /* 40: the image's top edge on the sensor, pixels */
    int32_t hostData44;   /* 44: not written */
    uint64_t timestamp;   /* 48: the camera's time stamp, in its ticks; written when structSize exceeds 44 */
} ImageAttributes;

/* Applies exposure, trigger mode, trigger edge and region of interest. Opens a closed camera. errorText holds
 * the last message reported, also after success, when a feature that matters less could not be written. */
typedef int32_t(MARAVEL_CALL* SetupCommonParamsFn)(char* errorText, int64_t channelID,
                                                   const CommonParams* params);

/* Describes the oldest image that waits. With none, writes ImageStatusPending and leaves the record alone. */
typedef int32_t(MARAVEL_CALL* GetImageAttributesFn)(char* errorText, int64_t channelID,
                                                    ImageAttributes* attributes, uint32_t* imageStatus);

/* Tells whether an image waits. Always returns MARAVEL_SUCCESS; errorText is not used. */
typedef int32_t(MARAVEL_CALL* QueryImageStatusFn)(char* errorText, int64_t channelID, uint32_t* imageStatus);

/* Delivers the oldest image that waits and gives its buffer back to the camera. With none, writes
 * ImageStatusPending and returns success. destination holds the frame's payload size in bytes for the
 * monochrome formats and 3 x width x height bytes for every other one. */
typedef int32_t(MARAVEL_CALL* GetImageFn)(char* errorText, int64_t channelID, void* destination,
                                          uint32_t* imageStatus);

/* Starts acquisition. In the manual trigger mode every call also fires one software trigger. */
typedef int32_t(MARAVEL_CALL* StartAcquisitionFn)(char* errorText, int64_t channelID);

/* Stops acquisition. Images that still wait are dropped. */
typedef int32_t(MARAVEL_CALL* StopAcquisitionFn)(char* errorText, int64_t channelID);

/* Runs a command feature and waits for it, one second at most. Opens a closed camera. */
typedef int32_t(MARAVEL_CALL* ExecuteCommandFn)(char* errorText, int64_t channelID, const char* featureName);

/* Reads a feature as text into valueText (MARAVEL_TEXT_SIZE characters). Opens a closed camera. */
typedef int32_t(MARAVEL_CALL* ReadValueFn)(char* errorText, int64_t channelID, const char* featureName,
                                           char* valueText);

/* Writes a feature from text; numbers are clamped to the feature's range. Opens a closed camera. */
typedef int32_t(MARAVEL_CALL* WriteValueFn)(char* errorText, int64_t channelID, const char* featureName,
                                            const char* valueText);

/* Name of the feature at listIndex (0, 1, ...) in byte order, into nameText (MARAVEL_TEXT_SIZE characters).
 */
typedef int32_t(MARAVEL_CALL* GetFeatureNameFn)(char* errorText, int64_t channelID, int32_t listIndex,
                                                char* nameText);

/* Type of a feature: FeatureType... */
typedef int32_t(MARAVEL_CALL* GetFeatureTypeFn)(char* errorText, int64_t channelID, const char* featureName,
                                                int32_t* featureType);

/* Entry at entryIndex among those entries of an enumeration that are available now. Needs an open camera. */
typedef int32_t(MARAVEL_CALL* GetValidEnumFn)(char* errorText, int64_t channelID, const char* featureName,
                                              uint32_t entryIndex, char* entryText);

/* Attribute of a feature: FeatureAttr... Access is answered for an open camera only. */
typedef int32_t(MARAVEL_CALL* GetFeatureAttrFn)(char* errorText, int64_t channelID, const char* featureName,
                                                uint32_t attrKind, char* attrText);

/* Closes the channel's camera, and shuts the adapter down when no other camera is open. */
typedef int32_t(MARAVEL_CALL* ReleaseVideoChannelFn)(char* errorText, int64_t channelID);

/* One channel. The host owns the record and sets structSize; the adapter fills the rest and keeps no pointer
 * to it. The five callbacks from GetFeatureName on are written only when structSize exceeds 608; every other
 * field is written whatever structSize says. Packed to 4 bytes: the record ends at byte 684. */
#pragma pack(push, 4)
typedef struct VideoChannelDescriptor
{
    int32_t structSize;                      /* 0: set by the host: size of its record in bytes */
    int32_t hostData4;                       /* 4: the host's own, not touched */
    int64_t channelID;                       /* 8: second argument of every callback */
    SetupCommonParamsFn SetupCommonParams;   /* 16 */
    GetImageAttributesFn GetImageAttributes; /* 24 */
    QueryImageStatusFn QueryImageStatus;     /* 32 */
    GetImageFn GetImage;                     /* 40 */
    StartAcquisitionFn StartAcquisition;     /* 48 */
    StopAcquisitionFn StopAcquisition;       /* 56 */
    ExecuteCommandFn ExecuteCommand;         /* 64 */
    ReadValueFn ReadValue;                   /* 72 */
    WriteValueFn WriteValue;                 /* 80 */
    char label[256];                         /* 88: text to show, null-terminated */
    char serialNumber[256];                  /* 344: the camera's serial number, null-terminated */
    double exposureTime;                     /* 600: seconds, at opening; only if the camera has one */
    uint8_t hostData608[16];                 /* 608: the host's own, not touched */
    int32_t width;                           /* 624: pixels, at opening */
    int32_t height;                          /* 628: pixels, at opening */
    double exposureTimeMin;                  /* 632: microseconds; only if the camera has an exposure time */
    GetFeatureNameFn GetFeatureName;         /* 640 */
    GetFeatureTypeFn GetFeatureType;         /* 648 */
    GetValidEnumFn GetValidEnum;             /* 656 */
    GetFeatureAttrFn GetFeatureAttr;         /* 664 */
    ReleaseVideoChannelFn ReleaseVideoChannel; /* 672 */
    int32_t openResult;                        /* 680: 0 opened and initialised, 1 opening failed */
} VideoChannelDescriptor;
#pragma pack(pop)

/* Fills the descriptor of the channel at channelIndex (0, 1, ...). Index 0 first starts the adapter. Returns
 * MARAVEL_FAILURE when there is no such channel or the adapter could not start; errorText is written only
 * when the SDK's folder is missing or memory ran out. Where a library does not load or the SDK refuses to
 * start, the log alone tells the reason. After MARAVEL_SUCCESS, openResult tells whether the camera could be
 * opened. */
typedef int32_t(MARAVEL_CALL* GetVideoChannelFn)(char* errorText, int32_t channelIndex,
                                                 VideoChannelDescriptor* descriptor);

#ifdef __cplusplus
}
#define MARAVEL_PIN(condition) static_assert(condition, #condition)
#else
#define MARAVEL_PIN(condition) _Static_assert(condition, #condition)
#endif

MARAVEL_PIN(sizeof(CommonParams) == 64);
MARAVEL_PIN(offsetof(CommonParams, exposure) == 8);
MARAVEL_PIN(offsetof(CommonParams, acqContinuous) == 32);
MARAVEL_PIN(offsetof(CommonParams, acqTriggered) == 36);
MARAVEL_PIN(offsetof(CommonParams, acqTriggerLowToHigh) == 40);
MARAVEL_PIN(offsetof(CommonParams, roix) == 44);
MARAVEL_PIN(offsetof(CommonParams, roiy) == 48);
MARAVEL_PIN(offsetof(CommonParams, roiwidth) == 52);
MARAVEL_PIN(offsetof(CommonParams, roiheight) == 56);

MARAVEL_PIN(sizeof(ImageAttributes) == 56);
MARAVEL_PIN(offsetof(ImageAttributes, structSize) == 0);
MARAVEL_PIN(offsetof(ImageAttributes, width) == 4);
MARAVEL_PIN(offsetof(ImageAttributes, height) == 8);
MARAVEL_PIN(offsetof(ImageAttributes, pitch) == 12);
MARAVEL_PIN(offsetof(ImageAttributes, pixelType) == 16);
MARAVEL_PIN(offsetof(ImageAttributes, regionX) == 20);
MARAVEL_PIN(offsetof(ImageAttributes, regionY) == 24);
MARAVEL_PIN(offsetof(ImageAttributes, regionWidth) == 28);
MARAVEL_PIN(offsetof(ImageAttributes, regionHeight) == 32);
MARAVEL_PIN(offsetof(ImageAttributes, offsetX) == 36);
MARAVEL_PIN(offsetof(ImageAttributes, offsetY) == 40);
MARAVEL_PIN(offsetof(ImageAttributes, timestamp) == 48);

MARAVEL_PIN(sizeof(VideoChannelDescriptor) == 684);
MARAVEL_PIN(offsetof(VideoChannelDescriptor, structSize) == 0);
MARAVEL_PIN(offsetof(VideoChannelDescriptor, channelID) == 8);
MARAVEL_PIN(offsetof(VideoChannelDescriptor, SetupCommonParams) == 16);
MARAVEL_PIN(offsetof(VideoChannelDescriptor, GetImageAttributes) == 24);
MARAVEL_PIN(offsetof(VideoChannelDescriptor, QueryImageStatus) == 32);
MARAVEL_PIN(offsetof(VideoChannelDescriptor, GetImage) == 40);
MARAVEL_PIN(offsetof(VideoChannelDescriptor, StartAcquisition) == 48);
MARAVEL_PIN(offsetof(VideoChannelDescriptor, StopAcquisition) == 56);
MARAVEL_PIN(offsetof(VideoChannelDescriptor, ExecuteCommand) == 64);
MARAVEL_PIN(offsetof(VideoChannelDescriptor, ReadValue) == 72);
MARAVEL_PIN(offsetof(VideoChannelDescriptor, WriteValue) == 80);
MARAVEL_PIN(offsetof(VideoChannelDescriptor, label) == 88);
MARAVEL_PIN(offsetof(VideoChannelDescriptor, serialNumber) == 344);
MARAVEL_PIN(offsetof(VideoChannelDescriptor, exposureTime) == 600);
MARAVEL_PIN(offsetof(VideoChannelDescriptor, width) == 624);
MARAVEL_PIN(offsetof(VideoChannelDescriptor, height) == 628);
MARAVEL_PIN(offsetof(VideoChannelDescriptor, exposureTimeMin) == 632);
MARAVEL_PIN(offsetof(VideoChannelDescriptor, GetFeatureName) == 640);
MARAVEL_PIN(offsetof(VideoChannelDescriptor, GetFeatureType) == 648);
MARAVEL_PIN(offsetof(VideoChannelDescriptor, GetValidEnum) == 656);
MARAVEL_PIN(offsetof(VideoChannelDescriptor, GetFeatureAttr) == 664);
MARAVEL_PIN(offsetof(VideoChannelDescriptor, ReleaseVideoChannel) == 672);
MARAVEL_PIN(offsetof(VideoChannelDescriptor, openResult) == 680);

#undef MARAVEL_PIN

#endif /* MARAVEL_VIDEOCHANNEL_H */
