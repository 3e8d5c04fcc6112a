// Faults, replacements, the records of calls and violations, and errors in a description.
#include "SimulatedTest.h"

#include <atomic>

namespace maravel::test {
namespace {

using ControlTest = SimulatedTest;

TEST_F(ControlTest, TheNthCallFailsWithoutEffect)
{
    Start();
    const ZvkHandle_t camera = Open(0);
    const SimFault faults[] = {{"ZvkFeatureIntSet", 2, ZvkErrorBusy, 0},
                               {"ZvkFeatureIntGet", 1, ZvkErrorIO, 1},
                               {nullptr, 5, ZvkErrorTimeout, 0}};
    ASSERT_EQ(sim.SimFailCalls(faults, 3), ZvkErrorSuccess);
    EXPECT_EQ(sim.ZvkFeatureIntSet(camera, "Width", 640), ZvkErrorSuccess);
    EXPECT_EQ(sim.ZvkFeatureIntSet(camera, "Width", 800), ZvkErrorBusy);
    std::int64_t value = 4711;
    EXPECT_EQ(sim.ZvkFeatureIntGet(camera, "Width", &value), ZvkErrorIO);
    EXPECT_EQ(sim.ZvkFeatureIntGet(camera, "Width", &value), ZvkErrorIO);
    EXPECT_EQ(value, 4711);
    EXPECT_EQ(sim.ZvkFeatureIntSet(camera, "Width", 1024), ZvkErrorTimeout);
    EXPECT_EQ(sim.ZvkFeatureIntSet(camera, "Width", 1024), ZvkErrorSuccess);
    EXPECT_EQ(sim.SimFaultsFired(), 4U);
    char text[16];
    EXPECT_EQ(sim.SimReadFeature(0, "Width", text, sizeof(text)), ZvkErrorSuccess);
    EXPECT_STREQ(text, "1024");
    EXPECT_EQ(sim.SimFailCall("ZvkNoSuchEntry", 1, -1, 0), ZvkErrorBadParameter);
    EXPECT_EQ(sim.SimFailCall("ZvkStartup", 0, -1, 0), ZvkErrorBadParameter);
    sim.SimReset();
    EXPECT_EQ(sim.ZvkFeatureIntGet(camera, "Width", &value), ZvkErrorSuccess);
    EXPECT_EQ(sim.ZvkCameraClose(camera), ZvkErrorSuccess);
}

TEST_F(ControlTest, AFaultOfAnyCallReachesEachInTurn)
{
    // Every call of a little scenario fails once; none may be taken for a success.
    for (std::uint32_t nth = 1;; ++nth) {
        sim.SimReset();
        ASSERT_EQ(sim.SimFailCall(nullptr, nth, ZvkErrorResources, 0), ZvkErrorSuccess);
        std::uint32_t failed = 0;
        std::uint32_t count = 0;
        ZvkVersionInfo_t version{};
        failed += sim.ZvkVersionQuery(&version, sizeof(version)) == ZvkErrorResources ? 1U : 0U;
        const ZvkError_t started = sim.ZvkStartup(nullptr);
        failed += started == ZvkErrorResources ? 1U : 0U;
        if (started == ZvkErrorSuccess) {
            const ZvkError_t listed = sim.ZvkCamerasList(nullptr, 0, &count, sizeof(ZvkCameraInfo_t));
            failed += listed == ZvkErrorResources ? 1U : 0U;
            EXPECT_EQ(count, listed == ZvkErrorSuccess ? 4U : 0U);
        }
        sim.ZvkShutdown();
        EXPECT_EQ(failed, sim.SimFaultsFired());
        if (sim.SimFaultsFired() == 0) {
            EXPECT_EQ(nth, 4U) << "three calls count; ZvkShutdown does not";
            return;
        }
    }
}

SimulatedLibrary* g_sim = nullptr;
std::atomic<int> g_replaced{0};

ZvkError_t HalfWidth(ZvkHandle_t handle, const char* name, std::int64_t* value)
{
    ++g_replaced;
    using IntGet = decltype(&HalfWidth);
    const ZvkError_t result =
        reinterpret_cast<IntGet>(g_sim->SimOriginalEntry("ZvkFeatureIntGet"))(handle, name, value);
    *value /= 2;
    return result;
}

TEST_F(ControlTest, ReplacementsCanForward)
{
    g_sim = &sim;
    Start();
    const ZvkHandle_t camera = Open(0);
    EXPECT_EQ(sim.SimReplaceEntry("ZvkFeatureIntGet", reinterpret_cast<void*>(&HalfWidth)), ZvkErrorSuccess);
    EXPECT_EQ(GetInt(camera, "Width"), 1296);
    EXPECT_EQ(sim.SimReplaceEntry("ZvkFeatureIntGet", nullptr), ZvkErrorSuccess);
    EXPECT_EQ(GetInt(camera, "Width"), 2592);
    EXPECT_EQ(g_replaced, 1);
    EXPECT_EQ(sim.SimReplaceEntry("ZvkNoSuchEntry", nullptr), ZvkErrorNotFound);
    EXPECT_EQ(sim.SimOriginalEntry("ZvkNoSuchEntry"), nullptr);
    EXPECT_EQ(sim.ZvkCameraClose(camera), ZvkErrorSuccess);
}

TEST_F(ControlTest, CallsAreRecorded)
{
    Start();
    const ZvkHandle_t camera = Open(1);
    sim.SimClearCalls();
    SetEnum(camera, "TriggerMode", "Off");
    EXPECT_EQ(sim.ZvkFeatureIntSet(camera, "Width", 641), ZvkErrorInvalidValue);
    EXPECT_EQ(sim.ZvkFeatureFloatSet(camera, "ExposureTime", 1234.5), ZvkErrorSuccess);
    EXPECT_EQ(sim.ZvkCameraClose(camera), ZvkErrorSuccess);
    sim.ZvkShutdown();
    char text[1000];
    EXPECT_EQ(sim.SimCalls(text, sizeof(text)), 5U);
    EXPECT_STREQ(text, "ZvkFeatureEnumSet(camera 1, TriggerMode, Off) = 0\n"
                       "ZvkFeatureIntSet(camera 1, Width, 641) = -11\n"
                       "ZvkFeatureFloatSet(camera 1, ExposureTime, 1234.5) = 0\n"
                       "ZvkCameraClose(camera 1) = 0\n"
                       "ZvkShutdown()\n");
    EXPECT_EQ(sim.SimCalls(text, 60), 5U);
    EXPECT_STREQ(text, "ZvkFeatureEnumSet(camera 1, TriggerMode, Off) = 0\n") << "only whole lines";
    EXPECT_EQ(sim.SimCallCount("ZvkFeatureIntSet"), 1U);
    EXPECT_EQ(sim.SimCallCount(nullptr), 5U);
    for (int i = 0; i < 10001; ++i)
        sim.ZvkVersionQuery(nullptr, 0);
    EXPECT_EQ(sim.SimCalls(nullptr, 0), 10000U);
    EXPECT_EQ(sim.SimCallCount("ZvkVersionQuery"), 10001U);
    expectViolations = true;
}

TEST_F(ControlTest, CameraCountsFollowTheScript)
{
    const std::uint32_t counts[] = {1, 99, 2};
    Start();
    EXPECT_EQ(sim.SimScriptCameraCounts(counts, 3), ZvkErrorSuccess);
    std::vector<ZvkCameraInfo_t> cameras(4);
    std::uint32_t count = 0;
    for (const std::uint32_t expected : {1U, 4U, 2U, 2U}) {
        EXPECT_EQ(sim.ZvkCamerasList(cameras.data(), 4, &count, sizeof(ZvkCameraInfo_t)), ZvkErrorSuccess);
        EXPECT_EQ(count, expected);
    }
    EXPECT_EQ(sim.ZvkCamerasList(cameras.data(), 1, &count, sizeof(ZvkCameraInfo_t)), ZvkErrorMoreData);
    EXPECT_EQ(count, 2U);
    EXPECT_EQ(sim.SimScriptCameraCounts(nullptr, 0), ZvkErrorSuccess);
    EXPECT_EQ(sim.ZvkCamerasList(nullptr, 0, &count, sizeof(ZvkCameraInfo_t)), ZvkErrorSuccess);
    EXPECT_EQ(count, 4U);
}

// Each misuse: what it answers and what is said of it.
TEST_F(ControlTest, MisuseIsAnsweredAndNoted)
{
    const auto expect = [this](ZvkError_t answer, ZvkError_t expected, const std::string& line) {
        EXPECT_EQ(answer, expected) << line;
        EXPECT_EQ(Violations(), line + "\n");
        sim.SimClearViolations();
    };
    std::uint32_t number = 0;
    std::int64_t value = 0;
    expect(sim.ZvkCamerasList(nullptr, 0, &number, 80), ZvkErrorApiNotStarted,
           "ZvkCamerasList: called before ZvkStartup or after ZvkShutdown");
    ZvkVersionInfo_t version{};
    expect(sim.ZvkVersionQuery(&version, 16), ZvkErrorStructSize,
           "ZvkVersionQuery: the record's size is not that of ZvkVersionInfo_t");
    Start();
    expect(sim.ZvkStartup(nullptr), ZvkErrorAlready, "ZvkStartup: the library is started already");
    expect(sim.ZvkCamerasList(nullptr, 0, &number, 72), ZvkErrorStructSize,
           "ZvkCamerasList: the record's size is not that of ZvkCameraInfo_t");
    expect(sim.ZvkCamerasList(nullptr, 0, nullptr, 80), ZvkErrorBadParameter,
           "ZvkCamerasList: numFound is null");

    const ZvkHandle_t dead = Open(1);
    EXPECT_EQ(sim.ZvkCameraClose(dead), ZvkErrorSuccess);
    expect(sim.ZvkCameraClose(dead), ZvkErrorBadHandle,
           "ZvkCameraClose: the handle (camera 1) is dead or foreign");
    expect(sim.ZvkFeatureIntGet(dead, "Width", &value), ZvkErrorBadHandle,
           "ZvkFeatureIntGet: the handle (camera 1) is dead or foreign");
    EXPECT_EQ(sim.ZvkFeatureIntGet(nullptr, "Width", &value), ZvkErrorBadHandle);
    EXPECT_EQ(Violations(), "") << "no handle at all is refused, but is no misuse";

    const ZvkHandle_t camera = Open(1);
    EXPECT_NE(camera, dead) << "handles are not given out again";
    expect(sim.ZvkFeatureIntGet(camera, nullptr, &value), ZvkErrorBadParameter,
           "ZvkFeatureIntGet: the feature's name is null");
    expect(sim.ZvkFeatureIntGet(camera, "Width", nullptr), ZvkErrorBadParameter,
           "ZvkFeatureIntGet: an output or a value is null");
    expect(sim.ZvkFeaturesList(camera, nullptr, 0, &number, 80), ZvkErrorStructSize,
           "ZvkFeaturesList: the record's size is not that of ZvkFeatureInfo_t");

    std::uint32_t payload = 0;
    ASSERT_EQ(sim.ZvkPayloadSizeGet(camera, &payload), ZvkErrorSuccess);
    std::vector<std::uint8_t> bytes(payload);
    ZvkFrame_t frame{};
    frame.context[0] = &arrivals;
    expect(sim.ZvkFrameAnnounce(camera, &frame, sizeof(frame)), ZvkErrorBadParameter,
           "ZvkFrameAnnounce: the frame has no buffer");
    frame.buffer = bytes.data();
    frame.bufferSize = payload - 1;
    expect(sim.ZvkFrameAnnounce(camera, &frame, sizeof(frame)), ZvkErrorBadParameter,
           "ZvkFrameAnnounce: the frame's buffer is smaller than the payload");
    frame.bufferSize = payload;
    expect(sim.ZvkFrameAnnounce(camera, &frame, 104), ZvkErrorStructSize,
           "ZvkFrameAnnounce: the record's size is not that of ZvkFrame_t");
    EXPECT_EQ(sim.ZvkFrameAnnounce(camera, &frame, sizeof(frame)), ZvkErrorSuccess);
    expect(sim.ZvkFrameAnnounce(camera, &frame, sizeof(frame)), ZvkErrorAlready,
           "ZvkFrameAnnounce: the frame is announced already");
    ZvkFrame_t twin = frame;
    expect(sim.ZvkFrameAnnounce(camera, &twin, sizeof(twin)), ZvkErrorBadParameter,
           "ZvkFrameAnnounce: the frame's buffer is announced with another frame");
    expect(sim.ZvkCaptureFrameQueue(camera, &frame, &Arrivals::Callback), ZvkErrorInvalidCall,
           "ZvkCaptureFrameQueue: the camera is not capturing");
    EXPECT_EQ(sim.ZvkCaptureStart(camera), ZvkErrorSuccess);
    expect(sim.ZvkCaptureStart(camera), ZvkErrorAlready, "ZvkCaptureStart: the camera is capturing already");
    expect(sim.ZvkCaptureFrameQueue(camera, &twin, &Arrivals::Callback), ZvkErrorNotFound,
           "ZvkCaptureFrameQueue: the frame is not announced");
    frame.bufferSize = payload + 1;
    expect(sim.ZvkCaptureFrameQueue(camera, &frame, &Arrivals::Callback), ZvkErrorBadParameter,
           "ZvkCaptureFrameQueue: the frame's bufferSize was changed while it is announced");
    frame.bufferSize = payload;
    EXPECT_EQ(sim.ZvkCaptureFrameQueue(camera, &frame, &Arrivals::Callback), ZvkErrorSuccess);
    expect(sim.ZvkCaptureFrameQueue(camera, &frame, &Arrivals::Callback), ZvkErrorInUse,
           "ZvkCaptureFrameQueue: the frame is queued already");
    expect(sim.ZvkFrameRevoke(camera, &frame), ZvkErrorInUse, "ZvkFrameRevoke: the frame is queued");
    expect(sim.ZvkFrameRevokeAll(camera), ZvkErrorInUse, "ZvkFrameRevokeAll: a frame is queued");
    expect(sim.ZvkCameraClose(camera), ZvkErrorSuccess,
           "ZvkCameraClose: the camera is capturing\nZvkCameraClose: frames are announced");
    EXPECT_EQ(arrivals.Count(), 0U);
    Open(2);
    sim.ZvkShutdown();
    expect(ZvkErrorSuccess, ZvkErrorSuccess, "ZvkShutdown: camera 2 is open");
}

TEST_F(ControlTest, CallbacksCannotEndTheirOwnCapture)
{
    struct Context
    {
        SimulatedLibrary* sim;
        ZvkError_t result;
    } context{&sim, ZvkErrorSuccess};
    Start();
    const ZvkHandle_t camera = Open(3);
    Capture(camera, 1);
    EXPECT_EQ(sim.ZvkCaptureQueueFlush(camera), ZvkErrorSuccess);
    frames[0].context[0] = &context;
    const ZvkFrameCallback end = [](ZvkHandle_t handle, ZvkHandle_t, ZvkFrame_t* frame) {
        auto* into = static_cast<Context*>(frame->context[0]);
        into->result = into->sim->ZvkCaptureEnd(handle);
        into->sim->ZvkShutdown();
    };
    EXPECT_EQ(sim.ZvkCaptureFrameQueue(camera, &frames[0], end), ZvkErrorSuccess);
    EXPECT_EQ(sim.SimEmitFrame(3, nullptr), ZvkErrorSuccess);
    EXPECT_EQ(context.result, ZvkErrorInvalidCall);
    EXPECT_EQ(Violations(), "ZvkCaptureEnd: called from a frame callback\n"
                            "ZvkShutdown: called from a frame callback\n");
    expectViolations = true;
    Release(camera);
}

TEST_F(ControlTest, CallbacksCanBeCalledOutOfTurn)
{
    Start();
    const ZvkHandle_t camera = Open(3);
    EXPECT_EQ(sim.SimInvokeCallback(7, SIM_OWN_HANDLE, SIM_OWN_HANDLE, nullptr), ZvkErrorNotAvailable);
    Capture(camera, 1);
    Release(camera);
    sim.ZvkShutdown();
    ZvkFrame_t frame{};
    frame.context[0] = &arrivals;
    EXPECT_EQ(sim.SimInvokeCallback(3, SIM_OWN_HANDLE, nullptr, &frame), ZvkErrorSuccess);
    ASSERT_EQ(arrivals.Count(), 1U);
    EXPECT_EQ(arrivals.At(0).camera, camera);
    EXPECT_EQ(arrivals.At(0).stream, nullptr);
    EXPECT_EQ(arrivals.At(0).record, &frame);
}

constexpr const char* Good = R"([[camera]]
id = "a"
model = "A"
interface = "GigE"
width = 64
height = 48
frame_rate = 10.0
pixel_formats = ["Mono8"]
)";

struct DescriptionCase
{
    const char* name;
    std::string text;
    const char* error; // the beginning of the line; empty: the description is good
};

class DescriptionTest : public SimulatedTest, public testing::WithParamInterface<DescriptionCase>
{
};

TEST_P(DescriptionTest, ErrorsSayWhereAndWhatIsExpected)
{
    EXPECT_EQ(sim.SimSetDescription(GetParam().text.c_str()), ZvkErrorSuccess);
    const std::string expected = GetParam().error;
    EXPECT_EQ(sim.ZvkStartup(nullptr), expected.empty() ? ZvkErrorSuccess : ZvkErrorBadParameter);
    EXPECT_EQ(LastError().substr(0, expected.size()), expected) << LastError();
    EXPECT_EQ(LastError().empty(), expected.empty()) << LastError();
    EXPECT_EQ(LastError().find('\n'), std::string::npos);
}

std::string Replaced(std::string text, const std::string& what, const std::string& by)
{
    return text.replace(text.find(what), what.size(), by);
}

INSTANTIATE_TEST_SUITE_P(
    Descriptions, DescriptionTest,
    testing::Values(
        DescriptionCase{"good", Good, ""}, DescriptionCase{"empty", "", ""},
        DescriptionCase{"syntax", "[[camera]\n", "cameras.toml:1:10: "},
        DescriptionCase{"unknownKey", std::string(Good) + "colour = 1\n",
                        "cameras.toml:9:1: unknown key 'colour' of a camera; expected one of: id, "},
        DescriptionCase{"missing", Replaced(Good, "model = \"A\"\n", ""),
                        "cameras.toml:1:1: a camera has no 'model'; expected the model's name"},
        DescriptionCase{"range", Replaced(Good, "= 64", "= 8"),
                        "cameras.toml:5:9: 'width' is to be a whole number from 16 to 16384"},
        DescriptionCase{"type", Replaced(Good, "= 64", "= \"64\""),
                        "cameras.toml:5:9: 'width' is to be a whole"},
        DescriptionCase{"word", Replaced(Good, "GigE", "CoaX"),
                        "cameras.toml:4:13: 'interface' is to be one of \"GigE\", \"USB3\""},
        DescriptionCase{
            "format", Replaced(Good, "Mono8", "Mono9"),
            "cameras.toml:8:18: unknown pixel format 'Mono9'; expected a list of pixel formats: Mono8, "},
        DescriptionCase{"sameId", std::string(Good) + Good,
                        "cameras.toml:10:6: the id 'a' is another camera's"},
        DescriptionCase{"pictures", std::string(Good) + "pictures = \"nowhere\"\n",
                        "cameras.toml:9:12: no folder 'nowhere'; expected a folder of PNG"},
        DescriptionCase{"removed", std::string(Good) + "remove = [\"Nothing\"]\n",
                        "cameras.toml:1:1: camera 'a': there is no feature 'Nothing' to remove"},
        DescriptionCase{"value", std::string(Good) + "[camera.values]\nWidth = 63\n",
                        "cameras.toml:1:1: camera 'a': '63' is no value of the feature 'Width'"},
        DescriptionCase{"feature", std::string(Good) + "[[camera.feature]]\nname = \"X\"\ntype = \"enum\"\n",
                        "cameras.toml:9:1: the enum feature 'X' has no 'entries'"},
        DescriptionCase{"notTables", "camera = 1\n",
                        "cameras.toml:1:10: 'camera' is to be written as [[camera]]"}),
    [](const auto& given) { return std::string(given.param.name); });

TEST_F(ControlTest, DescriptionsShapeACamera)
{
    Start((std::string(Good) + R"(
streams = 0
remove = ["OffsetX", "TriggerActivation"]
[camera.values]
Height = 24
DeviceUserID = "named"
[[camera.feature]]
name = "Flavour"
type = "enum"
entries = ["Sweet", "Sour", "Salty"]
unavailable_entries = ["Sour"]
value = "Salty"
[[camera.feature]]
name = "Depth"
type = "int"
minimum = -5
maximum = 5
writable = false
)")
              .c_str());
    const ZvkHandle_t camera = Open(0);
    EXPECT_EQ(GetInt(camera, "Height"), 24);
    EXPECT_EQ(GetInt(camera, "Depth"), -5);
    EXPECT_EQ(sim.ZvkFeatureIntSet(camera, "Depth", 0), ZvkErrorInvalidAccess);
    EXPECT_EQ(sim.ZvkFeatureIntSet(camera, "OffsetX", 0), ZvkErrorNotFound);
    EXPECT_EQ(sim.ZvkFeatureIntSet(camera, "Width", 32), ZvkErrorSuccess) << "the hidden offset still counts";
    EXPECT_EQ(sim.ZvkFeatureEnumSet(camera, "Flavour", "Sour"), ZvkErrorInvalidValue);
    ZvkBool_t available = 1;
    EXPECT_EQ(sim.ZvkFeatureEnumIsAvailable(camera, "Flavour", "Sour", &available), ZvkErrorSuccess);
    EXPECT_EQ(available, 0);
    const char* entry = nullptr;
    EXPECT_EQ(sim.ZvkFeatureEnumGet(camera, "Flavour", &entry), ZvkErrorSuccess);
    EXPECT_STREQ(entry, "Salty");
    ZvkCameraInfo_t info{};
    EXPECT_EQ(sim.ZvkCameraInfoQueryByHandle(camera, &info, sizeof(info)), ZvkErrorSuccess);
    EXPECT_EQ(info.streamCount, 0U);
    EXPECT_EQ(sim.ZvkCaptureStart(camera), ZvkErrorNotAvailable);
    EXPECT_EQ(sim.ZvkCameraClose(camera), ZvkErrorSuccess);
}

} // namespace
} // namespace maravel::test
