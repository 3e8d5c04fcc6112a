// From the first call to the camera list: log, probes, SDK folder, libraries, enumeration.
#include "boundary/AdapterTest.h"

#include "platform/Win32.h"
#include "sdk/ZvkTypes.h"
#include "support/Patterns.h"

#include <filesystem>
#include <fstream>

namespace maravel::test {

namespace fs = std::filesystem;

namespace {

constexpr char kAdapterKey[] = "SOFTWARE\\maravel\\PLK\\AdapterZorvik";

class StartupTest : public AdapterTest
{
protected:
    // Index 0 with a descriptor that must stay as it is.
    std::int32_t StartWithoutChannel()
    {
        Guarded<VideoChannelDescriptor> descriptor;
        const std::int32_t result = GetVideoChannel(0, descriptor.Get());
        const unsigned char* bytes = descriptor.Bytes();
        EXPECT_TRUE(std::all_of(bytes, bytes + sizeof(VideoChannelDescriptor),
                                [](unsigned char b) { return b == 0xA5; }));
        return result;
    }

    // An SDK folder of the test's own, with copies of the libraries that it names.
    std::string MakeSdkFolder(const std::vector<std::string>& libraries)
    {
        const fs::path folder = fs::path(machine.LogFolder()).parent_path() / "private-sdk";
        fs::remove_all(folder);
        fs::create_directories(folder / "bin");
        for (const std::string& library : libraries) {
            fs::copy_file(fs::path(SdkFolder()) / "bin" / library, folder / "bin" / library);
        }
        return folder.string();
    }
};

TEST_F(StartupTest, TheProgramsVersionDecidesTheTriggerModel)
{
    if (!ClaimProgramVersion("2.3.0.14")) {
        GTEST_SKIP() << "a program has the version that it was built with";
    }
    Open();
    ClaimProgramVersion("");
    EXPECT_EQ(CountInLog("CheckTriggerModel: boundary_tests version: 2.3.0.14"), 1);
    EXPECT_EQ(CountInLog("CheckTriggerModel: Using new trigger model."), 1);
}

TEST_F(StartupTest, RegistrySwitchesTheLog)
{
    struct Row
    {
        const char* what;
        std::vector<RegistryEntry> registry;
        bool logged;
    };
    const Row rows[] = {
        {"no key", {}, true},
        {"1", {RegistryNumber(kAdapterKey, "EnableLog", 1)}, true},
        {"0", {RegistryNumber(kAdapterKey, "EnableLog", 0)}, false},
        {"no value", {RegistryKeyOnly(kAdapterKey)}, false},
        {"too long", {RegistryBinary(kAdapterKey, "EnableLog", {1, 0, 0, 0, 0})}, false},
        {"binary of four bytes", {RegistryBinary(kAdapterKey, "EnableLog", {2, 0, 0, 0})}, true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        UnloadAdapter();
        fs::remove(machine.LogFile());
        machine.SetRegistry(row.registry);
        LoadAdapter();
        Open();
        EXPECT_EQ(ChannelCount(), 3u);
        EXPECT_EQ(fs::exists(machine.LogFile()), row.logged);
    }
}

TEST_F(StartupTest, ASecondStartEmptiesTheLogAndReleasesTheFirst)
{
    Stream(0);
    EXPECT_EQ(CountInLog("StartAcquisition: channelID=0"), 1);
    Open();
    EXPECT_EQ(CountInLog("StartAcquisition: channelID=0"), 0);
    EXPECT_EQ(CountInLog("ZorvikMaravelAdapter MODULE INITIALIZATION"), 1);
    EXPECT_EQ(sdk.State().openCameras, 0u);
    EXPECT_EQ(sdk.State().announcedFrames, 0u);
    EXPECT_EQ(Status(0), static_cast<std::uint32_t>(ImageStatusPending));
}

TEST_F(StartupTest, SwitchingTheLogOffAtASecondStartStopsIt)
{
    UnloadAdapter();
    LoadAdapter();
    SetEnvironment("ZORVIK_HOME", "");
    EXPECT_EQ(StartWithoutChannel(), 1); // leaves its log open
    machine.SetRegistry({RegistryNumber(kAdapterKey, "EnableLog", 0)});
    EXPECT_EQ(StartWithoutChannel(), 1);
    const std::vector<std::string> log = Log();
    EXPECT_EQ(log.back(), "InitLog: Error while accessing registry. 0 0");
    ExpectErrors();
}

TEST_F(StartupTest, InstalledAdaptersAreListed)
{
    std::vector<std::uint8_t> fullText(1024, 'x'); // no terminating null, and no room for one
    machine.SetRegistry({
        RegistryNumber(kAdapterKey, "EnableLog", 1),
        RegistryText("SOFTWARE\\maravel\\PLK\\Other", "Path", "C:\\Other 50%s"),
        RegistryBinary("SOFTWARE\\maravel\\PLK\\Other", "Blob", {1, 2, 3}),
        {"SOFTWARE\\maravel\\PLK\\Other", "Unterminated", 1, {'a', 'b', 'c'}},
        RegistryNumber("SOFTWARE\\maravel\\PLK\\Other", "Version", 0xFFFFFFFF),
        {"SOFTWARE\\maravel\\PLK\\Zz", "Text", 1, fullText},
    });
    Open();
    EXPECT_EQ(CountInLog("listAdapters: AdapterZorvik"), 1);
    EXPECT_EQ(CountInLog("listAdapters:  EnableLog=1"), 1);
    EXPECT_EQ(CountInLog("listAdapters: Other"), 1);
    EXPECT_EQ(CountInLog("listAdapters:  Path=C:\\Other 50%s"), 1);
    EXPECT_EQ(CountInLog("listAdapters:  Unterminated=abc"), 1);
    EXPECT_EQ(CountInLog("listAdapters:  Version=4294967295"), 1);
    EXPECT_EQ(LogText().find("Blob"), std::string::npos);
}

TEST_F(StartupTest, AValueTooLongEndsTheListingOfItsKey)
{
    machine.SetRegistry({
        RegistryText("SOFTWARE\\maravel\\PLK\\A", "Long", std::string(1024, 'y')),
        RegistryNumber("SOFTWARE\\maravel\\PLK\\A", "Never", 1),
        RegistryNumber("SOFTWARE\\maravel\\PLK\\B", "Shown", 2),
    });
    Open();
    EXPECT_EQ(LogText().find("Never"), std::string::npos);
    EXPECT_EQ(CountInLog("listAdapters:  Shown=2"), 1);
}

TEST_F(StartupTest, WithoutSdkFolderNothingIsLoaded)
{
    const std::string file = machine.LogFolder() + "-file";
    fs::create_directories(fs::path(file).parent_path());
    std::ofstream(file) << "not a folder";
    for (const std::string& home : {std::string(), file, file + "-missing"}) {
        SCOPED_TRACE(home);
        SetEnvironment("ZORVIK_HOME", home);
        EXPECT_EQ(StartWithoutChannel(), 1);
        EXPECT_EQ(TextNow(), "GetVideoChannel: ERROR while loading 'ZvkC.dll'.");
        EXPECT_EQ(CountInLog("GetZvkApiPath: ZvkAPI not found."), 1);
        EXPECT_EQ(CountInLog("GetVideoChannel: ERROR while loading 'ZvkC.dll'."), 1);
    }
    ExpectErrors();
}

TEST_F(StartupTest, LaterIndicesNeedAStart)
{
    Guarded<VideoChannelDescriptor> descriptor;
    EXPECT_EQ(GetVideoChannel(1, descriptor.Get()), 1);
    EXPECT_EQ(TextNow(), "GetVideoChannel: ERROR while loading 'ZvkC.dll'.");
    Open();
    for (const std::int32_t index : {-1, 3, 0x7FFFFFFF, -0x7FFFFFFF - 1}) {
        EXPECT_EQ(GetVideoChannel(index, descriptor.Get()), 1);
        EXPECT_EQ(TextNow(), "");
    }
    EXPECT_EQ(CountInLog("GetVideoChannel: No further video channels found!"), 5);
}

TEST_F(StartupTest, ALibraryThatIsMissingMeansNoChannels)
{
    for (const std::vector<std::string>& libraries :
         {std::vector<std::string>{}, {"ZvkC.dll"}, {"ZvkImageTransform.dll"}}) {
        SetEnvironment("ZORVIK_HOME", MakeSdkFolder(libraries));
        EXPECT_EQ(StartWithoutChannel(), 1);
        EXPECT_EQ(TextNow(), "");
        EXPECT_EQ(CountInLog("InitializeAdapter"), 0);
        EXPECT_EQ(CountInLog("GetVideoChannel: No further video channels found!"), 1);
        UnloadAdapter();
        LoadAdapter();
    }
}

TEST_F(StartupTest, AnSdkThatRefusesToStartIsReportedInTheLog)
{
    ExpectErrors();
    sdk.SimFailCall("ZvkStartup", 1, -16, 0);
    EXPECT_EQ(StartWithoutChannel(), 1);
    EXPECT_EQ(TextNow(), "");
    EXPECT_EQ(
        CountInLog(
            "InitializeAdapter: FAILED. Reason=ZvkErrorNoTL (-16). Zorvik V4.2.1.0, ImageTransform V1.0.0.0"),
        1);
    EXPECT_EQ(CountInLog("EnumCameras"), 0);
    Open();
    EXPECT_EQ(ChannelCount(), 3u);
}

TEST_F(StartupTest, FailedEnumerationMeansNoChannels)
{
    ExpectErrors();
    struct Row
    {
        std::uint32_t nth;
        std::int32_t code;
        const char* line;
    };
    const Row rows[] = {
        {1, -1, "EnumCameras: Error while enumerating cameras.Reason = ZvkErrorInternalFault(-1)"},
        {1, -9, "EnumCameras: Error while enumerating cameras.Reason = ZvkErrorMoreData(-9)"},
        {2, -24, "EnumCameras: Error while enumerating cameras. Reason=ZvkErrorBusy (-24)"},
        {2, 5, "EnumCameras: Error while enumerating cameras. Reason=Unknown Zorvik Error (5)"},
    };
    for (const Row& row : rows) {
        ResetSdk();
        sdk.SimFailCall("ZvkCamerasList", row.nth, row.code, 0);
        EXPECT_EQ(StartWithoutChannel(), 1);
        EXPECT_EQ(CountInLog(row.line), 1) << row.line;
        EXPECT_EQ(TextNow(), "");
    }
}

TEST_F(StartupTest, ACameraListThatChangesIsReadUntilItSettles)
{
    struct Row
    {
        std::vector<std::uint32_t> counts;
        std::size_t found;
        int frees;
        std::uint64_t calls;
    };
    const Row rows[] = {
        {{1, 2, 3, 3}, 3, 2, 4},
        {{3, 2, 2}, 2, 1, 3},
        {{0, 0}, 0, 0, 2},
        {{2, 0, 0}, 0, 1, 3},
    };
    for (const Row& row : rows) {
        ResetSdk();
        sdk.SimScriptCameraCounts(row.counts.data(), static_cast<std::uint32_t>(row.counts.size()));
        Open();
        EXPECT_EQ(ChannelCount(), row.found);
        EXPECT_EQ(sdk.SimCallCount("ZvkCamerasList"), row.calls);
        EXPECT_EQ(CountInLog("EnumCameras: Found " + std::to_string(row.found) + " camera(s)"), 1);
        EXPECT_EQ(CountInLog("CAdapterData::Free"), row.frees);
    }
}

TEST_F(StartupTest, UnloadingWithoutAnSdkFolderRunsExit)
{
    ExpectErrors();
    SetEnvironment("ZORVIK_HOME", SdkFolder() + "-missing");
    EXPECT_EQ(StartWithoutChannel(), 1);
    UnloadAdapter();
    const std::vector<std::string> log = Log();
    ASSERT_GE(log.size(), 2u);
    EXPECT_EQ(log[log.size() - 2], "Exit");
    EXPECT_EQ(log.back(), "ShutdownAdapter");
}

TEST_F(StartupTest, ARelativeSdkFolderCountsFromTheCurrentFolder)
{
    const std::filesystem::path before = std::filesystem::current_path();
    const std::filesystem::path sdkFolder = SdkFolder();
    std::filesystem::current_path(sdkFolder.parent_path());
    for (const char* name : {"sdk", "./sdk", "bin/../sdk"}) {
        SetEnvironment("ZORVIK_HOME", name);
        Open();
        EXPECT_EQ(ChannelCount(), 3u) << name;
        EXPECT_EQ(CountInLog(std::string("GetZvkApiPath: ZvkAPI path: ") + name), 1);
        EXPECT_EQ(Release(0), 0);
    }
    std::filesystem::current_path(before);
}

TEST_F(StartupTest, AListThatNeverSettlesOrIsAbsurdEndsTheEnumeration)
{
    ExpectErrors();
    static std::uint32_t next = 0;
    next = 0;
    Replace("ZvkCamerasList", [](ZvkCameraInfo_t*, std::uint32_t, std::uint32_t* found, std::uint32_t) {
        *found = ++next;
        return ZvkErrorMoreData * (next > 1);
    });
    EXPECT_EQ(StartWithoutChannel(), 1);
    EXPECT_EQ(CountInLog(
                  "EnumCameras: ERROR. The number of cameras changed at each of 100 listings. None is used."),
              1);
    Replace("ZvkCamerasList", [](ZvkCameraInfo_t*, std::uint32_t, std::uint32_t* found, std::uint32_t) {
        *found = 0xFFFFFFFF;
        return ZvkErrorSuccess;
    });
    EXPECT_EQ(StartWithoutChannel(), 1);
    EXPECT_EQ(
        CountInLog("EnumCameras: ERROR. The SDK lists 4294967295 cameras, more than 4096. None is used."), 1);
    EXPECT_FALSE(IsInLog("EnumCameras: Found"));
}

} // namespace

} // namespace maravel::test
