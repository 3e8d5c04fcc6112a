// What does not reach a host: the SDK's entry points, called directly.
#include "CameraTest.h"
#include "simulated/SdkLibraries.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <thread>

namespace maravel::test {
namespace {

// Wrong calls are part of these tests: the bench does not mind them.
class CameraSdk : public testing::TestWithParam<std::string>
{
protected:
    void SetUp() override
    {
        bench = MakeBench(GetParam());
        bench->AllowViolations();
        if (bench->CameraCount() == 0) {
            GTEST_SKIP() << bench->WhyNone();
        }
        sdk.emplace(bench->SdkFolder());
        ASSERT_EQ(sdk->ZvkStartup(nullptr), 0);
        FindCamera();
        ASSERT_EQ(sdk->ZvkCameraOpen(info.cameraIdString, ZvkAccessModeFull, &camera), 0);
        ASSERT_EQ(sdk->ZvkCameraInfoQueryByHandle(camera, &info, sizeof(info)), 0);
        ASSERT_EQ(info.streamCount, 1u);
        stream = info.streamHandles[0];
    }
    void TearDown() override
    {
        if (!sdk) {
            return;
        }
        if (camera != nullptr) {
            EXPECT_EQ(sdk->ZvkCameraClose(camera), 0);
        }
        sdk->ZvkShutdown();
    }

    // The bench's first camera among all that are found.
    void FindCamera()
    {
        std::uint32_t count = 0;
        ASSERT_EQ(sdk->ZvkCamerasList(nullptr, 0, &count, sizeof(info)), 0);
        std::vector<ZvkCameraInfo_t> list(count);
        ASSERT_EQ(sdk->ZvkCamerasList(list.data(), count, &count, sizeof(info)), 0);
        const auto found = std::ranges::find(list, bench->Serial(0), &ZvkCameraInfo_t::serialString);
        ASSERT_NE(found, list.end());
        EXPECT_EQ(found->streamHandles, nullptr) << "streams of a closed camera";
        info = *found;
    }

    std::unique_ptr<Bench> bench;
    std::optional<RuntimeLibrary> sdk;
    ZvkCameraInfo_t info{};
    ZvkHandle_t camera = nullptr;
    ZvkHandle_t stream = nullptr;
};

INSTANTIATE_TEST_SUITE_P(On, CameraSdk, testing::ValuesIn(BenchNames()), NameOfBench);

TEST_P(CameraSdk, HandlesAreNotGivenOutAgain)
{
    const ZvkHandle_t old = camera;
    ASSERT_EQ(sdk->ZvkCameraClose(camera), 0);
    ASSERT_EQ(sdk->ZvkCameraOpen(info.cameraIdString, ZvkAccessModeFull, &camera), 0);
    EXPECT_NE(camera, old);
    EXPECT_EQ(sdk->ZvkStartup(nullptr), ZvkErrorAlready);
}

TEST_P(CameraSdk, TypesAndEntriesAreKept)
{
    std::int64_t value = 0;
    ZvkBool_t flag = 0;
    const char* entry = nullptr;
    EXPECT_EQ(sdk->ZvkFeatureIntGet(camera, "PixelFormat", &value), ZvkErrorWrongType);
    EXPECT_EQ(sdk->ZvkFeatureEnumGet(camera, "Width", &entry), ZvkErrorWrongType);
    EXPECT_EQ(sdk->ZvkFeatureBoolGet(camera, "Width", &flag), ZvkErrorWrongType);
    EXPECT_EQ(sdk->ZvkFeatureEnumSet(camera, "PixelFormat", "Mono7"), ZvkErrorInvalidValue);
    EXPECT_EQ(sdk->ZvkFeatureEnumAsInt(camera, "PixelFormat", "Mono7", &value), ZvkErrorNotFound);
    EXPECT_EQ(sdk->ZvkFeatureEnumAsString(camera, "PixelFormat", ZvkPixelFormatRgb8, &entry), 0);
    EXPECT_STREQ(entry, "RGB8");
    std::uint32_t size = 0; // asked for without a buffer
    EXPECT_EQ(sdk->ZvkFeatureStringGet(camera, "DeviceModelName", nullptr, 0, &size), 0);
    EXPECT_EQ(size, sizeof("Fake"));
    char text[] = "---";
    EXPECT_EQ(sdk->ZvkFeatureStringGet(camera, "DeviceModelName", text, sizeof(text), &size),
              ZvkErrorMoreData);
    EXPECT_STREQ(text, "---");
}

TEST_P(CameraSdk, PacketSizeIsNegotiated)
{
    ASSERT_EQ(sdk->ZvkFeatureCommandRun(stream, "GVSPAdjustPacketSize"), 0);
    ZvkBool_t done = 0;
    for (int i = 0; i < 200 && done == 0; ++i) {
        ASSERT_EQ(sdk->ZvkFeatureCommandIsDone(stream, "GVSPAdjustPacketSize", &done), 0);
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_EQ(done, 1);
    std::int64_t size = 0;
    EXPECT_EQ(sdk->ZvkFeatureIntGet(stream, "GVSPPacketSize", &size), 0);
    EXPECT_GE(size, 576);
    EXPECT_EQ(sdk->ZvkFeatureIntGet(camera, "GVSPPacketSize", &size), ZvkErrorNotFound)
        << "it is the stream's";
}

// A flush in the midst of streaming gives the memory back: nothing is written into it any more.
TEST_P(CameraSdk, FlushAndEndGiveTheMemoryBack)
{
    for (const bool flushFirst : {true, false}) {
        std::uint32_t payload = 0;
        ASSERT_EQ(sdk->ZvkPayloadSizeGet(camera, &payload), 0);
        std::vector<unsigned char> memory(payload);
        ZvkFrame_t frame{};
        frame.buffer = memory.data();
        frame.bufferSize = payload;
        ASSERT_EQ(sdk->ZvkFrameAnnounce(camera, &frame, sizeof(frame)), 0);
        ASSERT_EQ(sdk->ZvkCaptureStart(camera), 0);
        ASSERT_EQ(sdk->ZvkCaptureFrameQueue(camera, &frame, nullptr), 0);
        EXPECT_EQ(sdk->ZvkFrameRevokeAll(camera), ZvkErrorInUse);
        ASSERT_EQ(sdk->ZvkFeatureCommandRun(camera, "AcquisitionStart"), 0);
        ASSERT_EQ(sdk->ZvkCaptureFrameWait(camera, &frame, 5000), 0);
        ASSERT_EQ(sdk->ZvkCaptureFrameQueue(camera, &frame, nullptr), 0);
        if (!flushFirst) {
            EXPECT_EQ(sdk->ZvkCaptureEnd(camera), 0);
        }
        EXPECT_EQ(sdk->ZvkCaptureQueueFlush(camera), 0);
        EXPECT_EQ(sdk->ZvkFrameRevokeAll(camera), 0);
        std::fill(memory.begin(), memory.end(), static_cast<unsigned char>(0xA5));
        std::this_thread::sleep_for(std::chrono::milliseconds(150));
        EXPECT_EQ(std::count(memory.begin(), memory.end(), 0xA5), payload);
        EXPECT_EQ(sdk->ZvkFeatureCommandRun(camera, "AcquisitionStop"), 0);
        EXPECT_EQ(sdk->ZvkCaptureEnd(camera), 0);
    }
}

class AravisSdk : public CameraSdk
{
};

std::vector<std::string> AravisAlone()
{
    std::vector<std::string> names = BenchNames();
    std::erase_if(names, [](const std::string& name) { return name != "Aravis"; });
    return names;
}

INSTANTIATE_TEST_SUITE_P(On, AravisSdk, testing::ValuesIn(AravisAlone()), NameOfBench);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(AravisSdk);

// Types that Aravis' fake camera has outside of what it lists, and what its library cannot do.
TEST_P(AravisSdk, AnswersWhatItCan)
{
    ZvkBool_t flag = 2;
    EXPECT_EQ(sdk->ZvkFeatureBoolGet(camera, "TestBoolean", &flag), 0);
    EXPECT_EQ(sdk->ZvkFeatureBoolSet(camera, "TestBoolean", flag == 0 ? 1 : 0), 0);
    ZvkBool_t now = 2;
    EXPECT_EQ(sdk->ZvkFeatureBoolGet(camera, "TestBoolean", &now), 0);
    EXPECT_NE(now, flag);
    std::uint32_t limit = 0;
    ASSERT_EQ(sdk->ZvkFeatureStringMaxlengthQuery(camera, "TestStringReg", &limit), 0);
    EXPECT_EQ(sdk->ZvkFeatureStringSet(camera, "TestStringReg", std::string(limit, 'x').c_str()),
              ZvkErrorInvalidValue);
    EXPECT_EQ(sdk->ZvkFeatureStringSet(camera, "TestStringReg", "hello"), 0);
    char text[64] = "";
    std::uint32_t size = 0;
    EXPECT_EQ(sdk->ZvkFeatureStringGet(camera, "TestStringReg", text, sizeof(text), &size), 0);
    EXPECT_STREQ(text, "hello");
    double step = 0;
    EXPECT_EQ(sdk->ZvkFeatureFloatIncrementQuery(camera, "ExposureTimeAbs", &flag, &step), 0);
    EXPECT_EQ(flag, 0);
    char bytes[4] = "";
    EXPECT_EQ(sdk->ZvkMemoryRead(camera, 0x0000, sizeof(bytes), bytes, &size),
              0); // the version of the standard
    EXPECT_EQ(size, sizeof(bytes));
    std::int64_t value = 0;
    EXPECT_EQ(sdk->ZvkFeatureIntValidValueSetQuery(camera, "Width", &value, 1, &size), ZvkErrorNotSupported);
    EXPECT_EQ(sdk->ZvkSettingsSave(camera, "settings"), ZvkErrorNotSupported);
    EXPECT_EQ(sdk->ZvkFeatureInvalidationRegister(camera, "Width", nullptr, nullptr), ZvkErrorNotSupported);
}

} // namespace
} // namespace maravel::test
