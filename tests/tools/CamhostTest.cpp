// camhost as a person meets it: a program with arguments, texts, files and an exit code.
#include "tools/RunProgram.h"

#include <gtest/gtest.h>

#include <stb_image.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

namespace maravel::test {
namespace {

namespace fs = std::filesystem;

std::string ReadFile(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

class Camhost : public testing::Test
{
protected:
    void SetUp() override
    {
        folder_ = fs::temp_directory_path() /
                  ("camhost " + std::string(testing::UnitTest::GetInstance()->current_test_info()->name()));
        fs::remove_all(folder_);
        fs::create_directories(folder_ / "sdk");
        SetSdkVariable("");
    }
    void TearDown() override
    {
        std::error_code error;
        fs::remove_all(folder_, error);
    }

    // With the test's own adapter.
    ProgramResult Run(const std::string& arguments)
    {
        return RunBare("--adapter " + Quoted(ProgramFolder() + "/" + MARAVEL_FAKE_ADAPTER) + " --sdk " +
                       Quoted((folder_ / "sdk").string()) + " " + arguments);
    }
    ProgramResult RunBare(const std::string& arguments)
    {
        return RunProgram(ProgramFolder() + "/camhost", arguments, folder_.string());
    }
    static std::string Quoted(const std::string& text) { return '"' + text + '"'; }

    // `grab` with the images going to the folder "out".
    ProgramResult Grab(const std::string& arguments)
    {
        return Run("grab 0 --out " + Quoted((folder_ / "out").string()) + " " + arguments);
    }

    // What lies in "out", sorted.
    std::vector<std::string> Written() const
    {
        std::vector<std::string> names;
        if (fs::exists(folder_ / "out"))
            for (const auto& entry : fs::directory_iterator(folder_ / "out"))
                names.push_back(entry.path().filename().string());
        std::ranges::sort(names);
        return names;
    }

    std::string Calls() const
    {
        std::string calls = ReadFile(folder_ / "sdk" / "calls.txt");
        std::erase(calls, '\r');
        return calls;
    }

    static void ExpectOneLine(const std::string& errors, const std::string& part)
    {
        EXPECT_NE(errors.find(part), std::string::npos) << errors;
        EXPECT_EQ(errors.rfind("camhost: ", 0), 0u) << errors;
        EXPECT_EQ(std::ranges::count(errors, '\n'), 1) << errors;
    }

    fs::path folder_;
};

TEST_F(Camhost, WrongArgumentsEndWithTwoAndOneLine)
{
    struct Row
    {
        const char* arguments;
        const char* says;
    };
    constexpr Row kRows[] = {
        {"", "A subcommand is required"},
        {"dance", "A subcommand is required"},
        {"get", "CHANNEL is required"},
        {"get 0", "FEATURE is required"},
        {"set 0 Gain", "Gain: is not of the form FEATURE=VALUE"},
        {"set 0 Gain=1 =2", "=2: is not of the form FEATURE=VALUE"},
        {"run 0 Reset Reset", "COMMAND"},
        {"grab 0", "--out is required"},
        {"grab 0 --out x --frames 0", "--frames"},
        {"grab 0 --out x --region 0,0,5", "--region"},
        {"grab 0 --out x --region 0,0,-5,3", "--region"},
        {"grab 0 --out x --trigger sometimes", "hardware-auto"},
        {"grab 0 --out x --edge both", "rising"},
        {"grab 0 --out x --timeout 0", "--timeout"},
        {"list --sdk no/such/folder", "no/such/folder"},
        {"get 7 Width", "there is no channel '7'; there are 0 (F:1)"},
        {"set 0 Width=wide", "Width is an integer; 'wide' is none"},
        {"set 0 Gain=1,5", "Gain is a number"},
        {"set 0 NoImages=maybe", "NoImages is True or False"},
        {"set 0 Reset=1", "use 'camhost run'"},
    };
    for (const Row& row : kRows) {
        const ProgramResult result = Run(row.arguments);
        EXPECT_EQ(result.exitCode, 2) << row.arguments;
        EXPECT_EQ(result.output, "") << row.arguments;
        ExpectOneLine(result.errors, row.says);
    }
}

TEST_F(Camhost, HelpAndVersionAnswerWithoutAnAdapter)
{
    for (const char* arguments : {"--help", "list --help", "describe --help", "get --help", "set --help",
                                  "run --help", "grab --help", "--version"}) {
        const ProgramResult result = RunBare(arguments);
        EXPECT_EQ(result.exitCode, 0) << arguments;
        EXPECT_NE(result.output, "") << arguments;
        EXPECT_EQ(result.errors, "") << arguments;
    }
    EXPECT_NE(RunBare("--help").output.find("3 the adapter"), std::string::npos);
}

TEST_F(Camhost, WhatCannotBeLoadedEndsWithThree)
{
    std::ofstream(folder_ / "text.dll") << "no library";
    const std::string foreign = ProgramFolder() + "/../sdk/bin/ZvkImageTransform.dll";
    const std::pair<std::string, const char*> rows[] = {
        {(folder_ / "missing.dll").string(), "there is no such file"},
        {(folder_ / "text.dll").string(), "cannot be loaded"},
        {foreign, "is no adapter: it has no function GetVideoChannel"},
    };
    for (const auto& [adapter, says] : rows) {
        const ProgramResult result = RunBare("list --adapter " + Quoted(adapter));
        EXPECT_EQ(result.exitCode, 3) << adapter;
        ExpectOneLine(result.errors, says);
    }

    fs::create_directories(folder_ / "incomplete");
    const ProgramResult result = Run("list --sdk " + Quoted((folder_ / "incomplete").string()));
    EXPECT_EQ(result.exitCode, 2) << "given twice";
    const ProgramResult incomplete =
        RunBare("list --adapter " + Quoted(ProgramFolder() + "/" + MARAVEL_FAKE_ADAPTER) + " --sdk " +
                Quoted((folder_ / "incomplete").string()));
    EXPECT_EQ(incomplete.exitCode, 3);
    ExpectOneLine(incomplete.errors, "channel 0 is not usable: a callback is missing");
}

TEST_F(Camhost, FeaturesAreReadWrittenAndRun)
{
    EXPECT_EQ(Run("get F:1 Width Gain").output, "Width=5\nGain=1.500000\n");
    EXPECT_EQ(Run("set 0 Gain 2.25").output, "Gain=2.25\n");
    EXPECT_EQ(Run("set 0 NoImages=on Mode=Slow Width=-4").output, "NoImages=True\nMode=Slow\nWidth=-4\n");
    EXPECT_EQ(Run("run 0 Reset").exitCode, 0);
    EXPECT_EQ(Calls(), "ExecuteCommand Reset\n");
}

TEST_F(Camhost, TheAdaptersRefusalIsRepeated)
{
    const std::pair<const char*, const char*> rows[] = {
        {"get 0 Nothing", "ReadValue: ERROR. Feature 'Nothing' not found for channelID=0."},
        {"set 0 Nothing=1", "Feature 'Nothing' not found. ('camhost describe' lists the names)"},
        {"set 0 Mode=Lazy", "for feature 'Mode' failed. (entries now: Fast, Slow)"},
        {"run 0 Width", "ExecuteCommand: ERROR."},
    };
    for (const auto& [arguments, says] : rows) {
        const ProgramResult result = Run(arguments);
        EXPECT_EQ(result.exitCode, 1) << arguments;
        ExpectOneLine(result.errors, says);
    }
}

TEST_F(Camhost, ListAndDescribeAreAligned)
{
    EXPECT_EQ(Run("list").output, "CHANNEL  SERIAL  CAMERA               ADDRESS  SIZE  EXPOSURE   STATE\n"
                                  "0        F:1     Zorvik/HVN TL: Fake           5x3   10.000 ms  ready\n");
    const std::string description = Run("describe 0").output;
    EXPECT_NE(description.find("FEATURE      TYPE     ACCESS  VALUE     DESCRIPTION\n"), std::string::npos);
    EXPECT_NE(description.find("Gain         float    RW      1.500000  What it does.\n"), std::string::npos);
    EXPECT_NE(description.find("Mode         enum     RW      Fast      What it does.\n"
                               "                              of Fast, Slow\n"),
              std::string::npos);
    EXPECT_NE(description.find("PayloadSize  int      R-      64        What it does.\n"), std::string::npos);
    EXPECT_NE(description.find("Reset        command  RW                What it does.\n"), std::string::npos);
}

TEST_F(Camhost, GrabAppliesTheParameters)
{
    EXPECT_EQ(Grab("").exitCode, 0);
    EXPECT_EQ(Calls(), "SetupCommonParams 0.01 101 0,0,5,3\nStartAcquisition\nStopAcquisition\n");
    fs::remove(folder_ / "sdk" / "calls.txt");

    // A start is also a trigger in the manual mode: one for each image.
    EXPECT_EQ(Grab("--frames 3 --trigger manual --edge falling --exposure 0.5 --region 1,2,4,3").exitCode, 0);
    EXPECT_EQ(Calls(), "SetupCommonParams 0.5 000 1,2,4,3\n"
                       "StartAcquisition\nStartAcquisition\nStartAcquisition\nStopAcquisition\n");
    EXPECT_EQ(Written(), (std::vector<std::string>{"F_1_0001.png", "F_1_0002.png", "F_1_0003.png"}));
}

// Every pixel of every pixel type, through the file.
TEST_F(Camhost, FilesHoldTheImages)
{
    struct Row
    {
        int pixelType;
        const char* header; // null: PNG
        int channels;
        unsigned mask;
    };
    constexpr Row kRows[] = {{0, nullptr, 1, 0},
                             {2, nullptr, 3, 0},
                             {12, "P5\n5 3\n1023\n", 0, 1023},
                             {13, "P5\n5 3\n4095\n", 0, 4095},
                             {16, "P5\n5 3\n16383\n", 0, 16383},
                             {9, "P5\n5 3\n65535\n", 0, 65535},
                             {18, "P5\n5 3\n4095\n", 0, 4095}};
    for (const Row& row : kRows) {
        fs::remove_all(folder_ / "out");
        const ProgramResult result = Grab("--set PixelType=" + std::to_string(row.pixelType));
        ASSERT_EQ(result.exitCode, 0) << result.errors;
        const bool png = row.header == nullptr;
        ASSERT_EQ(Written(), std::vector<std::string>{png ? "F_1_0001.png" : "F_1_0001.pgm"});
        const std::string file = ReadFile(folder_ / "out" / Written().front());
        if (!png) {
            std::string expected = row.header;
            for (unsigned i = 0; i < 15; ++i) {
                expected += static_cast<char>(((i * 100 + 1) & row.mask) >> 8);
                expected += static_cast<char>((i * 100 + 1) & row.mask & 255);
            }
            EXPECT_EQ(file, expected) << row.pixelType;
            continue;
        }
        int width = 0, height = 0, channels = 0;
        stbi_uc* pixels = stbi_load_from_memory(reinterpret_cast<const stbi_uc*>(file.data()),
                                                static_cast<int>(file.size()), &width, &height, &channels, 0);
        ASSERT_NE(pixels, nullptr);
        EXPECT_EQ(width, 5);
        EXPECT_EQ(height, 3);
        ASSERT_EQ(channels, row.channels);
        for (int i = 0; i < 15 * channels; ++i)
            EXPECT_EQ(pixels[i], i / channels + i % channels * 15) << row.pixelType;
        stbi_image_free(pixels);
    }
}

TEST_F(Camhost, AFailedGrabLeavesWholeImagesAndAStoppedCamera)
{
    const ProgramResult result = Grab("--frames 9 --set FailAtImage=3");
    EXPECT_EQ(result.exitCode, 1);
    ExpectOneLine(result.errors, "F:1: GetImage: ERROR. The cable is out.");
    EXPECT_EQ(Written(), (std::vector<std::string>{"F_1_0001.png", "F_1_0002.png"}));
    EXPECT_NE(Calls().find("StopAcquisition"), std::string::npos);
    EXPECT_EQ(result.output, "");
}

TEST_F(Camhost, ARefusedSetupStartsNothing)
{
    const ProgramResult result = Grab("--region 0,0,200,3");
    EXPECT_EQ(result.exitCode, 1);
    ExpectOneLine(result.errors, "F:1: SetupCommonParams: ERROR. Width refused.");
    EXPECT_EQ(Calls().find("StartAcquisition"), std::string::npos);
    EXPECT_EQ(Written(), std::vector<std::string>{});
}

TEST_F(Camhost, AMissingImageEndsTheWait)
{
    const ProgramResult result = Grab("--set NoImages=True --timeout 0.2");
    EXPECT_EQ(result.exitCode, 1);
    ExpectOneLine(result.errors, "F:1: no image within 0.2 s, 0 of 1 arrived");
    EXPECT_NE(Calls().find("StopAcquisition"), std::string::npos);
}

TEST_F(Camhost, AFileThatCannotBeWrittenLeavesNothing)
{
    std::ofstream(folder_ / "out") << "a file where the folder should be";
    const ProgramResult result = Run("grab 0 --out " + Quoted((folder_ / "out").string()));
    EXPECT_EQ(result.exitCode, 1);
    ExpectOneLine(result.errors, "cannot be written");
    EXPECT_NE(Calls().find("StopAcquisition"), std::string::npos);

    // The image can be written here, but not the sheet, whose name is a folder's.
    fs::create_directories(folder_ / "sheet.png");
    const ProgramResult sheet = Run("grab 0 --out " + Quoted((folder_ / "images").string()) +
                                    " --contact-sheet " + Quoted((folder_ / "sheet.png").string()));
    EXPECT_EQ(sheet.exitCode, 1);
    ExpectOneLine(sheet.errors, "sheet.png cannot be written");
    EXPECT_FALSE(fs::exists(folder_ / "sheet.png.part"));
}

TEST_F(Camhost, ContactSheetShowsEveryImage)
{
    const fs::path path = folder_ / "sheets" / "sheet.png";
    const ProgramResult result = Grab("--frames 5 --contact-sheet " + Quoted(path.string()));
    ASSERT_EQ(result.exitCode, 0) << result.errors;
    const std::string file = ReadFile(path);
    int width = 0, height = 0, channels = 0;
    stbi_uc* pixels = stbi_load_from_memory(reinterpret_cast<const stbi_uc*>(file.data()),
                                            static_cast<int>(file.size()), &width, &height, &channels, 3);
    ASSERT_NE(pixels, nullptr);
    EXPECT_EQ(width, 3 * 168 + 8);
    EXPECT_EQ(height, 2 * 25 + 8);
    const auto at = [&](int x, int y) { return static_cast<int>(pixels[3 * (y * width + x)]); };
    for (int i = 0; i < 6; ++i) {
        const int left = 8 + i % 3 * 168, top = 8 + i / 3 * 25;
        int white = 0; // of the label
        for (int y = top; y < top + 12; ++y)
            for (int x = left; x < left + 160; ++x)
                white += at(x, y) == 255;
        EXPECT_EQ(white > 0, i < 5) << i;
        EXPECT_EQ(at(left + 4, top + 14 + 2), i < 5 ? 14 : 32) << i; // the image's last pixel, or paper
    }
    stbi_image_free(pixels);
}

TEST_F(Camhost, ProgressAndSummaryTellTheLosses)
{
    const ProgramResult result = Grab("--frames 6 --set SkipAtImage=4 --progress");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_NE(result.errors.find("F:1: "), std::string::npos) << result.errors;
    EXPECT_NE(result.output.find("F:1: 6 images of 5 x 3 in "), std::string::npos) << result.output;
    EXPECT_NE(result.output.find("/s, 2 lost (by time stamps); "), std::string::npos) << result.output;
    EXPECT_EQ(Grab("--frames 6").errors, "") << "no progress unless asked for";
}

// The real adapter and the simulated cameras, found beside camhost.
TEST_F(Camhost, GrabsFromEverySimulatedCamera)
{
    const ProgramResult list = RunBare("list");
    EXPECT_EQ(list.exitCode, 0) << list.errors;
    const auto cameras = static_cast<std::size_t>(std::ranges::count(list.output, '\n') - 1);
    ASSERT_GT(cameras, 0u);
    for (const char* address : {"169.254.0.1 ", "USB3Vision "})
        EXPECT_NE(list.output.find(address), std::string::npos) << list.output;
    const ProgramResult grab =
        RunBare("grab all --frames 2 --trigger manual --out " + Quoted((folder_ / "out").string()));
    EXPECT_EQ(grab.exitCode, 0) << grab.errors;
    EXPECT_EQ(Written().size(), 2 * cameras);
    EXPECT_EQ(static_cast<std::size_t>(std::ranges::count(grab.output, '\n')), cameras) << grab.output;

    const ProgramResult refused = RunBare("set 0 PixelFormat=Purple");
    EXPECT_EQ(refused.exitCode, 1);
    ExpectOneLine(refused.errors, "Value='Purple'. Reason=ZvkErrorInvalidValue (-11). (entries now: ");
}

TEST_F(Camhost, AnSdkThatIsNotThereIsNamed)
{
    SetSdkVariable((folder_ / "nowhere").string());
    const ProgramResult missing = RunBare("list");
    EXPECT_EQ(missing.exitCode, 3);
    ExpectOneLine(missing.errors,
                  "ERROR while loading 'ZvkC.dll'. Name the SDK folder with --sdk or ZORVIK_HOME.");

    // The adapter has no text for a folder without its libraries; the option goes before the variable.
    const std::string empty = " --sdk " + Quoted((folder_ / "sdk").string());
    const ProgramResult list = RunBare("list" + empty);
    EXPECT_EQ(list.exitCode, 0);
    EXPECT_EQ(list.output, "no cameras found; the adapter's log tells more\n");
    const ProgramResult grab = RunBare("grab all --out " + Quoted((folder_ / "out").string()) + empty);
    EXPECT_EQ(grab.exitCode, 1);
    ExpectOneLine(grab.errors, "no cameras found");
}

} // namespace
} // namespace maravel::test
