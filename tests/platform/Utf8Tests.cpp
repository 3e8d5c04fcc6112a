#include "platform/posix/System.h"

#include <gtest/gtest.h>

namespace maravel::posix {

TEST(Utf8, EveryTextSurvivesTheWayThereAndBack)
{
    const std::string texts[] = {"", "/opt/zorvik", "gr\xC3\xBCn", "\xE2\x82\xAC", "\xF0\x9F\x93\xB7",
                                 // not UTF-8
                                 "\x80", "\xC3", "\xC3(", "\xE2\x82", "\xF0\x9F\x93", "\xC0\x80",
                                 "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xFF\xFE", "-\xFF-", "\xE0\x80\x80",
                                 "\xF0\x80\x80\x80"};
    for (const std::string& text : texts) {
        EXPECT_EQ(NarrowText(WideText(text)), text);
    }
    EXPECT_EQ(WideText("\xE2\x82\xAC\xF0\x9F\x93\xB7"), L"\u20AC\U0001F4F7");
    EXPECT_EQ(WideText("\xED\xA0\x80").size(), 3u) << "a surrogate is not UTF-8";
    std::string replaced;
    AppendUtf8(replaced, 0xD800);
    AppendUtf8(replaced, 0x110000);
    EXPECT_EQ(replaced, "\xEF\xBF\xBD\xEF\xBF\xBD");
}

} // namespace maravel::posix
