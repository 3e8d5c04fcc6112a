// Faults, replacements, the records of calls and violations, and errors in a description.
#include "simulated/SimulatedTest.h"

#include <utility>

namespace maravel::test {
namespace {

using ControlTest = SimulatedTest;

TEST_F(ControlTest, TheNthCallFailsWithoutEffect)
{
    Open(Mono);
    const SimFault faults[] = {{"ZvkFeatureIntSet", 2, ZvkErrorBusy, 0},
                               {"ZvkFeatureIntGet", 1, ZvkErrorIO, 1},
                               {nullptr, 5, ZvkErrorTimeout, 0}};
    ASSERT_OK(sim.SimFailCalls(faults, 3));
    EXPECT_OK(sim.ZvkFeatureIntSet(camera, "Width", 640));
    EXPECT_EQ(sim.ZvkFeatureIntSet(camera, "Width", 800), ZvkErrorBusy);
    std::int64_t value = 4711;
    EXPECT_EQ(sim.ZvkFeatureIntGet(camera, "Width", &value), ZvkErrorIO);
    EXPECT_EQ(sim.ZvkFeatureIntGet(camera, "Width", &value), ZvkErrorIO);
    EXPECT_EQ(value, 4711);
    EXPECT_EQ(sim.ZvkFeatureIntSet(camera, "Width", 1024), ZvkErrorTimeout);
    char text[16];
    EXPECT_OK(sim.SimReadFeature(0, "Width", text, sizeof(text)));
    EXPECT_STREQ(text, "640");
    EXPECT_EQ(sim.SimFaultsFired(), 4U);
    EXPECT_EQ(sim.SimFailCall("ZvkNoSuchEntry", 1, -1, 0), ZvkErrorBadParameter);
    EXPECT_EQ(sim.SimReplaceEntry("ZvkNoSuchEntry", nullptr), ZvkErrorNotFound);
    EXPECT_EQ(sim.SimOriginalEntry("ZvkNoSuchEntry"), nullptr);
    EXPECT_EQ(sim.SimFailCall("ZvkStartup", 0, -1, 0), ZvkErrorBadParameter);
    sim.SimReset();
    EXPECT_EQ(GetInt("Width"), 640);
}

TEST_F(ControlTest, CallsAreRecorded)
{
    Open(Bayer);
    sim.SimClearCalls();
    SetEnum("TriggerMode", "Off");
    EXPECT_EQ(sim.ZvkFeatureIntSet(camera, "Width", 641), ZvkErrorInvalidValue);
    SetFloat("ExposureTime", 1234.5);
    EXPECT_OK(sim.ZvkCameraClose(std::exchange(camera, nullptr)));
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
    for (int i = 0; i < 10001; ++i) {
        sim.ZvkVersionQuery(nullptr, 0);
    }
    EXPECT_EQ(sim.SimCalls(nullptr, 0), 10000U);
    EXPECT_EQ(sim.SimCallCount("ZvkVersionQuery"), 10001U);
    expectViolations = true;
}

TEST_F(ControlTest, CameraCountsFollowTheScript)
{
    const std::uint32_t counts[] = {1, 99, 2};
    Start();
    EXPECT_OK(sim.SimScriptCameraCounts(counts, 3));
    ZvkCameraInfo_t cameras[4];
    std::uint32_t count = 0;
    for (const std::uint32_t expected : {1U, 4U, 2U, 2U}) {
        EXPECT_OK(sim.ZvkCamerasList(cameras, 4, &count, sizeof(ZvkCameraInfo_t)));
        EXPECT_EQ(count, expected);
    }
    EXPECT_EQ(sim.ZvkCamerasList(cameras, 1, &count, sizeof(ZvkCameraInfo_t)), ZvkErrorMoreData);
    EXPECT_EQ(count, 2U);
    EXPECT_OK(sim.SimScriptCameraCounts(nullptr, 0));
    EXPECT_OK(sim.ZvkCamerasList(nullptr, 0, &count, sizeof(ZvkCameraInfo_t)));
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
    expect(sim.ZvkCaptureStart(nullptr), ZvkErrorApiNotStarted,
           "ZvkCaptureStart: called before ZvkStartup or after ZvkShutdown");
    ZvkVersionInfo_t version{};
    expect(sim.ZvkVersionQuery(&version, 16), ZvkErrorStructSize,
           "ZvkVersionQuery: the record's size is not that of ZvkVersionInfo_t");
    Start();
    expect(sim.ZvkStartup(nullptr), ZvkErrorAlready, "ZvkStartup: the library is started already");
    expect(sim.ZvkCamerasList(nullptr, 0, &number, 72), ZvkErrorStructSize,
           "ZvkCamerasList: the record's size is not that of ZvkCameraInfo_t");
    expect(sim.ZvkCamerasList(nullptr, 0, nullptr, 80), ZvkErrorBadParameter,
           "ZvkCamerasList: numFound is null");

    const ZvkHandle_t dead = OpenAnother(Bayer);
    EXPECT_OK(sim.ZvkCameraClose(dead));
    expect(sim.ZvkCameraClose(dead), ZvkErrorBadHandle,
           "ZvkCameraClose: the handle (camera 1) is dead or foreign");
    expect(sim.ZvkFeatureIntGet(dead, "Width", &value), ZvkErrorBadHandle,
           "ZvkFeatureIntGet: the handle (camera 1) is dead or foreign");
    EXPECT_EQ(sim.ZvkFeatureIntGet(nullptr, "Width", &value), ZvkErrorBadHandle);
    EXPECT_EQ(Violations(), "") << "no handle at all is refused, but is no misuse";

    camera = OpenAnother(Bayer);
    EXPECT_NE(camera, dead) << "handles are not given out again";
    expect(sim.ZvkFeatureIntGet(camera, nullptr, &value), ZvkErrorBadParameter,
           "ZvkFeatureIntGet: the feature's name is null");
    expect(sim.ZvkFeatureIntGet(camera, "Width", nullptr), ZvkErrorBadParameter,
           "ZvkFeatureIntGet: an output or a value is null");
    expect(sim.ZvkFeaturesList(camera, nullptr, 0, &number, 80), ZvkErrorStructSize,
           "ZvkFeaturesList: the record's size is not that of ZvkFeatureInfo_t");

    std::uint32_t payload = 0;
    ASSERT_OK(sim.ZvkPayloadSizeGet(camera, &payload));
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
    EXPECT_OK(sim.ZvkFrameAnnounce(camera, &frame, sizeof(frame)));
    expect(sim.ZvkFrameAnnounce(camera, &frame, sizeof(frame)), ZvkErrorAlready,
           "ZvkFrameAnnounce: the frame is announced already");
    ZvkFrame_t twin = frame;
    expect(sim.ZvkFrameAnnounce(camera, &twin, sizeof(twin)), ZvkErrorBadParameter,
           "ZvkFrameAnnounce: the frame's buffer is announced with another frame");
    expect(sim.ZvkCaptureFrameQueue(camera, &frame, &Arrivals::Callback), ZvkErrorInvalidCall,
           "ZvkCaptureFrameQueue: the camera is not capturing");
    EXPECT_OK(sim.ZvkCaptureStart(camera));
    expect(sim.ZvkCaptureStart(camera), ZvkErrorAlready, "ZvkCaptureStart: the camera is capturing already");
    expect(sim.ZvkCaptureFrameQueue(camera, &twin, &Arrivals::Callback), ZvkErrorNotFound,
           "ZvkCaptureFrameQueue: the frame is not announced");
    frame.bufferSize = payload + 1;
    expect(sim.ZvkCaptureFrameQueue(camera, &frame, &Arrivals::Callback), ZvkErrorBadParameter,
           "ZvkCaptureFrameQueue: the frame's bufferSize was changed while it is announced");
    frame.bufferSize = payload;
    EXPECT_OK(sim.ZvkCaptureFrameQueue(camera, &frame, &Arrivals::Callback));
    expect(sim.ZvkCaptureFrameQueue(camera, &frame, &Arrivals::Callback), ZvkErrorInUse,
           "ZvkCaptureFrameQueue: the frame is queued already");
    expect(sim.ZvkFrameRevoke(camera, &frame), ZvkErrorInUse, "ZvkFrameRevoke: the frame is queued");
    expect(sim.ZvkFrameRevokeAll(camera), ZvkErrorInUse, "ZvkFrameRevokeAll: a frame is queued");
    expect(sim.ZvkCameraClose(std::exchange(camera, nullptr)), ZvkErrorSuccess,
           "ZvkCameraClose: the camera is capturing\nZvkCameraClose: frames are announced");
    EXPECT_EQ(arrivals.Count(), 0U);
    OpenAnother(Usb);
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
    Open(Legacy);
    Capture(1);
    EXPECT_OK(sim.ZvkCaptureQueueFlush(camera));
    frames[0].context[0] = &context;
    const ZvkFrameCallback end = [](ZvkHandle_t handle, ZvkHandle_t, ZvkFrame_t* frame) {
        auto* into = static_cast<Context*>(frame->context[0]);
        into->result = into->sim->ZvkCaptureEnd(handle);
        into->sim->ZvkShutdown();
    };
    EXPECT_OK(sim.ZvkCaptureFrameQueue(camera, &frames[0], end));
    EXPECT_OK(sim.SimEmitFrame(3, nullptr));
    EXPECT_EQ(context.result, ZvkErrorInvalidCall);
    EXPECT_EQ(Violations(), "ZvkCaptureEnd: called from a frame callback\n"
                            "ZvkShutdown: called from a frame callback\n");
    expectViolations = true;
}

TEST_F(ControlTest, CallbacksCanBeCalledOutOfTurn)
{
    Open(Legacy);
    EXPECT_EQ(sim.SimInvokeCallback(7, SIM_OWN_HANDLE, SIM_OWN_HANDLE, nullptr), ZvkErrorNotAvailable);
    Capture(1);
    const ZvkHandle_t closed = camera;
    Release();
    sim.ZvkShutdown();
    ZvkFrame_t frame{};
    frame.context[0] = &arrivals;
    EXPECT_OK(sim.SimInvokeCallback(3, SIM_OWN_HANDLE, nullptr, &frame));
    ASSERT_EQ(arrivals.Count(), 1U);
    EXPECT_EQ(arrivals.At(0).camera, closed);
    EXPECT_EQ(arrivals.At(0).stream, nullptr);
    EXPECT_EQ(arrivals.At(0).record, &frame);
}

const std::string Good = R"([[camera]]
id = "a"
model = "A"
interface = "GigE"
width = 64
height = 48
frame_rate = 10.0
pixel_formats = ["Mono8"]
)";

std::string Replaced(const std::string& what, const std::string& by)
{
    return std::string(Good).replace(Good.find(what), what.size(), by);
}

TEST_F(ControlTest, ErrorsInADescriptionSayWhereAndWhatIsExpected)
{
    const std::pair<std::string, std::string> rows[] = {
        // a description, and how the line begins
        {"", ""},
        {"[[camera]\n", "1:10: "},
        {"camera = 1\n", "1:10: 'camera' is to be written as [[camera]]"},
        {Good + "colour = 1\n", "9:1: unknown key 'colour' of a camera; expected one of: id, "},
        {Replaced("model = \"A\"\n", ""), "1:1: a camera has no 'model'; expected the model's name"},
        {Replaced("= 64", "= 8"), "5:9: 'width' is to be a whole number from 16 to 16384"},
        {Replaced("= 64", "= \"64\""), "5:9: 'width' is to be a whole"},
        {Replaced("GigE", "CoaX"), "4:13: 'interface' is to be one of \"GigE\", \"USB3\""},
        {Replaced("Mono8", "Mono9"),
         "8:18: unknown pixel format 'Mono9'; expected a list of pixel formats: Mono8, "},
        {Good + Good, "10:6: the id 'a' is another camera's"},
        {Good + "pictures = \"nowhere\"\n", "9:12: no folder 'nowhere'; expected a folder of PNG"},
        {Good + "remove = [\"Nothing\"]\n", "1:1: camera 'a': there is no feature 'Nothing' to remove"},
        {Good + "[camera.values]\nWidth = 63\n", "1:1: camera 'a': '63' is no value of the feature 'Width'"},
        {Good + "[[camera.feature]]\nname = \"X\"\ntype = \"enum\"\n",
         "9:1: the enum feature 'X' has no 'entries'"},
        {Good, ""},
    };
    for (const auto& [description, error] : rows) {
        EXPECT_OK(sim.SimSetDescription(description.c_str()));
        EXPECT_EQ(sim.ZvkStartup(nullptr), error.empty() ? ZvkErrorSuccess : ZvkErrorBadParameter) << error;
        const std::string expected = error.empty() ? "" : "cameras.toml:" + error;
        EXPECT_EQ(LastError().substr(0, expected.size()), expected) << LastError();
        EXPECT_EQ(LastError().empty(), error.empty()) << LastError();
        EXPECT_EQ(LastError().find('\n'), std::string::npos);
        sim.ZvkShutdown();
    }
}

TEST_F(ControlTest, DescriptionsShapeACamera)
{
    Open(0, Good + R"(
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
)");
    EXPECT_EQ(GetInt("Height"), 24);
    EXPECT_EQ(GetInt("Depth"), -5);
    EXPECT_EQ(sim.ZvkFeatureIntSet(camera, "Depth", 0), ZvkErrorInvalidAccess);
    EXPECT_EQ(sim.ZvkFeatureIntSet(camera, "OffsetX", 0), ZvkErrorNotFound);
    EXPECT_OK(sim.ZvkFeatureIntSet(camera, "Width", 32)) << "the hidden offset still counts";
    EXPECT_EQ(sim.ZvkFeatureEnumSet(camera, "Flavour", "Sour"), ZvkErrorInvalidValue);
    ZvkBool_t available = 1;
    EXPECT_OK(sim.ZvkFeatureEnumIsAvailable(camera, "Flavour", "Sour", &available));
    EXPECT_EQ(available, 0);
    EXPECT_EQ(GetEnum("Flavour"), "Salty");
    ZvkCameraInfo_t info{};
    EXPECT_OK(sim.ZvkCameraInfoQueryByHandle(camera, &info, sizeof(info)));
    EXPECT_EQ(info.streamCount, 0U);
    EXPECT_EQ(sim.ZvkCaptureStart(camera), ZvkErrorNotAvailable);
}

} // namespace
} // namespace maravel::test
