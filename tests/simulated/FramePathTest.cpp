// Frames: their life, their pictures, triggers, and what happens when none is queued.
#include "simulated/SimulatedTest.h"

#include <filesystem>
#include <fstream>
#include <tuple>

namespace maravel::test {
namespace {

using FramePathTest = SimulatedTest;

// A fast little camera in every pixel format.
const std::string Small = R"(
[[camera]]
id = "small"
model = "Small"
interface = "USB3"
width = 64
height = 48
frame_rate = 500.0
exposure_us = 100.0
freerun_source = true
pixel_formats = ["Mono8", "Mono10", "Mono12", "Mono12Packed", "Mono14", "Mono16", "BayerRG8", "BayerGR8",
                 "BayerBG12Packed", "BayerGB10", "RGB8", "BGR8", "YUV422_8_UYVY", "YUV422_8"]
)";

TEST_F(FramePathTest, NothingComesAfterCaptureEnd)
{
    Open(0, Small);
    arrivals.requeue = &sim;
    for (int round = 0; round < 20; ++round) {
        Capture(2);
        Run("AcquisitionStart");
        ASSERT_TRUE(arrivals.WaitFor(arrivals.Count() + 1));
        EXPECT_OK(sim.ZvkCaptureEnd(camera));
        const std::size_t count = arrivals.Count();
        EXPECT_OK(sim.ZvkCaptureQueueFlush(camera));
        EXPECT_OK(sim.ZvkFrameRevokeAll(camera));
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        EXPECT_EQ(arrivals.Count(), count);
        Run("AcquisitionStop");
    }
    EXPECT_EQ(Statistics().flushed, 40U);
}

TEST_F(FramePathTest, LostFramesAreCountedAndLeaveAGap)
{
    Open(0, Small);
    Capture(2);
    Run("AcquisitionStart");
    ASSERT_TRUE(arrivals.WaitFor(2));
    while (Statistics().lost < 3) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_OK(sim.ZvkCaptureFrameQueue(camera, &frames[0], &Arrivals::Callback));
    ASSERT_TRUE(arrivals.WaitFor(3));
    EXPECT_GE(arrivals.At(2).frame.frameId, 5U);
    void* unused = nullptr;
    void* stream = nullptr;
    ASSERT_OK(sim.SimCameraHandles(0, &unused, &stream));
    EXPECT_GE(GetInt(stream, "StreamLostFrameCount"), 3);
}

TEST_F(FramePathTest, EveryNthFrameIsIncomplete)
{
    Open(0, Small + "incomplete_every = 3\n");
    Stream(2);
    ASSERT_TRUE(arrivals.WaitFor(9));
    Run("AcquisitionStop");
    EXPECT_OK(sim.ZvkCaptureEnd(camera));
    for (std::size_t i = 0; i < 9; ++i) {
        const ZvkFrame_t frame = arrivals.At(i).frame;
        const bool isComplete = i % 3 != 2;
        EXPECT_EQ(frame.receiveStatus == 0, isComplete) << i;
        EXPECT_EQ(frame.imageSize, 64U * (isComplete ? 48U : 24U)) << i;
        EXPECT_EQ(frame.frameId, i);
    }
    EXPECT_GE(Statistics().incomplete, 3U);
    EXPECT_EQ(Statistics().complete + Statistics().incomplete, arrivals.Count());
}

// The image-transform library reads the pixels back: it has tests of its own.
TEST_F(FramePathTest, ColourBarsAreRightInEveryFormat)
{
    constexpr int bars[][3] = {{255, 255, 255}, {255, 255, 0}, {0, 255, 255}, {0, 255, 0},
                               {255, 0, 255},   {255, 0, 0},   {0, 0, 255},   {0, 0, 0}};
    Open(0, Small);
    const TransformLibrary transform;
    const char* formats[32];
    std::uint32_t count = 0;
    ASSERT_OK(sim.ZvkFeatureEnumRangeQuery(camera, "PixelFormat", formats, 32, &count));
    ASSERT_EQ(count, 14U);
    for (std::uint32_t i = 0; i < count; ++i) {
        SCOPED_TRACE(formats[i]);
        SetEnum("PixelFormat", formats[i]);
        Capture(1);
        EXPECT_OK(sim.SimEmitFrame(0, nullptr));
        std::uint8_t rgb[48][64][3] = {};
        ZvkImage from{
            .size = sizeof(ZvkImage), .padding4 = 0, .data = buffers.back().data(), .imageInfo = {}};
        ZvkImage to{.size = sizeof(ZvkImage), .padding4 = 0, .data = rgb, .imageInfo = {}};
        EXPECT_OK(transform.ZvkSetImageInfoFromPixelFormat(arrivals.At(i).frame.pixelFormat, 64, 48, &from));
        EXPECT_OK(transform.ZvkSetImageInfoFromPixelFormat(ZvkPixelFormatRgb8, 64, 48, &to));
        EXPECT_OK(transform.ZvkImageTransform(&from, &to, nullptr, 0));
        const bool mono = std::string(formats[i]).starts_with("Mono");
        // Row 20 lies below the number and above the square; the bars are 8 pixels wide.
        for (std::size_t bar = 0; bar < 8; ++bar) {
            const auto& wanted = bars[bar];
            const int grey = (wanted[0] * 299 + wanted[1] * 587 + wanted[2] * 114) / 1000;
            for (std::size_t channel = 0; channel < 3; ++channel) {
                EXPECT_NEAR(rgb[20][bar * 8 + 4][channel], mono ? grey : wanted[channel], 4) << bar;
            }
        }
        EndCapture();
    }
}

TEST_F(FramePathTest, PictureMovesTurnsAndIsCut)
{
    Open(0, Small);
    Capture(2);
    EXPECT_OK(sim.SimEmitFrame(0, nullptr));
    EXPECT_OK(sim.SimEmitFrame(0, nullptr));
    EXPECT_NE(buffers[0], buffers[1]) << "the number and the square differ from frame to frame";
    EndCapture();

    SetInt("Width", 32);
    SetInt("OffsetX", 32);
    EXPECT_OK(sim.ZvkFeatureBoolSet(camera, "ReverseX", 1));
    Capture(1);
    EXPECT_OK(sim.SimEmitFrame(0, nullptr));
    EXPECT_EQ(arrivals.At(2).frame.width, 32U);
    EXPECT_EQ(arrivals.At(2).frame.offsetX, 32U);
    EXPECT_EQ(buffers[2].size(), 32U * 48U);
    EXPECT_EQ(buffers[2][20 * 32], 0) << "the sensor's right edge is black, and comes first when mirrored";
    EXPECT_NEAR(buffers[2][20 * 32 + 31], 105, 1) << "magenta, left in the region";
}

TEST_F(FramePathTest, PicturesOfAFolderArePlayedInOrder)
{
    const std::filesystem::path folder = std::filesystem::path(testing::TempDir()) / "simulated_pictures";
    std::filesystem::create_directory(folder);
    const auto write = [&folder](const char* name, const std::string& bytes) {
        std::ofstream(folder / name, std::ios::binary) << bytes;
    };
    write("1.pgm", std::string("P5 2 1 255\n") + '\x10' + '\xF0'); // dark left, bright right
    write("2.ppm", std::string("P6 1 1 255\n") + '\xFF' + '\x00' + '\x00');
    write("notes.txt", "no picture");
    Open(0, Small + "pictures = '" + folder.string() + "'\n");
    SetEnum("PixelFormat", "RGB8");
    Capture(3);
    for (int i = 0; i < 3; ++i) {
        EXPECT_OK(sim.SimEmitFrame(0, nullptr));
    }
    const auto pixel = [this](std::size_t frame, std::size_t x) {
        const std::uint8_t* at = &buffers[frame][(10 * 64 + x) * 3];
        return std::vector<int>{at[0], at[1], at[2]};
    };
    EXPECT_EQ(pixel(0, 31), (std::vector<int>{0x10, 0x10, 0x10}));
    EXPECT_EQ(pixel(0, 32), (std::vector<int>{0xF0, 0xF0, 0xF0}));
    EXPECT_EQ(pixel(1, 31), (std::vector<int>{255, 0, 0}));
    EXPECT_EQ(buffers[2], buffers[0]);
    Release();
    sim.ZvkShutdown();

    write("3.png", "no picture either");
    EXPECT_EQ(sim.ZvkStartup(nullptr), ZvkErrorBadParameter);
    EXPECT_NE(LastError().find("cameras.toml:2:1: camera 'small': the picture '3.png' cannot be read"),
              std::string::npos)
        << LastError();
    std::filesystem::remove_all(folder);
}

TEST_F(FramePathTest, EmittedFramesAreAsAsked)
{
    Open(0, Small + "source = \"manual\"\n");
    EXPECT_EQ(sim.SimEmitFrame(0, nullptr), ZvkErrorInvalidCall) << "not capturing";
    Capture(1);
    Run("AcquisitionStart");
    const std::uint8_t bytes[] = {1, 2, 3};
    const SimFrameRequest request = {0x7F, -4, 77, 88, ZvkPixelFormatRgb8, 5, 6, 7, 9, sizeof(bytes), bytes};
    EXPECT_OK(sim.SimEmitFrame(0, &request));
    EXPECT_EQ(sim.SimEmitFrame(0, &request), ZvkErrorNotAvailable) << "nothing is queued";
    ASSERT_EQ(arrivals.Count(), 1U) << "a manual camera sends nothing of its own";
    const ZvkFrame_t frame = arrivals.At(0).frame;
    EXPECT_EQ(frame.receiveStatus, -4);
    EXPECT_EQ(frame.frameId, 77U);
    EXPECT_EQ(frame.timestamp, 88U);
    EXPECT_EQ(frame.pixelFormat, ZvkPixelFormatRgb8);
    EXPECT_EQ(frame.width, 5U);
    EXPECT_EQ(frame.height, 6U);
    EXPECT_EQ(frame.offsetX, 7U);
    EXPECT_EQ(frame.offsetY, 9U);
    EXPECT_EQ(std::vector<std::uint8_t>(buffers[0].begin(), buffers[0].begin() + 4),
              (std::vector<std::uint8_t>{1, 2, 3, 0xEE}));
}

class TriggerTest : public SimulatedTest, public testing::WithParamInterface<std::tuple<bool, std::string>>
{
};

INSTANTIATE_TEST_SUITE_P(Triggers, TriggerTest,
                         testing::Combine(testing::Bool(), testing::Values("Software", "Line0", "Line1")));

// A frame for each trigger, or the first trigger starts a stream of them.
TEST_P(TriggerTest, FramesWaitForTheTrigger)
{
    const auto& [oneEach, source] = GetParam();
    Open(0, Small);
    SetEnum("TriggerSelector", oneEach ? "FrameStart" : "AcquisitionStart");
    SetEnum("TriggerMode", "On");
    SetEnum("TriggerSource", source.c_str());
    Stream(4);
    EXPECT_OK(sim.SimPulseLine(0, source == "Line1" ? "Line0" : "Line1"));
    WaitABit();
    EXPECT_EQ(arrivals.Count(), 0U);
    for (int i = 0; i < (oneEach ? 3 : 1); ++i) {
        if (source == "Software") {
            Run("TriggerSoftware");
        }
        else {
            EXPECT_OK(sim.SimPulseLine(0, source.c_str()));
        }
    }
    ASSERT_TRUE(arrivals.WaitFor(oneEach ? 3 : 10));
    if (oneEach) {
        WaitABit();
        EXPECT_EQ(arrivals.Count(), 3U);
    }
}

TEST_F(FramePathTest, OldCamerasAreTriggeredThroughTheExposureMode)
{
    Open(Legacy);
    SetFloat("ExposureTimeAbs", 100.0);
    SetEnum("TriggerMode", "On");
    SetEnum("ExposureMode", "Off");
    Stream(2);
    EXPECT_OK(sim.SimPulseLine(3, "Line0"));
    Run("TriggerSoftware");
    ASSERT_TRUE(arrivals.WaitFor(1));
    SetEnum("ExposureMode", "Timed");
    EXPECT_OK(sim.SimPulseLine(3, "Line0"));
    ASSERT_TRUE(arrivals.WaitFor(2));
    WaitABit();
    EXPECT_EQ(arrivals.Count(), 2U) << "the pulse with the mode Off does not count";
    EXPECT_EQ(sim.SimPulseLine(3, "Line7"), ZvkErrorNotFound);
}

TEST_F(FramePathTest, AcquisitionModesEndByThemselves)
{
    Open(0, Small);
    arrivals.requeue = &sim;
    Capture(2);
    SetEnum("AcquisitionMode", "MultiFrame");
    SetInt("AcquisitionFrameCount", 5);
    Run("AcquisitionStart");
    ASSERT_TRUE(arrivals.WaitFor(5));
    SetEnum("TriggerSource", "Freerun");
    SetEnum("TriggerMode", "On");
    for (SimStateInfo state{}; sim.SimState(&state), state.acquiringCameras != 0;) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    SetEnum("AcquisitionMode", "SingleFrame");
    Run("AcquisitionStart");
    ASSERT_TRUE(arrivals.WaitFor(6)) << "the source Freerun needs no trigger";
    WaitABit();
    EXPECT_EQ(arrivals.Count(), 6U);
}

TEST_F(FramePathTest, UnpluggedCamerasAreGone)
{
    Open(Bayer);
    EXPECT_OK(sim.SimUnplug(Bayer, 1));
    std::uint32_t count = 0;
    EXPECT_OK(sim.ZvkCamerasList(nullptr, 0, &count, sizeof(ZvkCameraInfo_t)));
    EXPECT_EQ(count, 3U);
    EXPECT_EQ(sim.ZvkFeatureIntSet(camera, "Width", 640), ZvkErrorIO);
    EXPECT_EQ(sim.ZvkFeatureCommandRun(camera, "AcquisitionStop"), ZvkErrorIO);
    Release();
    ZvkHandle_t again = nullptr;
    EXPECT_EQ(sim.ZvkCameraOpen("SIM-GIGE-BAYER-1M", ZvkAccessModeFull, &again), ZvkErrorNotFound);
    EXPECT_OK(sim.SimUnplug(Bayer, 0));
    camera = OpenAnother(Bayer);
}

TEST_F(FramePathTest, WaitingForAFrameEndsWithItOrInTime)
{
    Open(0, Small);
    Capture(1);
    EXPECT_EQ(sim.ZvkCaptureFrameWait(camera, &frames[0], 5), ZvkErrorTimeout);
    Run("AcquisitionStart");
    EXPECT_OK(sim.ZvkCaptureFrameWait(camera, &frames[0], 10000));
}

TEST_F(FramePathTest, ChunksDescribeTheFrame)
{
    Open(0, Small);
    EXPECT_OK(sim.ZvkFeatureBoolSet(camera, "ChunkModeActive", 1));
    Capture(1);
    SimFrameRequest request{};
    request.fields = SimFrameHasFrameId;
    request.frameId = 4711;
    EXPECT_OK(sim.SimEmitFrame(0, &request));
    struct Seen
    {
        SimulatedLibrary* sim;
        std::int64_t frameId;
    } seen{&sim, 0};
    using ChunkCallback = ZvkError_t (*)(ZvkHandle_t, void*);
    const ChunkCallback read = [](ZvkHandle_t chunks, void* context) {
        auto* into = static_cast<Seen*>(context);
        return into->sim->ZvkFeatureIntGet(chunks, "ChunkFrameID", &into->frameId);
    };
    EXPECT_OK(sim.ZvkChunkDataAccess(&frames[0], reinterpret_cast<void*>(read), &seen));
    EXPECT_EQ(seen.frameId, 4711);
}

} // namespace
} // namespace maravel::test
