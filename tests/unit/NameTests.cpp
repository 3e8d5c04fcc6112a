#include "sdk/Names.h"

#include <gtest/gtest.h>
#include <string>
#include <string_view>

namespace maravel {

namespace {

// FNV-1a. Stands for a table that was compared with its source by eye, and tells of every change since.
class Checksum
{
public:
    void Add(long long code, std::string_view name)
    {
        const std::string line = std::to_string(code) + ' ' + std::string(name) + '\n';
        for (const char c : line) {
            sum_ = (sum_ ^ static_cast<unsigned char>(c)) * 16777619u;
        }
    }
    std::uint32_t Sum() const { return sum_; }

private:
    std::uint32_t sum_ = 2166136261u;
};

} // namespace

TEST(ResultNames, EveryCodeOfTheRangeAndNoneBesides)
{
    Checksum names;
    for (ZvkError_t code = 0; code >= -40; --code) {
        names.Add(code, ErrorCodeName(code));
    }
    EXPECT_EQ(names.Sum(), 2079640457u);
    EXPECT_STREQ(ErrorCodeName(-40), "ZvkErrorInsufficientBufferCount");
    for (const ZvkError_t code : {-41, 1, INT32_MAX, INT32_MIN}) {
        EXPECT_STREQ(ErrorCodeName(code), "Unknown Zorvik Error");
    }
}

TEST(ResultNames, ConstantsHaveTheCodesOfTheirNames)
{
#define EXPECT_NAME(name, code) EXPECT_STREQ(ErrorCodeName(name), #name);
    ZVK_RESULTS(EXPECT_NAME)
#undef EXPECT_NAME
}

TEST(PixelFormatNames, EveryFormatAndNoneBesides)
{
    Checksum names;
    int count = 0;
    // All codes that the PFNC has room for: components, bits of a pixel, number.
    for (const std::uint32_t components : {1u, 2u}) {
        for (std::uint32_t bitsAndNumber = 0; bitsAndNumber <= 0x40FFFF; ++bitsAndNumber) {
            const std::uint32_t code = components << 24 | bitsAndNumber;
            const std::string_view name = PixelFormatName(code);
            if (name != "Unknown pixel format") {
                names.Add(code, name);
                ++count;
            }
        }
    }
    EXPECT_EQ(count, 74);
    EXPECT_EQ(names.Sum(), 2958752860u);
    EXPECT_STREQ(PixelFormatName(0x01080001), "ZvkPixelFormatMono8");
    EXPECT_STREQ(PixelFormatName(0), "Unknown pixel format");
    EXPECT_STREQ(PixelFormatName(0xFFFFFFFF), "Unknown pixel format");
}

} // namespace maravel
