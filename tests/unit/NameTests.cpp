#include "sdk/PixelFormatNames.h"
#include "sdk/ResultNames.h"

#include <gtest/gtest.h>

namespace maravel {

TEST(ResultNames, EveryCodeOfTheRangeAndNoneBesides)
{
    const std::pair<ZvkError_t, const char*> rows[] = {
        {0, "ZvkErrorSuccess"},
        {-1, "ZvkErrorInternalFault"},
        {-2, "ZvkErrorApiNotStarted"},
        {-3, "ZvkErrorNotFound"},
        {-4, "ZvkErrorBadHandle"},
        {-5, "ZvkErrorDeviceNotOpen"},
        {-6, "ZvkErrorInvalidAccess"},
        {-7, "ZvkErrorBadParameter"},
        {-8, "ZvkErrorStructSize"},
        {-9, "ZvkErrorMoreData"},
        {-10, "ZvkErrorWrongType"},
        {-11, "ZvkErrorInvalidValue"},
        {-12, "ZvkErrorTimeout"},
        {-13, "ZvkErrorOther"},
        {-14, "ZvkErrorResources"},
        {-15, "ZvkErrorInvalidCall"},
        {-16, "ZvkErrorNoTL"},
        {-17, "ZvkErrorNotImplemented"},
        {-18, "ZvkErrorNotSupported"},
        {-19, "ZvkErrorIncomplete"},
        {-20, "ZvkErrorIO"},
        {-21, "ZvkErrorValidValueSetNotPresent"},
        {-22, "ZvkErrorGenTLUnspecified"},
        {-23, "ZvkErrorUnspecified"},
        {-24, "ZvkErrorBusy"},
        {-25, "ZvkErrorNoData"},
        {-26, "ZvkErrorParsingChunkData"},
        {-27, "ZvkErrorInUse"},
        {-28, "ZvkErrorUnknown"},
        {-29, "ZvkErrorXml"},
        {-30, "ZvkErrorNotAvailable"},
        {-31, "ZvkErrorNotInitialized"},
        {-32, "ZvkErrorInvalidAddress"},
        {-33, "ZvkErrorAlready"},
        {-34, "ZvkErrorNoChunkData"},
        {-35, "ZvkErrorUserCallbackException"},
        {-36, "ZvkErrorFeaturesUnavailable"},
        {-37, "ZvkErrorTLNotFound"},
        {-38, "ZvkErrorAmbiguous"},
        {-39, "ZvkErrorRetriesExceeded"},
        {-40, "ZvkErrorInsufficientBufferCount"},
        {-41, "Unknown Zorvik Error"},
        {1, "Unknown Zorvik Error"},
        {INT32_MAX, "Unknown Zorvik Error"},
        {INT32_MIN, "Unknown Zorvik Error"},
    };
    for (const auto& [code, name] : rows) {
        EXPECT_STREQ(ErrorCodeName(code), name);
    }
}

TEST(ResultNames, ConstantsHaveTheCodesOfTheirNames)
{
#define ROW(name)                                                                                            \
    {                                                                                                        \
        name, #name                                                                                          \
    }
    const std::pair<ZvkError_t, const char*> rows[] = {
        ROW(ZvkErrorSuccess),       ROW(ZvkErrorInternalFault), ROW(ZvkErrorApiNotStarted),
        ROW(ZvkErrorNotFound),      ROW(ZvkErrorBadHandle),     ROW(ZvkErrorDeviceNotOpen),
        ROW(ZvkErrorInvalidAccess), ROW(ZvkErrorBadParameter),  ROW(ZvkErrorStructSize),
        ROW(ZvkErrorMoreData),      ROW(ZvkErrorWrongType),     ROW(ZvkErrorInvalidValue),
        ROW(ZvkErrorTimeout),       ROW(ZvkErrorResources),     ROW(ZvkErrorInvalidCall),
        ROW(ZvkErrorNotSupported),  ROW(ZvkErrorIncomplete),    ROW(ZvkErrorIO),
        ROW(ZvkErrorBusy),          ROW(ZvkErrorInUse),         ROW(ZvkErrorNotAvailable),
        ROW(ZvkErrorAlready)};
#undef ROW
    for (const auto& [code, name] : rows) {
        EXPECT_STREQ(ErrorCodeName(code), name);
    }
}

TEST(PixelFormatNames, EveryFormatAndNoneBesides)
{
    const std::pair<ZvkPixelFormat_t, const char*> rows[] = {
        {0x01080001, "ZvkPixelFormatMono8"},
        {0x01080008, "ZvkPixelFormatBayerGR8"},
        {0x01080009, "ZvkPixelFormatBayerRG8"},
        {0x0108000A, "ZvkPixelFormatBayerGB8"},
        {0x0108000B, "ZvkPixelFormatBayerBG8"},
        {0x010A0046, "ZvkPixelFormatMono10p"},
        {0x010A0052, "ZvkPixelFormatBayerBG10p"},
        {0x010A0054, "ZvkPixelFormatBayerGB10p"},
        {0x010A0056, "ZvkPixelFormatBayerGR10p"},
        {0x010A0058, "ZvkPixelFormatBayerRG10p"},
        {0x010C0006, "ZvkPixelFormatMono12Packed"},
        {0x010C002A, "ZvkPixelFormatBayerGR12Packed"},
        {0x010C002B, "ZvkPixelFormatBayerRG12Packed"},
        {0x010C002C, "ZvkPixelFormatBayerGB12Packed"},
        {0x010C002D, "ZvkPixelFormatBayerBG12Packed"},
        {0x010C0047, "ZvkPixelFormatMono12p"},
        {0x010C0053, "ZvkPixelFormatBayerBG12p"},
        {0x010C0055, "ZvkPixelFormatBayerGB12p"},
        {0x010C0057, "ZvkPixelFormatBayerGR12p"},
        {0x010C0059, "ZvkPixelFormatBayerRG12p"},
        {0x01100003, "ZvkPixelFormatMono10"},
        {0x01100005, "ZvkPixelFormatMono12"},
        {0x01100007, "ZvkPixelFormatMono16"},
        {0x0110000C, "ZvkPixelFormatBayerGR10"},
        {0x0110000D, "ZvkPixelFormatBayerRG10"},
        {0x0110000E, "ZvkPixelFormatBayerGB10"},
        {0x0110000F, "ZvkPixelFormatBayerBG10"},
        {0x01100010, "ZvkPixelFormatBayerGR12"},
        {0x01100011, "ZvkPixelFormatBayerRG12"},
        {0x01100012, "ZvkPixelFormatBayerGB12"},
        {0x01100013, "ZvkPixelFormatBayerBG12"},
        {0x01100025, "ZvkPixelFormatMono14"},
        {0x0110002E, "ZvkPixelFormatBayerGR16"},
        {0x0110002F, "ZvkPixelFormatBayerRG16"},
        {0x01100030, "ZvkPixelFormatBayerGB16"},
        {0x01100031, "ZvkPixelFormatBayerBG16"},
        {0x020C001E, "ZvkPixelFormatYuv411"},
        {0x020C003C, "ZvkPixelFormatYCbCr411_8_CbYYCrYY"},
        {0x020C003F, "ZvkPixelFormatYCbCr601_411_8_CbYYCrYY"},
        {0x020C0042, "ZvkPixelFormatYCbCr709_411_8_CbYYCrYY"},
        {0x020C005A, "ZvkPixelFormatYCbCr411_8"},
        {0x0210001F, "ZvkPixelFormatYuv422"},
        {0x02100032, "ZvkPixelFormatYuv422_8"},
        {0x0210003B, "ZvkPixelFormatYCbCr422_8"},
        {0x0210003E, "ZvkPixelFormatYCbCr601_422_8"},
        {0x02100041, "ZvkPixelFormatYCbCr709_422_8"},
        {0x02100043, "ZvkPixelFormatYCbCr422_8_CbYCrY"},
        {0x02100044, "ZvkPixelFormatYCbCr601_422_8_CbYCrY"},
        {0x02100045, "ZvkPixelFormatYCbCr709_422_8_CbYCrY"},
        {0x02180014, "ZvkPixelFormatRgb8"},
        {0x02180015, "ZvkPixelFormatBgr8"},
        {0x02180020, "ZvkPixelFormatYuv444"},
        {0x0218003A, "ZvkPixelFormatYCbCr8_CbYCr"},
        {0x0218003D, "ZvkPixelFormatYCbCr601_8_CbYCr"},
        {0x02180040, "ZvkPixelFormatYCbCr709_8_CbYCr"},
        {0x0218005B, "ZvkPixelFormatYCbCr8"},
        {0x02200016, "ZvkPixelFormatArgb8"},
        {0x02200017, "ZvkPixelFormatBgra8"},
        {0x02300018, "ZvkPixelFormatRgb10"},
        {0x02300019, "ZvkPixelFormatBgr10"},
        {0x0230001A, "ZvkPixelFormatRgb12"},
        {0x0230001B, "ZvkPixelFormatBgr12"},
        {0x02300033, "ZvkPixelFormatRgb16"},
        {0x0230004A, "ZvkPixelFormatBgr14"},
        {0x0230004B, "ZvkPixelFormatBgr16"},
        {0x0230005E, "ZvkPixelFormatRgb14"},
        {0x0240004C, "ZvkPixelFormatBgra10"},
        {0x0240004E, "ZvkPixelFormatBgra12"},
        {0x02400050, "ZvkPixelFormatBgra14"},
        {0x02400051, "ZvkPixelFormatBgra16"},
        {0x0240005F, "ZvkPixelFormatRgba10"},
        {0x02400061, "ZvkPixelFormatRgba12"},
        {0x02400063, "ZvkPixelFormatRgba14"},
        {0x02400064, "ZvkPixelFormatRgba16"},
        {0, "Unknown pixel format"},
        {0x02180016, "Unknown pixel format"},
        {0x01080002, "Unknown pixel format"},
        {0xFFFFFFFF, "Unknown pixel format"},
    };
    for (const auto& [format, name] : rows) {
        EXPECT_STREQ(PixelFormatName(format), name);
    }
}

} // namespace maravel
