// camhost as a person meets it: a program with arguments, texts, files and an exit code.
#include "Shell.h"
#include "platform/Win32.h"
#include "support/TestPlatform.h"

#include <gtest/gtest.h>

#include <stb_image.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace maravel::test {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

// Lines end in '\n' whatever the system.
std::string ReadText(const fs::path& path)
{
    std::string text = ReadFile(path);
    std::erase(text, '\r');
    return text;
}

// Read by another library than the one that wrote it.
struct Png
{
    explicit Png(const fs::path& path)
    {
        const std::string file = ReadFile(path);
        stbi_uc* decoded =
            stbi_load_from_memory(reinterpret_cast<const stbi_uc*>(file.data()),
                                  static_cast<int>(file.size()), &width, &height, &channels, 0);
        if (decoded == nullptr) {
            return;
        }
        pixels.assign(decoded, decoded + width * height * channels);
        stbi_image_free(decoded);
    }
    int At(int x, int y, int channel) const
    {
        return pixels.at(static_cast<std::size_t>((y * width + x) * channels + channel));
    }

    int width = 0, height = 0, channels = 0;
    std::vector<stbi_uc> pixels;
};

struct Result
{
    int exitCode;
    std::string output;
    std::string errors;
};

// Every test runs in a folder of its own, whose name holds a blank.
class Camhost : public testing::Test
{
protected:
    void SetUp() override
    {
        fs::create_directories(folder_.Path() / "sdk");
        fs::current_path(folder_.Path());
        SetEnvironment("ZORVIK_HOME", "");
    }
    void TearDown() override { fs::current_path(ExecutableFolder()); }

    static Result RunBare(const std::string& arguments)
    {
        const int exitCode = Shell(Program() + arguments + " >output.txt 2>errors.txt");
        return {exitCode, ReadText("output.txt"), ReadText("errors.txt")};
    }
    static std::string Program() { return "\"" + ExecutableFolder() + "/camhost\" "; }
    // With the test's own adapter.
    static Result Run(const std::string& arguments)
    {
        return RunBare(FakeAdapter() + " --sdk sdk " + arguments);
    }
    static std::string FakeAdapter()
    {
        return "--adapter \"" + ExecutableFolder() + "/" + MARAVEL_FAKE_ADAPTER + "\"";
    }
    // `grab` with the images going to the folder "out".
    static Result Grab(const std::string& arguments) { return Run("grab 0 --out out " + arguments); }

    static void ExpectFailure(const Result& result, int exitCode, const std::string& part)
    {
        EXPECT_EQ(result.exitCode, exitCode) << result.errors;
        EXPECT_NE(result.errors.find(part), std::string::npos) << result.errors;
        EXPECT_EQ(result.errors.rfind("camhost: ", 0), 0u) << result.errors;
        EXPECT_EQ(std::ranges::count(result.errors, '\n'), 1) << result.errors;
    }

    // What lies in "out", sorted.
    static Names Written()
    {
        Names names;
        if (fs::exists("out")) {
            for (const auto& entry : fs::directory_iterator("out")) {
                names.push_back(entry.path().filename().string());
            }
        }
        std::ranges::sort(names);
        return names;
    }

    // The adapter's acquisition calls since it was last asked.
    static std::string Calls()
    {
        const std::string calls = ReadText("sdk/calls.txt");
        fs::remove("sdk/calls.txt");
        return calls;
    }

private:
    PrivateMachine machine_;
    const OwnFolder folder_{testing::UnitTest::GetInstance()->current_test_info()->name()};
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
        {"dance", "there is no command 'dance'"},
        {"dance --frames 3", "there is no command 'dance'"},
        {"get", "CHANNEL is required"},
        {"get 0", "FEATURE is required"},
        {"set 0 Gain", "Gain: is not of the form FEATURE=VALUE"},
        {"set 0 Gain=1 =2", "=2: is not of the form FEATURE=VALUE"},
        {"run 0 Reset Reset", "COMMAND"},
        {"grab 0", "--out is required"},
        {"grab 0 --out x --frames 0", "--frames"},
        {"grab 0 --out x --region 0,0,5", "--region"},
        {"grab 0 --out x --region 0,0,-5,3", "'-5' is no number of pixels"},
        {"grab 0 --out x --trigger sometimes", "hardware-auto"},
        {"grab 0 --out x --edge both", "rising"},
        {"grab 0 --out x --timeout 0", "--timeout: '0' is no time; write seconds without a unit"},
        {"grab 0 --out x --exposure 10ms", "'10ms' is no time"},
        {"grab 0 --out x --exposure -1", "'-1' is no time"},
        {"list --sdk no/such/folder", "no/such/folder"},
        {"certify --known C3,X9", "--known 'X9' is no check"},
        {"certify --group Z", "no check is called that"},
        {"certify --filter '['", "is no regular expression"},
        {"get 7 Width", "there is no channel '7'; there are 0 (F:1)"},
        {"set 0 Width=wide", "Width is an integer; 'wide' is none"},
        {"set 0 Gain=1,5", "Gain is a number"},
        {"set 0 NoImages=maybe", "NoImages is True or False"},
        {"set 0 Reset=1", "use 'camhost run'"},
        {"get 0 Reset", "Reset is a command; use 'camhost run'"},
    };
    for (const Row& row : kRows) {
        const Result result = Run(row.arguments);
        ExpectFailure(result, 2, row.says);
        EXPECT_EQ(result.output, "") << row.arguments;
    }
}

TEST_F(Camhost, HelpAndVersionAnswerWithoutAnAdapter)
{
    for (const char* arguments : {"--help", "list --help", "describe --help", "get --help", "set --help",
                                  "run --help", "grab --help", "--version"}) {
        const Result result = RunBare(arguments);
        EXPECT_EQ(result.exitCode, 0) << arguments;
        EXPECT_NE(result.output, "") << arguments;
        EXPECT_EQ(result.errors, "") << arguments;
    }
    EXPECT_NE(RunBare("--help").output.find("3 the adapter"), std::string::npos);
}

TEST_F(Camhost, WhatCannotBeLoadedEndsWithThree)
{
    std::ofstream("text.dll") << "no library";
    fs::create_directory("incomplete");
    const std::string foreign = SdkFolder() + "/bin/ZvkImageTransform.dll";
    const std::pair<std::string, const char*> rows[] = {
        {"--adapter missing.dll", "there is no such file"},
        {"--adapter text.dll", "cannot be loaded"},
        {"--adapter \"" + foreign + "\"", "is no adapter: it has no function GetVideoChannel"},
        {FakeAdapter() + " --sdk incomplete", "channel 0 is not usable: a callback is missing"},
    };
    for (const auto& [adapter, says] : rows) {
        ExpectFailure(RunBare("list " + adapter), 3, says);
    }
    EXPECT_EQ(Run("list --sdk incomplete").exitCode, 2) << "given twice";
}

TEST_F(Camhost, FeaturesAreReadWrittenAndRun)
{
    EXPECT_EQ(Run("get F:1 Width Gain").output, "Width=5\nGain=1.500000\n");
    EXPECT_EQ(Run("set 0 Gain 2.25").output, "Gain=2.25\n");
    EXPECT_EQ(Run("set 0 NoImages=on Mode=Slow Width=8").output, "NoImages=True\nMode=Slow\nWidth=8\n");
    const Result clamped = Run("set 0 Width=-5 Gain=3");
    ExpectFailure(clamped, 1, "Width became 4, not -5");
    EXPECT_EQ(clamped.output, "Width=4\nGain=3\n") << "the others are written all the same";
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
        {"get 0 gian", "not found for channelID=0. Did you mean Gain?"},
        {"set 0 PixelTipe=1", "Did you mean PixelType?"},
    };
    for (const auto& [arguments, says] : rows) {
        ExpectFailure(Run(arguments), 1, says);
    }
}

TEST_F(Camhost, ListAndDescribeAreAligned)
{
    EXPECT_EQ(Run("list").output, "CHANNEL  SERIAL  CAMERA               ADDRESS  SIZE  EXPOSURE   STATE\n"
                                  "0        F:1     Zorvik/HVN TL: Fake           5x3   10.000 ms  ready\n");
    const std::string description = Run("describe 0").output;
    for (const char* line : {"FEATURE        TYPE     ACCESS  VALUE         DESCRIPTION\n",
                             "Gain           float    RW      1.500000      What it does.\n",
                             "Mode           enum     RW      Fast          What it does.\n"
                             "                                of Fast, Slow\n",
                             "PayloadSize    int      R-      64            What it does.\n",
                             "Reset          command  RW                    What it does.\n"}) {
        EXPECT_NE(description.find(line), std::string::npos) << line << description;
    }
}

TEST_F(Camhost, ProgramsGetTheSameAsJson)
{
    const std::pair<const char*, std::vector<const char*>> rows[] = {
        {"list --json",
         {"maravel-list-1", "\"serialNumber\": \"F:1\"", "\"width\": 5", "\"exposureTime\": 0.01"}},
        {"describe 0 --json",
         {"maravel-describe-1", "\"value\": \"Fast\"", "\"Slow\"", "\"writable\": false"}},
        {"get 0 Gain Width Mode --json",
         {"maravel-get-1", "\"Gain\": 1.5", "\"Width\": 5,", "\"Mode\": \"Fast\""}},
        {"grab 0 --out json --json", {"maravel-grab-1", "\"images\": 1", "\"firstFile\": \"F_1_0001.png\""}},
    };
    for (const auto& [arguments, holds] : rows) {
        const Result result = Run(arguments);
        EXPECT_EQ(result.exitCode, 0) << arguments;
        EXPECT_TRUE(result.output.starts_with("{") && result.output.ends_with("}\n")) << result.output;
        for (const char* text : holds) {
            EXPECT_NE(result.output.find(text), std::string::npos) << arguments << text << result.output;
        }
    }
}

TEST_F(Camhost, PagesTellOfEveryCommand)
{
    const std::string man = RunBare("--page man").output, words = RunBare("--page bash-completion").output;
    EXPECT_NE(man.find(".SS grab\n"), std::string::npos);
    EXPECT_NE(man.find("\\fB\\-\\-exposure\\fR"), std::string::npos) << man;
    EXPECT_NE(words.find("'manual freerun hardware-auto"), std::string::npos);
    EXPECT_NE(words.find("grab) words+=' --frames"), std::string::npos);
    EXPECT_EQ(RunBare("--page other").exitCode, 2);
}

TEST_F(Camhost, GrabAppliesTheParameters)
{
    EXPECT_EQ(Grab("").exitCode, 0);
    EXPECT_EQ(Calls(), "SetupCommonParams 0.01 101 0,0,5,3\nStartAcquisition\nStopAcquisition\n");

    // A start is also a trigger in the manual mode: one for each image.
    EXPECT_EQ(Grab("--frames 3 --trigger manual --edge falling --exposure 0.5 --region 1,2,4,3").exitCode, 0);
    EXPECT_EQ(Calls(), "SetupCommonParams 0.5 000 1,2,4,3\n"
                       "StartAcquisition\nStartAcquisition\nStartAcquisition\nStopAcquisition\n");
    EXPECT_EQ(Written(), (Names{"F_1_0001.png", "F_1_0002.png", "F_1_0003.png"}));
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
        fs::remove_all("out");
        const Result result = Grab("--set PixelType=" + std::to_string(row.pixelType));
        ASSERT_EQ(result.exitCode, 0) << result.errors;
        const bool png = row.header == nullptr;
        ASSERT_EQ(Written(), Names{png ? "F_1_0001.png" : "F_1_0001.pgm"});
        const fs::path path = "out/" + Written().front();
        if (!png) {
            std::string expected = row.header;
            for (unsigned i = 0; i < 15; ++i) {
                expected += static_cast<char>(((i * 100 + 1) & row.mask) >> 8);
                expected += static_cast<char>((i * 100 + 1) & row.mask & 255);
            }
            EXPECT_EQ(ReadFile(path), expected) << row.pixelType;
            continue;
        }
        const Png image(path);
        EXPECT_EQ(image.width, 5);
        EXPECT_EQ(image.height, 3);
        ASSERT_EQ(image.channels, row.channels);
        for (int i = 0; i < 15; ++i) {
            for (int channel = 0; channel < image.channels; ++channel) {
                EXPECT_EQ(image.At(i % 5, i / 5, channel), i + channel * 15) << row.pixelType;
            }
        }
    }
}

TEST_F(Camhost, AFailedGrabLeavesWholeImagesAndAStoppedCamera)
{
    struct Row
    {
        const char* arguments;
        const char* says;
        const char* calls; // after the setup
        Names written;
    };
    const Row rows[] = {
        {"--region 0,0,200,3", "F:1: SetupCommonParams: ERROR. Width refused.", "", {}},
        {"--set Width=1", "F:1: Width became 4, not 1", "", {}},
        {"--exposure 5", "F:1: ExposureTime became 1000000.000000, not 5000000.000000", "", {}},
        {"--exposure 0.1 --set ExposureAuto=Continuous", "add --set ExposureAuto=Off", "", {}},
        {"--set NoImages=True --timeout 0.2",
         "F:1: no image within 0.2 s, 0 of 1 arrived; is the camera triggered",
         "StartAcquisition\nStopAcquisition\n",
         {}},
        {"--set NoImages=True --set RefuseTrigger=True --trigger manual --timeout 0.2",
         "0 of 1 arrived; StartAcquisition: ERROR. TriggerSoftware failed.",
         "StartAcquisition\nStopAcquisition\n",
         {}},
        {"--frames 9 --set FailAtImage=3",
         "F:1: GetImage: ERROR. The cable is out.",
         "StartAcquisition\nStopAcquisition\n",
         {"F_1_0001.png", "F_1_0002.png"}},
    };
    for (const Row& row : rows) {
        const Result result = Grab(row.arguments);
        ExpectFailure(result, 1, row.says);
        EXPECT_EQ(result.output, "");
        const std::string calls = Calls();
        EXPECT_EQ(calls.substr(calls.find('\n') + 1), row.calls) << row.arguments;
        EXPECT_EQ(Written(), row.written) << row.arguments;
    }
}

TEST_F(Camhost, AFileThatCannotBeWrittenLeavesNothing)
{
    std::ofstream("out") << "a file where the folder should be";
    ExpectFailure(Grab(""), 1, "cannot be written");
    EXPECT_NE(Calls().find("StopAcquisition"), std::string::npos);

    // The image can be written here, but not the sheet, whose name is a folder's.
    fs::create_directory("sheet.png");
    ExpectFailure(Run("grab 0 --out images --contact-sheet sheet.png"), 1, "sheet.png cannot be written");
    EXPECT_FALSE(fs::exists("sheet.png.part"));
}

TEST_F(Camhost, DevicesStayDevicesAndFullOnesAreNoticed)
{
    if (PathSeparator == '\\') {
        GTEST_SKIP() << "no such devices";
    }
    ExpectFailure(Run("grab 0 --out images --contact-sheet /dev/full"), 1, "it is a device, not a file");
    EXPECT_TRUE(fs::is_character_file("/dev/full"));
    for (const char* arguments : {"--version", "--help", "get 0 Gain"}) {
        EXPECT_EQ(Shell(Program() + arguments + " >/dev/full 2>errors.txt"), 1) << arguments;
        EXPECT_EQ(ReadText("errors.txt"),
                  "camhost: cannot write to standard output: No space left on device\n");
    }
}

TEST_F(Camhost, ARequestToEndStopsTheCamera)
{
    if (PathSeparator == '\\') {
        GTEST_SKIP() << "no signals";
    }
    for (const char* signal : {"TERM", "INT", "HUP"}) {
        fs::remove("sdk/calls.txt");
        EXPECT_EQ(
            Shell(
                "{ " + Program() + FakeAdapter() +
                " --sdk sdk grab 0 --out out --set NoImages=True --timeout 60 2>errors.txt & }; "
                "until grep -qs StartAcquisition sdk/calls.txt || ! kill -0 $!; do sleep 0.1; done; kill -" +
                signal + " $!; wait $!"),
            1);
        EXPECT_EQ(ReadText("errors.txt"), "camhost: interrupted; the images so far are complete\n") << signal;
        EXPECT_NE(Calls().find("StopAcquisition"), std::string::npos) << signal;
    }
}

TEST_F(Camhost, PathsMayHoldAnyCharacter)
{
    const std::string name = "\u0416\u6f22 \u00e9";
    const fs::path folder(std::u8string(name.begin(), name.end()));
    const Result result =
        Run("grab 0 --out \"" + name + "\" --contact-sheet \"" + name + "/" + name + ".png\"");
    ASSERT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_TRUE(fs::exists(folder / "F_1_0001.png"));
    EXPECT_NE(result.output.find(name + PathSeparator + "F_1_0001.png\n"), std::string::npos)
        << result.output;
    fs::copy(ExecutableFolder() + "/" + MARAVEL_FAKE_ADAPTER, folder / MARAVEL_FAKE_ADAPTER);
    EXPECT_EQ(RunBare("get 0 Gain --sdk sdk --adapter \"" + name + "/" + MARAVEL_FAKE_ADAPTER + "\"").output,
              "Gain=1.500000\n");
}

TEST_F(Camhost, CamerasOfOneSerialNumberKeepTheirImages)
{
    fs::create_directory("twins");
    EXPECT_EQ(RunBare("grab all --out out --sdk twins " + FakeAdapter()).exitCode, 0);
    ExpectFailure(RunBare("get F:1 Width --sdk twins " + FakeAdapter()), 2,
                  "2 cameras have the serial number F:1");
    EXPECT_EQ(Written(), (Names{"F_1-channel0_0001.png", "F_1-channel1_0001.png"}));
}

TEST_F(Camhost, ContactSheetShowsEveryImage)
{
    const Result result = Grab("--frames 5 --contact-sheet \"all sheets/sheet.png\"");
    ASSERT_EQ(result.exitCode, 0) << result.errors;
    const Png sheet("all sheets/sheet.png");
    ASSERT_EQ(sheet.width, 3 * 168 + 8);
    ASSERT_EQ(sheet.height, 2 * 25 + 8);
    for (int i = 0; i < 6; ++i) {
        const int left = 8 + i % 3 * 168, top = 8 + i / 3 * 25;
        int white = 0; // of the label
        for (int y = top; y < top + 12; ++y) {
            for (int x = left; x < left + 160; ++x) {
                white += sheet.At(x, y, 0) == 255;
            }
        }
        EXPECT_EQ(white > 0, i < 5) << i;
        EXPECT_EQ(sheet.At(left + 4, top + 14 + 2, 0), i < 5 ? 14 : 32) << i; // the last pixel, or paper
    }
}

TEST_F(Camhost, ProgressAndSummaryTellTheLosses)
{
    const Result result = Grab("--frames 6 --set SkipAtImage=4 --progress");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_NE(result.errors.find("F:1: "), std::string::npos) << result.errors;
    EXPECT_NE(result.output.find("F:1: 6 images of 5 x 3 in "), std::string::npos) << result.output;
    EXPECT_NE(result.output.find("/s, 2 lost (by time stamps); "), std::string::npos) << result.output;
    EXPECT_EQ(Grab("--frames 6").errors, "") << "no progress unless asked for";
}

// The real adapter and the simulated cameras, found beside camhost.
TEST_F(Camhost, GrabsFromEverySimulatedCamera)
{
    const Result list = RunBare("list");
    EXPECT_EQ(list.exitCode, 0) << list.errors;
    const auto cameras = std::ranges::count(list.output, '\n') - 1;
    ASSERT_GT(cameras, 0);
    for (const char* part : {"Zorvik/HVN TL: ", "Zorvik/Other: ", "169.254.0.1 ", "USB3Vision "}) {
        EXPECT_NE(list.output.find(part), std::string::npos) << list.output;
    }
    const Result grab = RunBare("grab all --frames 2 --trigger manual --out out");
    EXPECT_EQ(grab.exitCode, 0) << grab.errors;
    EXPECT_EQ(std::ssize(Written()), 2 * cameras);
    EXPECT_EQ(std::ranges::count(grab.output, '\n'), cameras) << grab.output;
    ExpectFailure(RunBare("set 0 PixelFormat=Purple"), 1,
                  "Value='Purple'. Reason=ZvkErrorInvalidValue (-11). (entries now: ");
}

TEST_F(Camhost, AnSdkThatIsNotThereIsNamed)
{
    SetEnvironment("ZORVIK_HOME", "nowhere");
    for (const char* command : {"list", "get 0 Width", "grab all --out out"}) {
        ExpectFailure(RunBare(command), 3, "The variable ZORVIK_HOME is not set or names no folder");
        // The adapter has no text for a folder without its libraries; the option goes before the variable.
        ExpectFailure(RunBare(command + std::string(" --sdk sdk")), 3, "ZvkC.dll did not load from ");
    }
    EXPECT_EQ(RunBare("list --sdk sdk").output, "");

    SetEnvironment("ZORVIK_HOME", "");
    const Result list = RunBare("list --simulate \"cameras 0\"");
    EXPECT_EQ(list.exitCode, 0) << "a well SDK without cameras is no failure";
    EXPECT_EQ(list.output.rfind("no cameras found. Look at power", 0), 0u) << list.output;
    ExpectFailure(RunBare("grab all --out out --simulate \"cameras 0\""), 1, "no cameras found. Look");
}

// By time stamps alone it would say none: every second frame comes at even intervals.
TEST_F(Camhost, LossesAreCountedByFrameNumbers)
{
    const Result result = RunBare("grab 3 --frames 6 --out out --simulate \"incomplete 3 every 2\"");
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_NE(result.output.find(", 5 lost (by frame numbers); "), std::string::npos) << result.output;
}

TEST_F(Camhost, ARefusalOfTheAdapterIsSaidInPlainWords)
{
    const std::pair<const char*, const char*> rows[] = {
        {"get 0 Width --simulate \"busy 0\"",
         "Reason=ZvkErrorInUse (-27). Camera 0 could not be opened: another program has it"},
        {"grab 3 --out out --region 0,0,33,33",
         "Reason=ZvkErrorInvalidValue (-11) InvalidValue: use values that the camera's increments allow"},
    };
    for (const auto& [arguments, says] : rows) {
        ExpectFailure(RunBare(arguments), 1, says);
    }
    const Result list = RunBare("list --simulate \"busy 0\"");
    EXPECT_EQ(list.exitCode, 0);
    EXPECT_NE(list.output.find("  cannot be opened: camera-in-use\n"), std::string::npos) << list.output;
}

TEST_F(Camhost, GrabGoesOnWithACameraThatWasLost)
{
    const std::string arguments = "--frames 12 --timeout 0.8 --reconnect --out out --set PixelFormat=Mono16 ";
    const Result result = RunBare("grab 3 " + arguments + "--simulate \"unplug 3 after 5 frames for 1s\"");
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(Written().size(), 12u);
    EXPECT_EQ(Written().back(), "03-0004_0012.pgm") << "with the settings written again";
    EXPECT_NE(result.errors.find("5 of 12 arrived; looking for the camera\n"), std::string::npos)
        << result.errors;
    EXPECT_NE(result.errors.find("03-0004: back after "), std::string::npos) << result.errors;
    EXPECT_NE(result.output.find(", gone once for "), std::string::npos) << result.output;
    // One that is there and silent for another reason is not looked for.
    const Result silent = RunBare("grab 3 --timeout 1.2 --reconnect --out out --simulate \"silent 3\"");
    ExpectFailure(silent, 1, "takes commands, was started, and sent no frame");
}

TEST_F(Camhost, WordsOfFaultsOnDemandAreChecked)
{
    const std::pair<const char*, const char*> rows[] = {
        {"jump 0",
         "'jump' is no fault; there are unplug, incomplete, silent, busy, hold, fail, crash, hang, cameras"},
        {"busy 0; unplug", "'unplug' is no fault; write unplug CAMERA"},
        {"unplug 0 after 2", "write unplug CAMERA"},
        {"unplug 0 after 2s for 0s", "write unplug CAMERA"},
        {"unplug 32", "write unplug CAMERA"},
        {"incomplete 1 every 0", "write incomplete CAMERA every N"},
        {"silent 0 1", "write silent CAMERA"},
        {"hold 0", "write hold CAMERA COMMAND"},
        {"fail ZvkStartup 0 -1", "write fail ENTRY NTH CODE"},
        {"fail Zvk 1 -1", "ZvkC.dll has no entry point 'Zvk' to fail"},
        {"cameras", "write cameras N"},
    };
    for (const auto& [faults, says] : rows) {
        ExpectFailure(RunBare("list --simulate \"" + std::string(faults) + "\""), 2, says);
    }
    const fs::path empty = "sdk/bin";
    fs::create_directories(empty);
    fs::copy(SdkFolder() + "/bin/ZvkImageTransform.dll", empty / "ZvkC.dll");
    ExpectFailure(RunBare("list --sdk sdk --simulate \"busy 0\""), 2, "--simulate needs the simulated SDK");
}

} // namespace
} // namespace maravel::test
