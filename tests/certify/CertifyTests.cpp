// Each check of the conformance run fails when the SDK has the fault that the check is for, and hardly any
// other check does.
#include "Faults.h"
#include "certify/Catalogue.h"
#include "certify/Runner.h"
#include "certify/Sha256.h"
#include "host/Utf8Path.h"
#include "support/TestPlatform.h"
#include "tools/Shell.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <optional>

namespace maravel::test {
namespace {

namespace fs = std::filesystem;
using certify::Check;
using certify::Group;
using certify::Outcome;
using certify::Result;
using certify::Settings;

// Small and fast, so that all faults take seconds.
constexpr const char* kCameras = R"(
[[camera]]
id = "FAST-1"
model = "Fast"
vendor = "Simulated Cameras"
serial = "1"
interface = "USB3"
transport_vendor = "Halvane Imaging"
width = 64
height = 48
pixel_formats = ["Mono8", "Mono12"]
frame_rate = 1000.0
exposure_us = 200.0
[[camera.feature]]
name = "Counter"
type = "int"
value = "5"
minimum = 1
maximum = 10
[[camera.feature]]
name = "Level"
type = "float"
value = "5"
minimum = 1
maximum = 10
[[camera.feature]]
name = "Temperature"
type = "float"
value = "40"
minimum = 0
maximum = 100
writable = false
[[camera.feature]]
name = "Filter"
type = "enum"
value = "Red"
entries = ["Red", "Green", "Blue", "Infrared"]
unavailable_entries = ["Infrared"]
[[camera.feature]]
name = "Lens"
type = "enum"
value = "Wide"
entries = ["Wide", "Long"]
writable = false
[[camera.feature]]
name = "Note"
type = "string"
value = "nothing"

[[camera]]
id = "FAST-2"
model = "Fast"
vendor = "Simulated Cameras"
serial = "2"
interface = "USB3"
transport_vendor = "Halvane Imaging"
width = 64
height = 48
pixel_formats = ["Mono8"]
frame_rate = 1000.0
exposure_us = 200.0
)";

std::optional<fs::path> g_copy; // that UseCopy made

std::vector<FaultRow> AllFaults()
{
    std::vector<FaultRow> rows;
    for (const auto faults : {SdkFaults(), FeatureFaults(), CameraFaults(), StreamFaults(), TriggerFaults(),
                              TransformFaults(), AdapterFaults()}) {
        rows.insert(rows.end(), faults.begin(), faults.end());
    }
    return rows;
}

const Group& GroupOf(const std::string& check)
{
    return *std::ranges::find(certify::Groups(), check[0], &Group::letter);
}

void BindOwn()
{
#define BIND(result, name, parameters)                                                                       \
    own.name = reinterpret_cast<result(*) parameters>(sdk->SimOriginalEntry(#name));
    ZVK_RUNTIME_ENTRY_POINTS(BIND)
#undef BIND
#define BIND(result, name, parameters)                                                                       \
    own.name = reinterpret_cast<result(*) parameters>(sdk->SimTransformOriginalEntry(#name));
    ZVK_IMAGE_TRANSFORM_ENTRY_POINTS(BIND)
#undef BIND
}

class CertifyTest : public testing::Test
{
protected:
    CertifyTest() : control_(SdkFolder())
    {
        sdk = &control_;
        BindOwn();
    }
    ~CertifyTest() override { MakeNew(); }

    void MakeNew()
    {
        own.ZvkShutdown();
        control_.SimReset();
        control_.SimTransformReset();
        control_.SimSetDescription(kCameras);
        memory = {};
    }

    Result Run(const Check& check, void (*install)(Settings&))
    {
        MakeNew();
        const OwnFolder folder(
            "certify"); // a new name each: Windows keeps a library for a while that it could not load
        const PrivateMachine machine; // whose log the adapter writes
        Settings settings{.sdk = SdkFolder(),
                          .adapter = AdapterFile(),
                          .camera = {},
                          .program = fs::path(ExecutableFolder()) / MARAVEL_CAMHOST,
                          .folder = folder.Path() / "own",
                          .startSeconds = 5,
                          .loadMemory = 64u << 20, // a sanitizer keeps much
                          .framePatience = std::chrono::milliseconds(1000)};
        fs::create_directories(settings.folder);
        g_copy = folder.Path() / "copy" / "sdk";
        if (install != nullptr) {
            install(settings);
        }
        Result result;
        {
            certify::Session session(settings);
            result = certify::RunCheck(session, check);
        }
        return result;
    }

private:
    SdkControl control_;
};

bool Complains(const Result& result)
{
    return result.outcome == Outcome::Failed || result.outcome == Outcome::Warning;
}

TEST_F(CertifyTest, NothingFailsWithoutAFault)
{
    for (const bool strict : {false, true}) {
        certify::BeStrict(strict);
        for (const Group& group : certify::Groups()) {
            for (const Check& check : group.checks) {
                const Result result = Run(check, nullptr);
                EXPECT_TRUE(result.outcome == Outcome::Ok || result.outcome == Outcome::NotSupported)
                    << check.id << ": " << result.text;
            }
        }
    }
    certify::BeStrict(false);
}

// Also what another process changed before it crashed: that one's list of settings lies in the run's folder.
TEST_F(CertifyTest, SettingsArePutBack)
{
    const OwnFolder folder("certify");
    const Settings settings{
        .sdk = SdkFolder(), .adapter = {}, .camera = {}, .program = {}, .folder = folder.Path()};
    for (const bool isFirst : {true, false}) {
        MakeNew();
        if (!isFirst) {
            std::string changed = kCameras;
            changed.replace(changed.find("value = \"5\""), 11, "value = \"7\"");
            sdk->SimSetDescription(changed.c_str());
        }
        certify::Session session(settings);
        session.Reach(certify::Stage::Opened);
        EXPECT_EQ(session.Value("Counter"), "5");
        EXPECT_EQ(session.SetValue("Filter", "Blue"), "");
        EXPECT_TRUE(session.PutBack().empty());
        EXPECT_EQ(session.Value("Filter"), "Red");
        session.SetValue("Counter", "9");
        sdk->SimFailCall("ZvkFeatureIntSet", 1, ZvkErrorIO, 1);
        const auto left = session.PutBack();
        ASSERT_EQ(left.size(), 1u);
        EXPECT_EQ(left[0], "Counter = 5: ZvkErrorIO (-20)");
    }
}

// A program left the camera waiting for triggers; the adapter's set-up writes to the other entry, too.
TEST_F(CertifyTest, TriggersRunFreelyAndArePutBackBehindEveryEntry)
{
    const OwnFolder folder("certify");
    std::string triggered = kCameras;
    triggered.insert(triggered.find("[[camera.feature]]"), "[camera.values]\nTriggerMode = \"On\"\n");
    MakeNew();
    sdk->SimSetDescription(triggered.c_str());
    certify::Session session(
        {.sdk = SdkFolder(), .adapter = {}, .camera = {}, .program = {}, .folder = folder.Path()});
    session.Reach(certify::Stage::Opened);
    EXPECT_EQ(session.Value("TriggerMode"), "Off");
    const auto selected = session.Value("TriggerSelector");
    const std::string other = selected == "FrameStart" ? "AcquisitionStart" : "FrameStart";
    EXPECT_EQ(session.SetValue("TriggerSelector", other), "");
    EXPECT_EQ(session.SetValue("TriggerMode", "On"), "");
    EXPECT_TRUE(session.PutBack().empty());
    EXPECT_EQ(session.Value("TriggerSelector"), selected);
    EXPECT_EQ(session.Value("TriggerMode"), "On");
    session.SetFreeRun();
    EXPECT_EQ(session.Value("TriggerMode"), "Off");
    session.SetValue("TriggerSelector", other);
    EXPECT_EQ(session.Value("TriggerMode"), "Off");
}

class FaultTest : public CertifyTest, public testing::WithParamInterface<FaultRow>
{
};

TEST_P(FaultTest, IsFoundByItsCheck)
{
    const FaultRow& row = GetParam();
    std::set<std::string> failed;
    for (const Check& check : GroupOf(row.check).checks) {
        if (!MARAVEL_WHOLE_GROUPS && std::string_view(check.id) != row.check &&
            !row.others.contains(check.id)) {
            continue;
        }
        const Result result = Run(check, row.install);
        if (!Complains(result)) {
            continue;
        }
        failed.insert(check.id);
        EXPECT_TRUE(row.check == result.id || row.others.contains(result.id))
            << "also fails: " << result.id << ": " << result.text;
        if (row.check == result.id) {
            std::printf("%-4s %s\n", row.check, result.text.c_str());
        }
    }
    EXPECT_TRUE(failed.contains(row.check)) << "the check does not notice its fault";
    for (const std::string& other : row.others) {
        EXPECT_TRUE(failed.contains(other)) << other << " does not fail, and need not be listed";
    }
}

INSTANTIATE_TEST_SUITE_P(Checks, FaultTest, testing::ValuesIn(AllFaults()),
                         [](const auto& row) { return std::string(row.param.check); });

TEST(Catalogue, HasEveryCheckAndEveryCheckHasAFault)
{
    std::set<std::string> checks;
    std::set<std::string> proved;
    std::set<std::string> described;
    for (const Group& group : certify::Groups()) {
        for (const Check& check : group.checks) {
            EXPECT_TRUE(checks.insert(check.id).second) << check.id << " is there twice";
        }
    }
    for (const FaultRow& row : AllFaults()) {
        EXPECT_TRUE(proved.insert(row.check).second) << row.check << " has two rows";
    }
    for (const certify::GroupText& group : certify::Catalogue()) {
        for (const certify::CheckText& check : group.checks) {
            EXPECT_FALSE(check.asks.empty() || check.why.empty() || check.remedy.empty()) << check.id;
            described.insert(check.id);
        }
    }
    EXPECT_EQ(checks, proved);
    EXPECT_EQ(checks, described);
}

// A check that ends its process or does not return fails, and the next one runs.
TEST(Worker, CrashOrHangIsOneFailure)
{
    for (const auto& [fault, says] : {std::pair{"crash", "the process ended during this check"},
                                      {"hang", "it did not return within 8 s"}}) {
        const OwnFolder folder("certify");
        Settings settings;
        g_copy = folder.Path() / "sdk";
        UseCopy(settings, [](const fs::path&) {});
        std::ofstream(settings.sdk / "cameras.toml", std::ios::app)
            << "\n[[fault]]\ndo = \"" << fault << " ZvkFeatureEnumAsInt 1\"\n";
        const fs::path report = folder.Path() / "report.xml";
        EXPECT_EQ(RunProgram((fs::path(ExecutableFolder()) / MARAVEL_CAMHOST).string(),
                             {"certify", "--sdk", host::TextOf(settings.sdk), "--filter", "H8|H9|H10",
                              "--patience", "8", "--junit", host::TextOf(report)}),
                  1);
        const std::string text = ReadFile(report);
        EXPECT_NE(text.find("tests=\"3\" failures=\"1\""), std::string::npos) << text;
        EXPECT_NE(text.find(says), std::string::npos) << text;
    }
}

// Examples of FIPS 180-2.
TEST(Sha256, AgreesWithTheStandard)
{
    const OwnFolder folder("certify");
    for (const auto& [text, sum] : {
             std::pair{"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
             {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
             {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
         }) {
        const fs::path file = folder.Path() / "file";
        std::ofstream(file, std::ios::binary) << text;
        EXPECT_EQ(certify::SumOf(file), std::string("SHA-256 ") + sum);
    }
    EXPECT_TRUE(certify::SumOf(folder.Path() / "none").starts_with("cannot be read: "));
}

} // namespace

SimStateInfo State()
{
    return sdk->State();
}

void UseCopy(Settings& settings, void (*change)(const fs::path& folder))
{
    fs::create_directories(g_copy->parent_path());
    fs::copy(SdkFolder(), *g_copy, fs::copy_options::recursive);
    change(*g_copy);
    settings.sdk = *g_copy;
}

} // namespace maravel::test
