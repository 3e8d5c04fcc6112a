#include "diag/TextFormat.h"
#include "support/TestPlatform.h"

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <string>

namespace maravel {

namespace {

// Formats with ours and with the C library's.
#define EXPECT_AS_PRINTF(...)                                                                                \
    do {                                                                                                     \
        char ours[1200];                                                                                     \
        char theirs[1200];                                                                                   \
        FormatErrorText(ours, sizeof ours, __VA_ARGS__);                                                     \
        std::snprintf(theirs, sizeof theirs, __VA_ARGS__);                                                   \
        EXPECT_STREQ(ours, theirs);                                                                          \
    } while (false)

} // namespace

TEST(TextFormat, PrintsLikeTheCLibrary)
{
    EXPECT_AS_PRINTF("plain");
    EXPECT_AS_PRINTF("%dl of %slight, %ull, %12d|%10d|%012X", 5, "sun", 7u, -3, -3, 0xABCu);
    EXPECT_AS_PRINTF("100%% of %s: '%s'", "GetImage", "");
    for (const int value : {0, 1, -1, 9, 10, 123456789, INT_MAX, INT_MIN}) {
        EXPECT_AS_PRINTF("%d|%u|0x%08X|%X|%02d|%03d|%05u|%4d", value, static_cast<unsigned>(value),
                         static_cast<unsigned>(value), static_cast<unsigned>(value), value, value,
                         static_cast<unsigned>(value), value);
    }
    for (const long long value : {0LL, -1LL, LLONG_MAX, LLONG_MIN, 1LL << 32}) {
        EXPECT_AS_PRINTF("%lld|%llu", value, static_cast<unsigned long long>(value));
    }
    for (const double value :
         {0.0, -0.0, 0.5, 1e-7, 0.1, 2.0 / 3.0, 999999.9999995, 20000.0, 1e15, 1e22, DBL_MAX, -DBL_MAX,
          DBL_MIN, static_cast<double>(INFINITY), -static_cast<double>(INFINITY)}) {
        EXPECT_AS_PRINTF("%f", value);
    }
}

TEST(TextFormat, CutsAtTheEndOfTheBuffer)
{
    for (std::size_t size = 0; size <= 12; ++size) {
        char buffer[16];
        std::memset(buffer, '#', sizeof buffer);
        const int length = FormatErrorText(buffer, size, "%s%d%s", "abc", -12, "xyzxyz");
        const std::string whole = "abc-12xyzxyz";
        if (size == 0) {
            EXPECT_EQ(length, 0);
            EXPECT_EQ(buffer[0], '#');
            continue;
        }
        EXPECT_EQ(std::string(buffer), whole.substr(0, size - 1));
        EXPECT_EQ(length, static_cast<int>(size) - 1);
        EXPECT_EQ(buffer[size], '#');
    }
}

TEST(TextFormat, NullTextsPrintAsSuch)
{
    char buffer[32];
    const char* const volatile none = nullptr;
    FormatErrorText(buffer, sizeof buffer, "[%s]", none);
    EXPECT_STREQ(buffer, "[(null)]");
}

TEST(ErrorText, ArrivesCutTo255)
{
    char buffer[257];
    buffer[256] = '#';
    const std::string longText(300, 'e');
    EXPECT_EQ(FormatErrorText(buffer, ErrorTextSize, "%s", longText.c_str()), 255);
    EXPECT_EQ(std::string(buffer), longText.substr(0, 255));
    EXPECT_EQ(buffer[256], '#');
    CopyTextBounded(buffer, 4, "abcdef");
    EXPECT_STREQ(buffer, "abc");
    CopyTextBounded(buffer, 4, nullptr);
    EXPECT_STREQ(buffer, "");
}

} // namespace maravel
