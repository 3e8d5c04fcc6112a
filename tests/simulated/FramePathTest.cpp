// Frames: their life, their pictures, triggers, and what happens when none is queued.
#include "SimulatedTest.h"

#include <filesystem>
#include <fstream>
#include <thread>

namespace maravel::test {
namespace {

using FramePathTest = SimulatedTest;

constexpr std::uint32_t Bayer = 1;

// A fast little camera in every pixel format.
constexpr const char* Small = R"(
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

TEST_F(FramePathTest, FramesFollowEachOtherThroughTheirBuffers)
{
    Start(Small);
    const ZvkHandle_t camera = Open(0);
    arrivals.requeue = &sim;
    Capture(camera, 3);
    Run(camera, "AcquisitionStart");
    ASSERT_TRUE(arrivals.WaitFor(20));
    Run(camera, "AcquisitionStop");
    EXPECT_EQ(sim.ZvkCaptureEnd(camera), ZvkErrorSuccess);
    const std::size_t count = arrivals.Count();
    EXPECT_EQ(Statistics(0).complete, count);
    EXPECT_EQ(Statistics(0).lost, 0U);
    for (std::size_t i = 0; i < count; ++i) {
        const Arrivals::Arrival arrival = arrivals.At(i);
        EXPECT_EQ(arrival.camera, camera);
        EXPECT_NE(arrival.stream, nullptr);
        EXPECT_EQ(arrival.frame.frameId, i);
        EXPECT_EQ(arrival.frame.receiveStatus, 0);
        EXPECT_EQ(arrival.frame.width, 64U);
        EXPECT_EQ(arrival.frame.height, 48U);
        EXPECT_EQ(arrival.frame.pixelFormat, ZvkPixelFormatMono8);
        EXPECT_EQ(arrival.frame.imageSize, 64U * 48U);
        EXPECT_EQ(arrival.record, &frames[i % 3]);
        if (i > 0) {
            EXPECT_GT(arrival.frame.timestamp, arrivals.At(i - 1).frame.timestamp);
        }
    }
    Release(camera);
}

TEST_F(FramePathTest, NothingComesAfterCaptureEnd)
{
    Start(Small);
    const ZvkHandle_t camera = Open(0);
    arrivals.requeue = &sim;
    for (int round = 0; round < 20; ++round) {
        Capture(camera, 2);
        Run(camera, "AcquisitionStart");
        ASSERT_TRUE(arrivals.WaitFor(arrivals.Count() + 1));
        EXPECT_EQ(sim.ZvkCaptureEnd(camera), ZvkErrorSuccess);
        const std::size_t count = arrivals.Count();
        EXPECT_EQ(sim.ZvkCaptureQueueFlush(camera), ZvkErrorSuccess);
        EXPECT_EQ(sim.ZvkFrameRevokeAll(camera), ZvkErrorSuccess);
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        EXPECT_EQ(arrivals.Count(), count);
        Run(camera, "AcquisitionStop");
    }
    EXPECT_EQ(Statistics(0).flushed, 40U);
    EXPECT_EQ(sim.ZvkCameraClose(camera), ZvkErrorSuccess);
}

TEST_F(FramePathTest, LostFramesAreCountedAndLeaveAGap)
{
    Start(Small);
    const ZvkHandle_t camera = Open(0);
    Capture(camera, 2);
    Run(camera, "AcquisitionStart");
    ASSERT_TRUE(arrivals.WaitFor(2));
    while (Statistics(0).lost < 3)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_EQ(sim.ZvkCaptureFrameQueue(camera, &frames[0], &Arrivals::Callback), ZvkErrorSuccess);
    ASSERT_TRUE(arrivals.WaitFor(3));
    EXPECT_GE(arrivals.At(2).frame.frameId, 5U);
    void* unused = nullptr;
    void* stream = nullptr;
    ASSERT_EQ(sim.SimCameraHandles(0, &unused, &stream), ZvkErrorSuccess);
    EXPECT_GE(GetInt(stream, "StreamLostFrameCount"), 3);
    Run(camera, "AcquisitionStop");
    Release(camera);
}

TEST_F(FramePathTest, EveryNthFrameIsIncomplete)
{
    Start((std::string(Small) + "incomplete_every = 3\n").c_str());
    const ZvkHandle_t camera = Open(0);
    arrivals.requeue = &sim;
    Capture(camera, 2);
    Run(camera, "AcquisitionStart");
    ASSERT_TRUE(arrivals.WaitFor(9));
    Run(camera, "AcquisitionStop");
    EXPECT_EQ(sim.ZvkCaptureEnd(camera), ZvkErrorSuccess);
    for (std::size_t i = 0; i < 9; ++i)
        EXPECT_EQ(arrivals.At(i).frame.receiveStatus != 0, i % 3 == 2) << i;
    EXPECT_GE(Statistics(0).incomplete, 3U);
    Release(camera);
}

// Reads the colour of a pixel back from any format; what a Bayer tile or a chroma pair shares is averaged.
struct Rgb
{
    int red;
    int green;
    int blue;
};

int Sample(const std::vector<std::uint8_t>& image, const char* format, std::size_t index)
{
    const std::string name = format;
    const auto bits = [&](const char* text) { return name.find(text) != std::string::npos; };
    if (bits("Packed")) {
        const std::uint8_t* pair = &image[index / 2 * 3];
        const int high = index % 2 == 0 ? pair[0] : pair[2];
        const int low = index % 2 == 0 ? pair[1] & 15 : pair[1] >> 4;
        return (high << 4 | low) * 255 / 4095;
    }
    const int depth = bits("10") ? 10 : bits("12") ? 12 : bits("14") ? 14 : bits("16") ? 16 : 8;
    if (depth == 8)
        return image[index];
    return (image[2 * index] | image[2 * index + 1] << 8) * 255 / ((1 << depth) - 1);
}

Rgb ColourAt(const std::vector<std::uint8_t>& image, const char* format, std::size_t width, std::size_t x,
             std::size_t y)
{
    const std::string name = format;
    const std::size_t index = y * width + x; // x and y are even
    if (name == "RGB8")
        return {image[3 * index], image[3 * index + 1], image[3 * index + 2]};
    if (name == "BGR8")
        return {image[3 * index + 2], image[3 * index + 1], image[3 * index]};
    if (name.rfind("YUV", 0) == 0) {
        const bool chromaFirst = name == "YUV422_8_UYVY";
        const int luma = image[2 * index + (chromaFirst ? 1 : 0)];
        const int u = image[2 * index + (chromaFirst ? 0 : 1)] - 128;
        const int v = image[2 * index + (chromaFirst ? 2 : 3)] - 128;
        return {luma + v * 1402 / 1000, luma - u * 344 / 1000 - v * 714 / 1000, luma + u * 1772 / 1000};
    }
    if (name.rfind("Bayer", 0) == 0) {
        int sums[3] = {};
        int counts[3] = {};
        const std::string tile = name.substr(5, 2) + (name[5] == 'R'   ? "GB"
                                                      : name[5] == 'B' ? "GR"
                                                      : name[6] == 'R' ? "BG"
                                                                       : "RG");
        for (std::size_t place = 0; place < 4; ++place) {
            const std::size_t which = tile[place] == 'R' ? 0 : tile[place] == 'G' ? 1 : 2;
            sums[which] += Sample(image, format, (y + place / 2) * width + x + place % 2);
            ++counts[which];
        }
        return {sums[0] / counts[0], sums[1] / counts[1], sums[2] / counts[2]};
    }
    const int grey = Sample(image, format, index);
    return {grey, grey, grey};
}

TEST_F(FramePathTest, ColourBarsAreRightInEveryFormat)
{
    constexpr Rgb bars[] = {{255, 255, 255}, {255, 255, 0}, {0, 255, 255}, {0, 255, 0},
                            {255, 0, 255},   {255, 0, 0},   {0, 0, 255},   {0, 0, 0}};
    Start(Small);
    const ZvkHandle_t camera = Open(0);
    std::vector<const char*> formats(32);
    std::uint32_t count = 0;
    ASSERT_EQ(sim.ZvkFeatureEnumRangeQuery(camera, "PixelFormat", formats.data(), 32, &count),
              ZvkErrorSuccess);
    ASSERT_EQ(count, 14U);
    for (std::uint32_t i = 0; i < count; ++i) {
        SCOPED_TRACE(formats[i]);
        SetEnum(camera, "PixelFormat", formats[i]);
        Capture(camera, 1);
        EXPECT_EQ(sim.SimEmitFrame(0, nullptr), ZvkErrorSuccess);
        const bool mono = std::string(formats[i]).rfind("Mono", 0) == 0;
        // Row 20 lies below the number and above the square; the bars are 8 pixels wide.
        for (std::size_t bar = 0; bar < 8; ++bar) {
            const Rgb seen = ColourAt(buffers.back(), formats[i], 64, bar * 8 + 4, 20);
            const Rgb& wanted = bars[bar];
            const int grey = (wanted.red * 299 + wanted.green * 587 + wanted.blue * 114) / 1000;
            EXPECT_NEAR(seen.red, mono ? grey : wanted.red, 4) << bar;
            EXPECT_NEAR(seen.green, mono ? grey : wanted.green, 4) << bar;
            EXPECT_NEAR(seen.blue, mono ? grey : wanted.blue, 4) << bar;
        }
        EXPECT_EQ(sim.ZvkCaptureEnd(camera), ZvkErrorSuccess);
        EXPECT_EQ(sim.ZvkFrameRevokeAll(camera), ZvkErrorSuccess);
    }
    EXPECT_EQ(sim.ZvkCameraClose(camera), ZvkErrorSuccess);
}

TEST_F(FramePathTest, PictureMovesTurnsAndIsCut)
{
    Start(Small);
    const ZvkHandle_t camera = Open(0);
    Capture(camera, 2);
    EXPECT_EQ(sim.SimEmitFrame(0, nullptr), ZvkErrorSuccess);
    EXPECT_EQ(sim.SimEmitFrame(0, nullptr), ZvkErrorSuccess);
    EXPECT_NE(buffers[0], buffers[1]) << "the number and the square differ from frame to frame";
    EXPECT_EQ(sim.ZvkCaptureEnd(camera), ZvkErrorSuccess);
    EXPECT_EQ(sim.ZvkFrameRevokeAll(camera), ZvkErrorSuccess);

    EXPECT_EQ(sim.ZvkFeatureIntSet(camera, "Width", 32), ZvkErrorSuccess);
    EXPECT_EQ(sim.ZvkFeatureIntSet(camera, "OffsetX", 32), ZvkErrorSuccess);
    EXPECT_EQ(sim.ZvkFeatureBoolSet(camera, "ReverseX", 1), ZvkErrorSuccess);
    Capture(camera, 1);
    EXPECT_EQ(sim.SimEmitFrame(0, nullptr), ZvkErrorSuccess);
    EXPECT_EQ(arrivals.At(2).frame.width, 32U);
    EXPECT_EQ(arrivals.At(2).frame.offsetX, 32U);
    EXPECT_EQ(buffers[2].size(), 32U * 48U);
    EXPECT_EQ(buffers[2][20 * 32], 0) << "the sensor's right edge is black, and comes first when mirrored";
    EXPECT_NEAR(buffers[2][20 * 32 + 31], 105, 1) << "magenta, left in the region";
    Release(camera);
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
    const std::string key = "pictures = '" + folder.string() + "'\n";
    Start((std::string(Small) + key).c_str());
    const ZvkHandle_t camera = Open(0);
    SetEnum(camera, "PixelFormat", "RGB8");
    Capture(camera, 3);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(sim.SimEmitFrame(0, nullptr), ZvkErrorSuccess);
    const auto pixel = [this](std::size_t frame, std::size_t x) {
        const std::uint8_t* at = &buffers[frame][(10 * 64 + x) * 3];
        return std::vector<int>{at[0], at[1], at[2]};
    };
    EXPECT_EQ(pixel(0, 31), (std::vector<int>{0x10, 0x10, 0x10}));
    EXPECT_EQ(pixel(0, 32), (std::vector<int>{0xF0, 0xF0, 0xF0}));
    EXPECT_EQ(pixel(1, 31), (std::vector<int>{255, 0, 0}));
    EXPECT_EQ(buffers[2], buffers[0]);
    Release(camera);
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
    Start((std::string(Small) + "source = \"manual\"\n").c_str());
    const ZvkHandle_t camera = Open(0);
    EXPECT_EQ(sim.SimEmitFrame(0, nullptr), ZvkErrorInvalidCall) << "not capturing";
    Capture(camera, 1);
    Run(camera, "AcquisitionStart");
    const std::uint8_t bytes[] = {1, 2, 3};
    SimFrameRequest request{};
    request.fields = 0x7F;
    request.receiveStatus = -4;
    request.frameId = 77;
    request.timestamp = 88;
    request.pixelFormat = 0x02180014;
    request.width = 5;
    request.height = 6;
    request.offsetX = 7;
    request.offsetY = 9;
    request.bytes = bytes;
    request.byteCount = sizeof(bytes);
    EXPECT_EQ(sim.SimEmitFrame(0, &request), ZvkErrorSuccess);
    EXPECT_EQ(sim.SimEmitFrame(0, &request), ZvkErrorNotAvailable) << "nothing is queued";
    ASSERT_EQ(arrivals.Count(), 1U) << "a manual camera sends nothing of its own";
    const ZvkFrame_t frame = arrivals.At(0).frame;
    EXPECT_EQ(frame.receiveStatus, -4);
    EXPECT_EQ(frame.frameId, 77U);
    EXPECT_EQ(frame.timestamp, 88U);
    EXPECT_EQ(frame.pixelFormat, 0x02180014U);
    EXPECT_EQ(frame.width, 5U);
    EXPECT_EQ(frame.height, 6U);
    EXPECT_EQ(frame.offsetX, 7U);
    EXPECT_EQ(frame.offsetY, 9U);
    EXPECT_EQ(std::vector<std::uint8_t>(buffers[0].begin(), buffers[0].begin() + 4),
              (std::vector<std::uint8_t>{1, 2, 3, 0xEE}));
    Run(camera, "AcquisitionStop");
    Release(camera);
}

struct TriggerCase
{
    const char* name;
    const char* selector;
    const char* source;
    bool software;    // fire by TriggerSoftware, else by a pulse
    const char* line; // of the pulse
    bool oneEach;     // a frame for each trigger; else the first one starts a stream of them
    std::size_t fires;
};

class TriggerTest : public SimulatedTest, public testing::WithParamInterface<TriggerCase>
{
};

TEST_P(TriggerTest, FramesWaitForTheTrigger)
{
    const TriggerCase& given = GetParam();
    Start(Small);
    const ZvkHandle_t camera = Open(0);
    SetEnum(camera, "TriggerSelector", given.selector);
    SetEnum(camera, "TriggerMode", "On");
    SetEnum(camera, "TriggerSource", given.source);
    arrivals.requeue = &sim;
    Capture(camera, 4);
    Run(camera, "AcquisitionStart");
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(arrivals.Count(), 0U);
    EXPECT_EQ(sim.SimPulseLine(0, given.line[4] == '0' ? "Line1" : "Line0"), ZvkErrorSuccess);
    for (std::size_t i = 0; i < given.fires; ++i) {
        if (given.software)
            Run(camera, "TriggerSoftware");
        else
            EXPECT_EQ(sim.SimPulseLine(0, given.line), ZvkErrorSuccess);
    }
    ASSERT_TRUE(arrivals.WaitFor(given.oneEach ? given.fires : 10));
    if (given.oneEach) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_EQ(arrivals.Count(), given.fires);
    }
    Run(camera, "AcquisitionStop");
    Release(camera);
}

INSTANTIATE_TEST_SUITE_P(
    Triggers, TriggerTest,
    testing::Values(TriggerCase{"software", "FrameStart", "Software", true, "Line0", true, 3},
                    TriggerCase{"line", "FrameStart", "Line1", false, "Line1", true, 3},
                    TriggerCase{"start", "AcquisitionStart", "Line0", false, "Line0", false, 1},
                    TriggerCase{"startBySoftware", "AcquisitionStart", "Software", true, "Line1", false, 1}),
    [](const auto& given) { return std::string(given.param.name); });

TEST_F(FramePathTest, OldCamerasAreTriggeredThroughTheExposureMode)
{
    Start();
    const ZvkHandle_t camera = Open(3);
    EXPECT_EQ(sim.ZvkFeatureFloatSet(camera, "ExposureTimeAbs", 100.0), ZvkErrorSuccess);
    SetEnum(camera, "TriggerMode", "On");
    SetEnum(camera, "ExposureMode", "Off");
    arrivals.requeue = &sim;
    Capture(camera, 2);
    Run(camera, "AcquisitionStart");
    EXPECT_EQ(sim.SimPulseLine(3, "Line0"), ZvkErrorSuccess);
    Run(camera, "TriggerSoftware");
    ASSERT_TRUE(arrivals.WaitFor(1));
    SetEnum(camera, "ExposureMode", "Timed");
    EXPECT_EQ(sim.SimPulseLine(3, "Line0"), ZvkErrorSuccess);
    ASSERT_TRUE(arrivals.WaitFor(2));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(arrivals.Count(), 2U) << "the pulse with the mode Off does not count";
    EXPECT_EQ(sim.SimPulseLine(3, "Line7"), ZvkErrorNotFound);
    Run(camera, "AcquisitionStop");
    Release(camera);
}

TEST_F(FramePathTest, AcquisitionModesEndByThemselves)
{
    Start(Small);
    const ZvkHandle_t camera = Open(0);
    arrivals.requeue = &sim;
    Capture(camera, 2);
    SetEnum(camera, "AcquisitionMode", "MultiFrame");
    EXPECT_EQ(sim.ZvkFeatureIntSet(camera, "AcquisitionFrameCount", 5), ZvkErrorSuccess);
    Run(camera, "AcquisitionStart");
    ASSERT_TRUE(arrivals.WaitFor(5));
    SetEnum(camera, "TriggerSource", "Freerun");
    SetEnum(camera, "TriggerMode", "On");
    for (SimStateInfo state{}; sim.SimState(&state), state.acquiringCameras != 0;)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    SetEnum(camera, "AcquisitionMode", "SingleFrame");
    Run(camera, "AcquisitionStart");
    ASSERT_TRUE(arrivals.WaitFor(6)) << "the source Freerun needs no trigger";
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(arrivals.Count(), 6U);
    Release(camera);
}

TEST_F(FramePathTest, UnpluggedCamerasAreGone)
{
    Start();
    const ZvkHandle_t camera = Open(Bayer);
    EXPECT_EQ(sim.SimUnplug(Bayer, 1), ZvkErrorSuccess);
    std::uint32_t count = 0;
    EXPECT_EQ(sim.ZvkCamerasList(nullptr, 0, &count, sizeof(ZvkCameraInfo_t)), ZvkErrorSuccess);
    EXPECT_EQ(count, 3U);
    EXPECT_EQ(sim.ZvkFeatureIntSet(camera, "Width", 640), ZvkErrorIO);
    EXPECT_EQ(sim.ZvkFeatureCommandRun(camera, "AcquisitionStop"), ZvkErrorIO);
    EXPECT_EQ(sim.ZvkCameraClose(camera), ZvkErrorSuccess);
    ZvkHandle_t again = nullptr;
    EXPECT_EQ(sim.ZvkCameraOpen("SIM-GIGE-BAYER-1M", ZvkAccessModeFull, &again), ZvkErrorNotFound);
    EXPECT_EQ(sim.SimUnplug(Bayer, 0), ZvkErrorSuccess);
    EXPECT_EQ(sim.ZvkCameraClose(Open(Bayer)), ZvkErrorSuccess);
}

TEST_F(FramePathTest, WaitingForAFrameEndsWithItOrInTime)
{
    Start(Small);
    const ZvkHandle_t camera = Open(0);
    Capture(camera, 1);
    EXPECT_EQ(sim.ZvkCaptureFrameWait(camera, &frames[0], 5), ZvkErrorTimeout);
    Run(camera, "AcquisitionStart");
    EXPECT_EQ(sim.ZvkCaptureFrameWait(camera, &frames[0], 10000), ZvkErrorSuccess);
    Run(camera, "AcquisitionStop");
    Release(camera);
}

TEST_F(FramePathTest, ChunksTellOfTheFrame)
{
    Start(Small);
    const ZvkHandle_t camera = Open(0);
    EXPECT_EQ(sim.ZvkFeatureBoolSet(camera, "ChunkModeActive", 1), ZvkErrorSuccess);
    Capture(camera, 1);
    SimFrameRequest request{};
    request.fields = SimFrameHasFrameId;
    request.frameId = 4711;
    EXPECT_EQ(sim.SimEmitFrame(0, &request), ZvkErrorSuccess);
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
    EXPECT_EQ(sim.ZvkChunkDataAccess(&frames[0], reinterpret_cast<void*>(read), &seen), ZvkErrorSuccess);
    EXPECT_EQ(seen.frameId, 4711);
    Release(camera);
}

} // namespace
} // namespace maravel::test
