#include "platform/posix/RegistryFile.h"

#include "platform/Win32.h"

#include <gtest/gtest.h>

namespace maravel::posix {

namespace {

std::string Utf16(const std::string& ascii, bool bigEndian)
{
    std::string bytes = bigEndian ? "\xFE\xFF" : "\xFF\xFE";
    for (const char c : ascii) {
        bytes += bigEndian ? std::string{'\0', c} : std::string{c, '\0'};
    }
    return bytes;
}

const std::string kExport = "Windows Registry Editor Version 5.00\r\n\r\n"
                            "[HKEY_LOCAL_MACHINE\\SOFTWARE\\maravel]\r\n"
                            "@=\"default\"\r\n"
                            "\"Number\"=dword:0000002a\r\n"
                            "\"Text\"=\"a \\\"b\\\" \\\\c\"\r\n"
                            "\"Blob\"=hex:01,02,\\\r\n  ff\r\n"
                            "\"Typed\"=hex(7):61,00\r\n"
                            "[HKEY_CURRENT_USER\\SOFTWARE\\maravel]\r\n"
                            "\"Number\"=dword:00000001\r\n"
                            "[hkey_local_machine\\software\\MARAVEL\\Sub]\r\n";

TEST(RegistryFile, ReadsWhatWindowsExportsInEveryEncoding)
{
    std::string unixLines = kExport;
    std::erase(unixLines, '\r');
    for (const std::string& bytes :
         {kExport, unixLines, "\xEF\xBB\xBF" + kExport, Utf16(kExport, false), Utf16(kExport, true)}) {
        const auto root = ParseRegistryText(bytes);
        const RegistryKey* key = root->Find("Software\\Maravel");
        ASSERT_NE(key, nullptr);
        ASSERT_EQ(key->values.size(), 5u);
        EXPECT_EQ(key->FindValue("")->data,
                  (std::vector<std::uint8_t>{'d', 'e', 'f', 'a', 'u', 'l', 't', 0}));
        EXPECT_EQ(key->FindValue("number")->data, (std::vector<std::uint8_t>{42, 0, 0, 0}));
        EXPECT_EQ(key->FindValue("number")->type, REG_DWORD);
        EXPECT_EQ(reinterpret_cast<const char*>(key->FindValue("Text")->data.data()),
                  std::string("a \"b\" \\c"));
        EXPECT_EQ(key->FindValue("Blob")->data, (std::vector<std::uint8_t>{1, 2, 255}));
        EXPECT_EQ(key->FindValue("Typed")->type, 7u);
        EXPECT_NE(root->Find("SOFTWARE\\maravel\\Sub"), nullptr);
        EXPECT_EQ(root->Find("SOFTWARE\\maravel\\Sub\\x"), nullptr);
        EXPECT_EQ(root->subKeys.size(), 1u);
    }
}

TEST(RegistryFile, SkipsWhatMakesNoSense)
{
    for (const char* line :
         {R"("a"=dword:xyz)", R"("a"=dword:123456789)", R"("a"="open)", R"("a")", R"("a"=hex:1,zz)",
          R"("a"=hex(1:00)", R"("a"=hex()", R"(a="b")", R"("a"=hex(zz):00)", R"("a"=hex:100)", R"("a"=-)",
          "=", "\"", "[", R"("a"=hex:01,\)"}) {
        const auto root = ParseRegistryText("[HKEY_LOCAL_MACHINE\\K]\n" + std::string(line) +
                                            "\n[HKEY_LOCAL_MACHINE\\K]\n\"ok\"=dword:1\n");
        const RegistryKey* key = root->Find("K");
        ASSERT_NE(key, nullptr) << line;
        EXPECT_EQ(key->FindValue("a"), nullptr) << line;
        if (std::string(line).back() != '\\') {
            EXPECT_NE(key->FindValue("ok"), nullptr) << line;
        }
    }
    std::string deep = "[HKEY_LOCAL_MACHINE";
    for (int i = 0; i < 100'000; ++i) {
        deep += "\\k";
    }
    EXPECT_EQ(ParseRegistryText(deep + "]\n\"a\"=dword:1\n")->FindValue("a"), nullptr);
    EXPECT_EQ(ParseRegistryText("")->subKeys.size(), 0u);
    EXPECT_EQ(ParseRegistryText("\xFF\xFE-")->subKeys.size(), 0u) << "half a character";
}

} // namespace

} // namespace maravel::posix
