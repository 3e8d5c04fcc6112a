// The contract that the adapter relies on, for the originals under Windows and the stand-ins elsewhere.
#include "platform/Win32.h"
#include "support/TestPlatform.h"

#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <string>

namespace maravel::test {

namespace {

constexpr LSTATUS kOk = ERROR_SUCCESS;
constexpr LSTATUS kNotFound = ERROR_FILE_NOT_FOUND;
constexpr LSTATUS kMoreData = ERROR_MORE_DATA;
constexpr LSTATUS kNoMoreItems = ERROR_NO_MORE_ITEMS;

TEST(Win32Registry, OpensQueriesAndEnumerates)
{
    PrivateMachine machine;
    machine.SetRegistry({
        RegistryNumber("SOFTWARE\\Test", "Number", 0x12345678),
        RegistryText("SOFTWARE\\Test", "Text", "a \"b\" c\\d"),
        RegistryText("SOFTWARE\\Test\\Sub Key", "Text", ""),
        RegistryKeyOnly("SOFTWARE\\Test\\Other"),
    });
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "SOFTWARE\\Missing", 0, KEY_READ, &key), kNotFound);
    ASSERT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "software\\TEST", 0, KEY_READ, &key), kOk)
        << "names do not depend on case";

    DWORD number = 0;
    DWORD size = sizeof number;
    DWORD type = 0;
    EXPECT_EQ(RegQueryValueExA(key, "NUMBER", nullptr, &type, reinterpret_cast<BYTE*>(&number), &size), kOk);
    EXPECT_EQ(number, 0x12345678u);
    EXPECT_EQ(type, static_cast<DWORD>(REG_DWORD));
    EXPECT_EQ(RegQueryValueExA(key, "Missing", nullptr, nullptr, nullptr, &size), kNotFound);
    size = 2;
    EXPECT_EQ(RegQueryValueExA(key, "Number", nullptr, nullptr, reinterpret_cast<BYTE*>(&number), &size),
              kMoreData);
    EXPECT_EQ(size, 4u);

    std::set<std::string> names;
    char name[64];
    DWORD nameSize = sizeof name;
    LSTATUS status = kOk;
    const auto enumerate = [&](DWORD index) {
        nameSize = sizeof name;
        return RegEnumKeyExA(key, index, name, &nameSize, nullptr, nullptr, nullptr, nullptr);
    };
    for (DWORD index = 0; (status = enumerate(index)) == kOk; ++index) {
        EXPECT_EQ(nameSize, std::strlen(name));
        names.insert(name);
    }
    EXPECT_EQ(status, kNoMoreItems);
    EXPECT_EQ(names, (std::set<std::string>{"Other", "Sub Key"}));
    nameSize = 3;
    EXPECT_EQ(RegEnumKeyExA(key, 0, name, &nameSize, nullptr, nullptr, nullptr, nullptr), kMoreData);

    std::map<std::string, std::string> texts;
    char data[64];
    const auto enumerateValue = [&](DWORD index) {
        nameSize = sizeof name;
        size = sizeof data;
        return RegEnumValueA(key, index, name, &nameSize, nullptr, &type, reinterpret_cast<BYTE*>(data),
                             &size);
    };
    DWORD count = 0;
    for (; enumerateValue(count) == kOk; ++count) {
        if (type == REG_SZ) {
            texts[name] = std::string(data, size);
        }
    }
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(texts, (std::map<std::string, std::string>{{"Text", std::string("a \"b\" c\\d\0", 10)}}));
    HKEY subKey = nullptr;
    EXPECT_EQ(RegOpenKeyExA(key, "Sub Key", 0, KEY_READ, &subKey), kOk);
    EXPECT_EQ(RegCloseKey(subKey), kOk);
    EXPECT_EQ(RegCloseKey(key), kOk);
}

TEST(Win32Files, FoldersAndTheirAttributes)
{
    PrivateMachine machine;
    char documents[MAX_PATH] = "";
    ASSERT_EQ(SHGetFolderPathA(nullptr, CSIDL_COMMON_DOCUMENTS, nullptr, 0, documents), 0);
    std::filesystem::create_directories(documents);
    const std::string folder = std::string(documents) + PathSeparator + "made by a test";
    std::filesystem::remove_all(folder);
    EXPECT_EQ(GetFileAttributesA(folder.c_str()), static_cast<DWORD>(INVALID_FILE_ATTRIBUTES));
    EXPECT_NE(CreateDirectoryA(folder.c_str(), nullptr), FALSE);
    EXPECT_EQ(CreateDirectoryA(folder.c_str(), nullptr), FALSE);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ALREADY_EXISTS));
    EXPECT_NE(GetFileAttributesA(folder.c_str()) & FILE_ATTRIBUTE_DIRECTORY, 0u);
    EXPECT_EQ(CreateDirectoryA((folder + PathSeparator + "a" + PathSeparator + "b").c_str(), nullptr), FALSE);

    std::FILE* file = _fsopen((folder + PathSeparator + "file").c_str(), "w+", _SH_DENYNO);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(_write(_fileno(file), "line\n", 5), 5);
    EXPECT_EQ(std::filesystem::file_size(folder + PathSeparator + "file"),
              std::filesystem::path::preferred_separator == '/' ? 5u : 6u);
    std::fclose(file);
    EXPECT_EQ(GetFileAttributesA((folder + PathSeparator + "file").c_str()) & FILE_ATTRIBUTE_DIRECTORY, 0u);
    std::filesystem::remove_all(folder);
}

TEST(Win32Text, WideAndNarrow)
{
    SetEnvironment("MARAVEL_TEST_VARIABLE", "a folder");
    wchar_t wide[16] = L"";
    EXPECT_EQ(GetEnvironmentVariableW(L"MARAVEL_TEST_VARIABLE", wide, 4), 9u) << "the size that is needed";
    EXPECT_EQ(GetEnvironmentVariableW(L"MARAVEL_TEST_VARIABLE", wide, 16), 8u);
    EXPECT_STREQ(wide, L"a folder");
    SetEnvironment("MARAVEL_TEST_VARIABLE", "");
    EXPECT_EQ(GetEnvironmentVariableW(L"MARAVEL_TEST_VARIABLE", wide, 16), 0u);
    char narrow[16] = "";
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, L"gr\u00FCn", 4, nullptr, 0, nullptr, nullptr), 5);
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, L"gr\u00FCn", 4, narrow, sizeof narrow, nullptr, nullptr), 5);
    EXPECT_STREQ(narrow, "gr\xC3\xBCn");
}

TEST(Win32Numbers, ParseLikeTheAdapterNeedsThem)
{
    EXPECT_EQ(_strtoui64("18446744073709551615", nullptr, 10), 0xFFFFFFFFFFFFFFFFu);
    EXPECT_EQ(_strtoui64("-1", nullptr, 10), 0xFFFFFFFFFFFFFFFFu);
    EXPECT_EQ(_strtoui64(" 12x", nullptr, 10), 12u);
    EXPECT_EQ(_strtoui64("99999999999999999999999", nullptr, 10), 0xFFFFFFFFFFFFFFFFu);
    EXPECT_EQ(_strtoui64("", nullptr, 10), 0u);
    const _locale_t locale = _create_locale(LC_ALL, "C");
    EXPECT_DOUBLE_EQ(_atof_l(" -12.5e1x", locale), -125.0);
    EXPECT_DOUBLE_EQ(_atof_l("x", locale), 0.0);
    _free_locale(locale);
}

TEST(Win32Process, TellsItsOwnImageAndTime)
{
    char path[MAX_PATH] = "";
    DWORD size = MAX_PATH;
    ASSERT_NE(QueryFullProcessImageNameA(GetCurrentProcess(), 0, path, &size), FALSE);
    EXPECT_EQ(size, std::strlen(path));
    EXPECT_NE(std::string(path).find("platform_tests"), std::string::npos) << path;
    size = 4;
    EXPECT_EQ(QueryFullProcessImageNameA(GetCurrentProcess(), 0, path, &size), FALSE);

    HANDLE token = nullptr;
    ASSERT_NE(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token), FALSE);
    TOKEN_ELEVATION elevation = {};
    DWORD needed = 0;
    EXPECT_NE(GetTokenInformation(token, TokenElevation, &elevation, sizeof elevation, &needed), FALSE);
    EXPECT_EQ(needed, sizeof elevation);
    EXPECT_NE(CloseHandle(token), FALSE);

    SYSTEMTIME now = {};
    GetLocalTime(&now);
    EXPECT_GE(now.wYear, 2026);
    EXPECT_LT(now.wHour, 24);
    EXPECT_LT(now.wMinute, 60);
    EXPECT_LT(now.wMilliseconds, 1000);
}

TEST(Win32Libraries, LoadResolveFree)
{
    EXPECT_EQ(LoadLibraryA("no-such-library.dll"), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
    const std::string adapter = AdapterFile();
    const HMODULE library = LoadLibraryExA(
        adapter.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
    ASSERT_NE(library, nullptr);
    EXPECT_NE(GetProcAddress(library, "GetVideoChannel"), nullptr);
    EXPECT_EQ(GetProcAddress(library, "StartAcquisition"), nullptr);
    EXPECT_TRUE(IsModuleLoaded(MARAVEL_ADAPTER_FILE));
    EXPECT_NE(FreeLibrary(library), FALSE);
    EXPECT_FALSE(IsModuleLoaded(MARAVEL_ADAPTER_FILE));
}

} // namespace

} // namespace maravel::test
