// Every fault that the log tells of, brought about: a program meets it, and `camhost log --json` names it
// first.
#include "Shell.h"
#include "diagnosis/Faults.h"
#include "host/AdapterLibrary.h"
#include "platform/Win32.h"
#include "support/HostCalls.h"
#include "support/SdkControl.h"
#include "support/TestPlatform.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <thread>

namespace maravel::test {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;
using host::Channel;
using Channels = std::vector<Channel>;

// The option to overwrite is not honoured everywhere.
void Replace(const fs::path& path, const fs::path& with)
{
    fs::remove(path);
    fs::copy_file(with, path);
}

class Faults : public testing::Test
{
protected:
    void SetUp() override
    {
        fs::current_path(folder_.Path());
        SetEnvironment("ZORVIK_HOME", "");
    }
    void TearDown() override { fs::current_path(ExecutableFolder()); }

    static int Camhost(const std::string& arguments)
    {
        return Shell("\"" + ExecutableFolder() + "/camhost\" " + arguments + " >output.txt 2>errors.txt");
    }

    // What `camhost log` says of the machine's log or of a file: "fault id, fault id ..." without the hints,
    // the first one first.
    static std::string Named(const std::string& file = "")
    {
        const int exitCode = Camhost("log --json " + file);
        const Json report = Json::parse(ReadFile("output.txt"), nullptr, false);
        if (report.is_discarded() || report["runs"].empty()) {
            return "no report: " + ReadFile("errors.txt");
        }
        std::string names, stalls, hint;
        for (const Json& finding : report["runs"].back()["findings"]) {
            const std::string id = finding["id"];
            // A machine that stands still for a moment brings these about beside what a test does.
            std::string& list = id == "host-too-slow" || id == "frames-missing" ? stalls : names;
            if (finding["severity"] != "hint") {
                list += (list.empty() ? "" : ", ") + id;
            }
            else if (hint.empty()) {
                hint = "(" + id + ")";
            }
        }
        if (names.empty()) {
            names = stalls;
        }
        EXPECT_EQ(exitCode, names.empty() ? 0 : 1);
        EXPECT_EQ(report["unknown"], 0) << report["unknownLines"];
        return names.empty() ? hint : names;
    }

    // An SDK folder of the test's own.
    static fs::path CopySdk()
    {
        fs::remove_all("sdk");
        fs::copy(SdkFolder(), "sdk", fs::copy_options::recursive);
        return "sdk";
    }
    static void Describe(const std::string& description)
    {
        std::ofstream(CopySdk() / "cameras.toml") << description;
    }

    static std::string OneCamera(const std::string& more)
    {
        return "[[camera]]\nid = \"A\"\nmodel = \"M\"\ninterface = \"GigE\"\nwidth = 64\nheight = 64\n"
               "pixel_formats = [\"Mono8\"]\nframe_rate = 50.0\n" +
               more + "\n";
    }

    // A program of the test's own, for what camhost does not do wrong.
    static void Host(const std::function<void(const host::AdapterLibrary&, Channels&, SdkControl&)>& body)
    {
        SdkControl sdk(SdkFolder());
        SetEnvironment("ZORVIK_HOME", SdkFolder());
        {
            std::string reason;
            const auto adapter = host::AdapterLibrary::Load(AdapterFile(), &reason);
            ASSERT_NE(adapter, nullptr) << reason;
            Channels channels;
            ASSERT_TRUE(adapter->CollectChannels(&channels));
            body(*adapter, channels, sdk);
        }
        sdk.SimReset();
        sdk.SimTransformReset();
        SetEnvironment("ZORVIK_HOME", "");
    }
    static void Start(const Channel& channel)
    {
        EXPECT_TRUE(channel.SetupCommonParams(Params(1, 0, 0.001)));
        EXPECT_TRUE(channel.StartAcquisition());
    }
    // True when an image was there.
    static bool Fetch(const Channel& channel)
    {
        ImageAttributes attributes;
        std::uint32_t status = 0;
        std::vector<std::uint8_t> bytes(16u << 20);
        return channel.GetImageAttributes(&attributes, &status) && status == ImageStatusReady &&
               channel.GetImage(bytes.data(), &status);
    }
    static void Wait(int milliseconds)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    }

    PrivateMachine machine_;

private:
    const OwnFolder folder_{"faults"};
};

const std::string kGrab = "grab 0 --frames 9 --timeout 1.5 --out out ";

struct Row
{
    const char* expected; // the fault's name
    const char* simulate; // null: none
    std::string arguments = kGrab;
    std::function<void()> prepare = nullptr;
};

TEST_F(Faults, OfTheSdkAndItsCamerasAreNamed)
{
    const auto describe = [](const std::string& more) { return [=] { Describe(OneCamera(more)); }; };
    const std::string own = kGrab + "--sdk sdk ";
    const Row rows[] = {
        {"sdk-not-set", nullptr, kGrab, [] { SetEnvironment("ZORVIK_HOME", "nowhere"); }},
        {"library-not-loaded", nullptr, own, [] { fs::remove(CopySdk() / "bin/ZvkC.dll"); }},
        {"library-not-loaded", nullptr, own, [] { std::ofstream(CopySdk() / "bin/ZvkC.dll") << "text"; }},
        {"library-not-loaded", nullptr, kGrab + "--sdk sdk/bin ", [] { CopySdk(); }},
        {"transform-not-loaded", nullptr, own, [] { fs::remove(CopySdk() / "bin/ZvkImageTransform.dll"); }},
        {"sdk-too-old", nullptr, own,
         [] {
             const fs::path bin = CopySdk() / "bin";
             Replace(bin / "ZvkC.dll", bin / "ZvkImageTransform.dll");
         }},
        {"sdk-does-not-start", "fail ZvkStartup 1 -16"},
        {"sdk-does-not-start", nullptr, own, [] { Describe("[[camera]]\n"); }},
        {"no-camera", nullptr, own, [] { Describe(""); }},
        {"camera-list-fails", "fail ZvkCamerasList 1 -14"},
        {"camera-in-use", "busy 0"},
        {"camera-in-use", "fail ZvkCameraOpen 5 -6"},
        {"camera-gone", "fail ZvkCameraOpen 5 -3"},
        {"packet-size-not-settled", "hold 0 GVSPAdjustPacketSize"},
        {"small-packets", nullptr, own, describe("packet_size = 576")},
        {"packets-lost", "incomplete 0 every 3"},
        {"all-frames-incomplete", "incomplete 0 every 1"},
        {"unplugged", "unplug 0 after 4 frames"},
        {"unplugged", nullptr, own, describe("[[fault]]\ndo = \"unplug 0 after 4 frames\"")},
        {"no-frames", "silent 0"},
        {"waiting-for-pulses", nullptr, kGrab + "--trigger hardware-auto"},
        {"trigger-refused", nullptr, kGrab + "--trigger manual --set TriggerSource=Line0"},
        {"no-exposure", nullptr, own, describe("remove = [\"ExposureTime\", \"ExposureAuto\"]")},
        {"(auto-exposure)", nullptr, "grab 2 --frames 3 --out out"},
        {"region-refused", nullptr, kGrab + "--region 0,0,33,33"},
        {"exposure-refused", nullptr, kGrab + "--exposure 100000"},
        {"start-failed", "fail ZvkFrameAnnounce 2 -14"},
        {"buffers-lost", "fail ZvkCaptureFrameQueue 12 -14"},
        {"feature-missing", nullptr, kGrab + "--set Wdith=64"},
    };
    for (const Row& row : rows) {
        SetEnvironment("ZORVIK_HOME", "");
        if (row.prepare) {
            row.prepare();
        }
        Camhost(row.arguments +
                (row.simulate == nullptr ? "" : std::string(" --simulate \"") + row.simulate + "\""));
        const std::string how = row.arguments + " " + (row.simulate == nullptr ? "" : row.simulate);
        const std::string errors = ReadFile("errors.txt");
        EXPECT_EQ(Named(), row.expected) << how << "\n" << errors;
        // The command says the same cause itself, where it failed at all.
        const diagnosis::Fault* fault = diagnosis::FindFault(row.expected);
        const std::string sentence = fault == nullptr ? "" : fault->sentence;
        const std::string words =
            sentence.substr(sentence.find('}') == std::string::npos ? 0 : sentence.find('}') + 1, 12);
        if (errors.find("no image within") != std::string::npos) {
            EXPECT_NE(errors.find(words), std::string::npos) << errors;
        }
    }
}

TEST_F(Faults, OfTheProgramAreNamed)
{
    using Adapter = host::AdapterLibrary;
    const std::pair<const char*, std::function<void(const Adapter&, Channels&, SdkControl&)>> rows[] = {
        {"wrong-channel",
         [](const Adapter&, Channels& channels, SdkControl&) {
             char error[MARAVEL_TEXT_SIZE];
             EXPECT_EQ(channels[0].Descriptor().StartAcquisition(error, 17), MARAVEL_FAILURE);
         }},
        {"null-pointer",
         [](const Adapter&, Channels& channels, SdkControl&) {
             char error[MARAVEL_TEXT_SIZE];
             EXPECT_EQ(channels[0].Descriptor().SetupCommonParams(error, 0, nullptr), MARAVEL_FAILURE);
         }},
        {"conversion-unknown",
         [](const Adapter&, Channels& channels, SdkControl& sdk) {
             sdk.SimTransformFailCall("ZvkImageTransform", 1, -18, 0);
             Start(channels[1]);
             while (!Fetch(channels[1])) {
                 Wait(1);
             }
             EXPECT_TRUE(channels[1].StopAcquisition());
         }},
        {"host-too-slow",
         [](const Adapter&, Channels& channels, SdkControl&) {
             Start(channels[3]);
             for (int i = 0; i < 12; ++i) {
                 Wait(200);
                 while (!Fetch(channels[3])) {
                     Wait(1);
                 }
             }
             EXPECT_TRUE(channels[3].StopAcquisition());
         }},
        {"unplugged", // and fetched no more: the program goes on and stops at last
         [](const Adapter&, Channels& channels, SdkControl& sdk) {
             Start(channels[3]);
             Wait(300);
             sdk.SimUnplug(3, 1);
             EXPECT_FALSE(channels[3].StopAcquisition());
         }},
        {"format-changed",
         [](const Adapter&, Channels& channels, SdkControl& sdk) {
             Start(channels[3]); // Mono8
             while (!Fetch(channels[3])) {
                 Wait(1);
             }
             SimFrameRequest colour = {};
             colour.fields = SimFrameHasPixelFormat;
             colour.pixelFormat = 0x02180014;
             EXPECT_EQ(sdk.SimEmitFrame(3, &colour), 0);
             std::vector<unsigned char> image(std::size_t{640} * 480 * 3);
             std::uint32_t status = ImageStatusReady;
             while (status == ImageStatusReady) {
                 channels[3].GetImage(image.data(), &status);
             }
             EXPECT_TRUE(channels[3].StopAcquisition());
         }},
        {"region-refused",
         [](const Adapter&, Channels& channels, SdkControl&) {
             Start(channels[3]);
             CommonParams params = {};
             params.exposure = 0.001;
             params.acqContinuous = 1;
             params.roiwidth = params.roiheight = 64;
             EXPECT_FALSE(channels[3].SetupCommonParams(params));
             EXPECT_TRUE(channels[3].StopAcquisition());
         }},
    };
    for (const auto& [expected, body] : rows) {
        Host(body);
        EXPECT_EQ(Named(), expected);
    }
}

// What `camhost doctor` finds at fault or warns of, without what is this machine's network: "id, id".
std::string Examined()
{
    const Json report = Json::parse(ReadFile("output.txt"), nullptr, false);
    if (report.is_discarded()) {
        return "no report: " + ReadFile("errors.txt");
    }
    std::string ids;
    for (const Json& check : report["checks"]) {
        const std::string id = check["id"];
        const bool network = id.starts_with("mtu-") || id.starts_with("rp-") || id.starts_with("usb-") ||
                             id == "receive-buffer" || id == "packet-sockets" || id == "log-room";
        if (check["status"] == "ok" || network) {
            continue;
        }
        EXPECT_FALSE(check["remedy"].get<std::string>().empty()) << id;
        ids += (ids.empty() ? "" : ", ") + id;
    }
    return ids;
}

// A library for 32 bits: the machine's code in the header is another one.
void MakeThirtyTwoBit(const fs::path& path)
{
    std::string bytes = ReadFile(path);
    if (bytes.starts_with("MZ")) {
        const auto header = static_cast<unsigned char>(bytes[0x3C]) | static_cast<unsigned char>(bytes[0x3D])
                                                                          << 8;
        bytes.replace(static_cast<std::size_t>(header) + 4, 2, "\x4C\x01");
    }
    else {
        bytes[4] = 1;
        bytes.replace(18, 2, std::string("\x03\0", 2));
    }
    std::ofstream(path, std::ios::binary) << bytes;
}

TEST_F(Faults, OfTheInstallationAreFoundByTheDoctor)
{
    const bool windows = PathSeparator == '\\';
    const auto spoil = [](const char* name, const std::function<void(const fs::path&)>& how) {
        return [=] { how(CopySdk() / "bin" / name); };
    };
    const auto write = [](const std::string& bytes) {
        return [=](const fs::path& path) { std::ofstream(path, std::ios::binary) << bytes; };
    };
    const auto remove = [](const fs::path& path) { fs::remove(path); };
    const char* const runtime = "ZvkC.dll";
    const char* const transform = "ZvkImageTransform.dll";
    struct DoctorRow
    {
        const char* expected;
        const char* says;
        std::string arguments = "--sdk sdk";
        std::function<void()> prepare = [] { CopySdk(); };
    };
    const std::string foreign =
        windows ? std::string("\x7F"
                              "ELF") +
                      std::string(60, '\x02')
                : "MZ" + std::string(58, '\0') + std::string("\x40\0\0\0PE\0\0\x64\x86", 10) +
                      std::string(16, '\0') + std::string("\0\x20", 2) + std::string(200, '\0');
    std::string elf = std::string("\x7F"
                                  "ELF\x02",
                                  5) +
                      std::string(11, '\0') + std::string("\x03\0\x3E\0", 4) + std::string(60, '\0');
    const DoctorRow rows[] = {
        {"", "the adapter V"},
        {"zorvik-home-unset", "other programs find none", ""},
        {"zorvik-home, start", "which is no folder", "", [] { SetEnvironment("ZORVIK_HOME", "nowhere"); }},
        {"zorvik-home, start", "write the path without quotes", "",
         [] { SetEnvironment("ZORVIK_HOME", "\"sdk\""); }},
        {"zorvik-home, start", "which is a file", "",
         [] {
             std::ofstream("sdk.txt") << "x";
             SetEnvironment("ZORVIK_HOME", "sdk.txt");
         }},
        {"runtime-library, transform-library, start", "names the folder 'bin' itself", "--sdk sdk/bin"},
        {"runtime-library, start", "the file is missing", "--sdk sdk", spoil(runtime, remove)},
        {"runtime-library, start", "the file is empty", "--sdk sdk", spoil(runtime, write(""))},
        {"runtime-library, start", "the file is no library", "--sdk sdk",
         spoil(runtime, write("hello, I am a text"))},
        {"runtime-library, start", "it is a 32-bit x86 library", "--sdk sdk",
         spoil(runtime, MakeThirtyTwoBit)},
        {"runtime-library, start", windows ? "a library for Linux" : "a library for Windows", "--sdk sdk",
         spoil(runtime, write(windows ? elf : foreign))},
        {"runtime-library, start", "functions are missing, such as Zvk", "--sdk sdk",
         spoil(runtime, [&](const fs::path& path) { Replace(path, path.parent_path() / transform); })},
        {"runtime-library, start", "Needed", "--sdk sdk",
         spoil(runtime,
               [](const fs::path& path) {
                   Replace(path, fs::path(ExecutableFolder()) / "needy" / MARAVEL_NEEDY_LIBRARY);
               })},
        {"transform-library, start", "the file is missing", "--sdk sdk", spoil(transform, remove)},
        {"transform-library, start", "a folder stands in its place", "--sdk sdk",
         spoil(transform,
               [](const fs::path& path) {
                   fs::remove(path);
                   fs::create_directory(path);
               })},
        {"sdk-does-not-start", "cameras.toml", "--sdk sdk", [] { Describe("[[camera]]\n"); }},
        {"no-camera", "found no camera", "--sdk sdk", [] { Describe(""); }},
        {"camera-1", "another program has it", "--sdk sdk --simulate \"busy 1\""},
        {"adapter", "there is no such file", "--sdk sdk --adapter nowhere.dll"},
        {"log-folder, start", "the log cannot be written", "--sdk sdk",
         [this] {
             CopySdk();
             fs::remove_all(machine_.LogFolder());
             fs::create_directories(fs::path(machine_.LogFolder()).parent_path());
             std::ofstream(machine_.LogFolder()) << "in the way";
         }},
    };
    for (const DoctorRow& row : rows) {
        SetEnvironment("ZORVIK_HOME", "");
        row.prepare();
        const int exitCode = Camhost("doctor --json " + row.arguments);
        const std::string output = ReadFile("output.txt");
        EXPECT_EQ(Examined(), row.expected) << row.says << output;
        EXPECT_NE(output.find(row.says), std::string::npos) << row.says << "\n" << output;
        const bool fine =
            std::string_view(row.expected).empty() || std::string_view(row.expected) == "zorvik-home-unset";
        EXPECT_EQ(exitCode, fine ? 0 : 1) << row.expected;
    }
    fs::remove_all(machine_.LogFolder());
    Host([](const host::AdapterLibrary&, Channels&, SdkControl&) {
        EXPECT_EQ(Camhost("doctor --json"), 0);
        EXPECT_EQ(Examined(), "log-writer");
    });
    if (windows) {
        return; // the test's registry is this process's alone
    }
    const std::string key = "SOFTWARE\\maravel\\PLK\\AdapterZorvik";
    const std::pair<RegistryEntry, const char*> entries[] = {
        {RegistryNumber(key, "EnableLog", 1), ""},
        {RegistryNumber(key, "EnableLog", 0), "registry"},
        {RegistryKeyOnly(key), "registry"},
        {RegistryText(key, "EnableLog", "1"), "registry"},
        {RegistryBinary(key, "Path", {1, 2}), "registry, registry-value"},
    };
    for (const auto& [entry, expected] : entries) {
        machine_.SetRegistry({entry});
        EXPECT_EQ(Camhost("doctor --json --no-start --sdk sdk"), 0);
        EXPECT_EQ(Examined(), expected) << entry.value;
    }
}

// A second program's start empties the file under the first one, which goes on where it was.
TEST_F(Faults, TwoProgramsInOneLogAreNoticed)
{
    Host([](const host::AdapterLibrary&, Channels& channels, SdkControl&) {
        std::string value;
        for (int i = 0; i < 1000; ++i) {
            EXPECT_TRUE(channels[3].ReadValue("Width", &value));
        }
        EXPECT_EQ(Camhost("get 3 Width"), 0);
        EXPECT_TRUE(channels[3].ReadValue("Height", &value));
    });
    EXPECT_EQ(Named().rfind("two-hosts", 0), 0u) << Named();
}

// Faults that cannot be brought about at will, in the log of a well run: a line put in, or its end cut off.
TEST_F(Faults, InWrittenLogsAreNamed)
{
    ASSERT_EQ(Camhost("grab 3 --frames 3 --out out"), 0) << ReadFile("errors.txt");
    EXPECT_EQ(Named(), "(no-jumbo-frames)");
    const std::string log = ReadFile(machine_.LogFile());
    const auto with = [&log](const std::string& line) {
        const std::size_t at = log.rfind("[");
        return log.substr(0, at) + "[23:59:59:000 L00001] " + line + "\n" + log.substr(at);
    };
    const std::pair<const char*, std::string> rows[] = {
        {"(no-jumbo-frames)", log},
        {"out-of-memory", with("StartAcquisition: ERROR. Out of memory.")},
        {"wrong-order", with("ReadValue: ERROR. Invalid class pointer.")},
        {"host-killed", log.substr(0, log.find("StopAcquisition"))},
        {"host-killed", log.substr(0, log.size() / 2)},
    };
    for (const auto& [expected, content] : rows) {
        std::ofstream("a log.log", std::ios::binary) << content;
        EXPECT_EQ(Named("\"a log.log\""), expected);
    }
}

TEST_F(Faults, ALogBecomesATraceAndAPage)
{
    ASSERT_EQ(Camhost("grab 3 --frames 5 --out out"), 0) << ReadFile("errors.txt");
    ASSERT_EQ(Camhost("log --json --trace a.json --html a.html"), 0);
    const Json channel = Json::parse(ReadFile("output.txt"))["runs"][0]["channels"].back();
    std::map<std::string, int> events;
    const Json trace = Json::parse(ReadFile("a.json"));
    for (const Json& event : trace["traceEvents"]) {
        ++events[event["ph"].get<std::string>() + " " + event["name"].get<std::string>()];
    }
    EXPECT_EQ(channel["channel"], 3);
    EXPECT_EQ(events["i frame"], channel["frames"]["complete"]);
    EXPECT_EQ(events["X acquisition"], 1);
    EXPECT_GE(events["C frames/s of channel 3"], 1);
    EXPECT_EQ(events["M thread_name"], 4);
    const std::string page = ReadFile("a.html");
    for (const char* part : {"<svg", "healthy", "Simulated Legacy Mono VGA", "</html>"}) {
        EXPECT_NE(page.find(part), std::string::npos) << part;
    }
    for (const char* part : {"<script", "http:", "https:"}) {
        EXPECT_EQ(page.find(part), std::string::npos) << "needs nothing else";
    }
}

TEST_F(Faults, WhatIsAskedOfALogInTheWrongWayIsSaid)
{
    fs::create_directory("a folder");
    const std::tuple<const char*, int, const char*> rows[] = {
        {"log nowhere.log", 4, "there is no log nowhere.log"},
        {"log", 4, "the adapter makes it when a program starts it"},
        {"log \"a folder\"", 4, "is a folder"},
        {"log --channel x", 2, "'x' is no index of a channel"},
        {"log --since 25:00", 2, "'25:00' is no time of day"},
        {"log --follow --json", 2, "excludes"},
        {"log --explain gibberish", 1, "nothing is known of 'gibberish'"},
        {"log --explain \"\"", 1, "nothing is known of ''"},
        {"log a b", 2, "not expected: b"},
        {"doctor 0", 2, "not expected: 0"},
    };
    for (const auto& [arguments, exitCode, says] : rows) {
        EXPECT_EQ(Camhost(arguments), exitCode) << arguments;
        EXPECT_NE(ReadFile("errors.txt").find(says), std::string::npos) << ReadFile("errors.txt");
    }
}

TEST_F(Faults, ALogThatIsSwitchedOffIsNamed)
{
    if (PathSeparator == '\\') {
        GTEST_SKIP() << "the test's registry is this process's alone";
    }
    ASSERT_EQ(Camhost("grab 3 --frames 3 --out out"), 0) << ReadFile("errors.txt");
    machine_.SetRegistry({RegistryNumber("SOFTWARE\\maravel\\PLK\\AdapterZorvik", "EnableLog", 0)});
    EXPECT_EQ(Camhost("grab 3 --frames 3 --out out"), 0);
    EXPECT_EQ(Named(), "logging-off");
    machine_.RemoveLogFolder();
    EXPECT_EQ(Camhost("log --json"), 4);
    EXPECT_NE(ReadFile("errors.txt").find("The registry switches the log off"), std::string::npos);
    EXPECT_EQ(Camhost("list --sdk ."), 3) << "also without a log";
    EXPECT_NE(ReadFile("errors.txt").find("ZvkC.dll did not load"), std::string::npos)
        << ReadFile("errors.txt");
}

// All cameras, all formats. A machine that stands still for a moment really loses images of a fast camera in
// free run, so those are triggered one by one unless MARAVEL_TEST_HEALTHY_RUNS says how many runs a quiet
// machine is to do.
TEST_F(Faults, AHealthyRunRaisesNoAlarm)
{
    const char* const kFormats[][5] = {{"Mono8", "Mono10", "Mono12", "Mono12Packed"},
                                       {"BayerRG8", "BayerRG10", "BayerRG12", "BayerRG12Packed", "Mono8"},
                                       {"RGB8", "BGR8", "YUV422_8_UYVY", "YUV422_8", "BayerRG8"},
                                       {"Mono8", "Mono16"}};
    const char* more = std::getenv("MARAVEL_TEST_HEALTHY_RUNS");
    const int runs = more == nullptr ? 8 : std::atoi(more);
    for (int i = 0; i < runs; ++i) {
        const int camera = i % 4;
        const char* format = kFormats[camera][i / 4 % 5];
        const std::string arguments =
            i % 8 == 6
                ? "grab all --frames 3 --out out"
                : "grab " + std::to_string(camera) +
                      " --frames 3 --out out --set PixelFormat=" + (format == nullptr ? "Mono8" : format);
        const bool freerun = more != nullptr || camera == 3;
        ASSERT_EQ(Camhost(arguments + (freerun ? "" : " --trigger manual")), 0) << ReadFile("errors.txt");
        ASSERT_EQ(Camhost("log --json"), 0) << arguments << ReadFile("output.txt");
        ASSERT_EQ(Json::parse(ReadFile("output.txt"))["unknown"], 0) << arguments;
    }
}

} // namespace
} // namespace maravel::test
