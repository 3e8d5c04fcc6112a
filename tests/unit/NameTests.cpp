#include "sdk/PixelFormatNames.h"
#include "sdk/ResultNames.h"

#include <gtest/gtest.h>

namespace maravel {

TEST(ResultNames, EveryCodeOfTheRangeAndNoneBesides)
{
    const std::pair<ZvkError_t, const char*> rows[] = {
        {0, "ZvkErrorSuccess"},
        {-1, "ZvkErrorInternalFault"},
        {-9, "ZvkErrorMoreData"},
        {-16, "ZvkErrorNoTL"},
        {-27, "ZvkErrorInUse"},
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

TEST(PixelFormatNames, FirstLastAndBetween)
{
    const std::pair<ZvkPixelFormat_t, const char*> rows[] = {
        {0x01080001, "ZvkPixelFormatMono8"},  {0x0108000B, "ZvkPixelFormatBayerBG8"},
        {0x0210001F, "ZvkPixelFormatYuv422"}, {0x02200016, "ZvkPixelFormatArgb8"},
        {0x02180014, "ZvkPixelFormatRgb8"},   {0x02400064, "ZvkPixelFormatRgba16"},
        {0, "Unknown pixel format"},          {0x02180016, "Unknown pixel format"},
        {0x01080002, "Unknown pixel format"}, {0xFFFFFFFF, "Unknown pixel format"},
    };
    for (const auto& [format, name] : rows) {
        EXPECT_STREQ(PixelFormatName(format), name);
    }
}

} // namespace maravel
