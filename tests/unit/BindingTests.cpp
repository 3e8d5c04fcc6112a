#include "diag/Log.h"
#include "sdk/ApiAccess.h"
#include "sdk/SdkFolder.h"
#include "support/TestPlatform.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <vector>

namespace maravel {

namespace {

constexpr const char* kRuntimeNames[] = {
#define NAME(result, name, parameters) #name,
    ZVK_RUNTIME_ENTRY_POINTS(NAME)};
constexpr const char* kTransformNames[] = {ZVK_IMAGE_TRANSFORM_ENTRY_POINTS(NAME)
#undef NAME
};

// The entry point that the resolver pretends not to find, and how many it was asked for.
const char* missing = nullptr;
int asked = 0;

FARPROC ResolveAllButOne(HMODULE library, const char* name)
{
    ++asked;
    return missing != nullptr && std::strcmp(name, missing) == 0 ? nullptr : GetProcAddress(library, name);
}

std::wstring SdkFolder()
{
    return std::filesystem::path(test::SdkFolder()).wstring();
}

class BindingTest : public testing::Test
{
protected:
    BindingTest()
    {
        InitLog();
        asked = 0;
    }
    ~BindingTest() override
    {
        CloseLog();
        missing = nullptr;
    }

    std::string Log() const { return machine.LogText(); }

    test::PrivateMachine machine;
};

// Pointers of a table that are set, in order, up to the first that is not; every later one must be null too.
template <class Table>
std::size_t SetEntries(const Table& table)
{
    void* pointers[sizeof(Table) / sizeof(void*)];
    std::memcpy(pointers, &table, sizeof table);
    std::size_t set = 0;
    while (set < std::size(pointers) && pointers[set] != nullptr) {
        ++set;
    }
    for (std::size_t i = set; i < std::size(pointers); ++i) {
        EXPECT_EQ(pointers[i], nullptr);
    }
    return set;
}

TEST_F(BindingTest, EveryMissingEntryPointMakesTheBindingInvalid)
{
    std::size_t i = 0;
    for (const char* name : kRuntimeNames) {
        missing = name;
        asked = 0;
        const CZorvikAPIAccess access(SdkFolder(), &ResolveAllButOne);
        EXPECT_FALSE(access.IsValid()) << name;
        EXPECT_EQ(asked, static_cast<int>(i) + 1) << "later ones are not looked up";
        EXPECT_EQ(SetEntries<RuntimeEntryPoints>(access), i);
        EXPECT_EQ(access.GetVersion().major != 0, i != 0) << name;
        EXPECT_NE(Log().find(std::string("] CZorvikAPIAccess::AssignProcAddress: Could not find ") + name),
                  std::string::npos);
        ++i;
    }
    EXPECT_EQ(i, 56u);
    i = 0;
    for (const char* name : kTransformNames) {
        missing = name;
        asked = 0;
        const CHVNImageTransformAPIAccess access(SdkFolder(), &ResolveAllButOne);
        EXPECT_FALSE(access.IsValid()) << name;
        EXPECT_EQ(asked, static_cast<int>(i) + 1);
        EXPECT_EQ(SetEntries<ImageTransformEntryPoints>(access), i);
        EXPECT_EQ(access.GetVersion().major != 0, i != 0) << name;
        EXPECT_NE(
            Log().find(std::string("] CHVNImageTransformAPIAccess::AssignProcAddress: Could not find ") +
                       name),
            std::string::npos);
        ++i;
    }
    EXPECT_EQ(i, 12u);
}

TEST_F(BindingTest, ACompleteLibraryIsValid)
{
    const CZorvikAPIAccess runtime(SdkFolder());
    EXPECT_TRUE(runtime.IsValid());
    EXPECT_EQ(SetEntries<RuntimeEntryPoints>(runtime), 56u);
    EXPECT_EQ(runtime.GetVersion().build, 0u);
    const CHVNImageTransformAPIAccess transform(SdkFolder() + WidePathSeparator);
    EXPECT_TRUE(transform.IsValid());
}

TEST_F(BindingTest, ThePackedVersionIsTakenApart)
{
    static const auto version = [](std::uint32_t* packed) -> ZvkError_t {
        *packed = 0x01020304;
        return -13;
    };
    const EntryPointResolver resolver = [](HMODULE library, const char* name) {
        ZvkError_t (*function)(std::uint32_t*) = version;
        FARPROC address = GetProcAddress(library, name);
        if (std::strcmp(name, "ZvkGetImageTransformVersion") == 0) {
            std::memcpy(&address, &function, sizeof address);
        }
        return address;
    };
    const ApiVersion read = CHVNImageTransformAPIAccess(SdkFolder(), resolver).GetVersion();
    EXPECT_EQ(read.major, 1u);
    EXPECT_EQ(read.minor, 2u);
    EXPECT_EQ(read.patch, 3u);
    EXPECT_EQ(read.build, 4u);
}

TEST_F(BindingTest, ALibraryThatDoesNotLoad)
{
    for (const std::wstring& folder : {std::wstring(), std::wstring(L"nowhere"), SdkFolder() + L"x"}) {
        const CZorvikAPIAccess access(folder, &ResolveAllButOne);
        EXPECT_FALSE(access.IsValid());
        EXPECT_EQ(SetEntries<RuntimeEntryPoints>(access), 0u);
        EXPECT_EQ(access.GetVersion().major, 0u);
    }
    EXPECT_EQ(asked, 0);
}

TEST_F(BindingTest, APathThatNoFileFunctionTakesIsNone)
{
    EXPECT_EQ(NarrowPath(L"x"), "x");
    EXPECT_EQ(NarrowPath(L"/a/path with blanks"), "/a/path with blanks");
    EXPECT_EQ(NarrowPath({L'a', static_cast<wchar_t>(0xD800), L'b'}), "") << "half a character";
}

TEST_F(BindingTest, TheSdkFolderIsTakenAsItStands)
{
    for (const std::string& home : {std::string("."), std::string(" . "), std::string(400, 'x')}) {
        test::SetEnvironment("ZORVIK_HOME", home);
        EXPECT_EQ(GetZvkApiPath(), std::wstring(home.begin(), home.end()));
    }
    test::SetEnvironment("ZORVIK_HOME", "");
    EXPECT_EQ(GetZvkApiPath(), L"");
    EXPECT_TRUE(IsExistingFolder(L"."));
    EXPECT_FALSE(IsExistingFolder(L""));
}

} // namespace

} // namespace maravel
