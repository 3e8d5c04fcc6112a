// What does not reach a host: the SDK's entry points, called directly.
#include "Bench.h"
#include "CameraTest.h"
#include "platform/Win32.h"
#include "sdk/RuntimeEntryPoints.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <gtest/gtest.h>
#include <thread>

namespace maravel::test {
namespace {

// Wrong calls are part of these tests: the bench does not mind them.
class CameraSdk : public testing::TestWithParam<std::string>
{
protected:
#define POINTER(result, name, parameters) result(*name) parameters = nullptr;
    ZVK_RUNTIME_ENTRY_POINTS(POINTER)
#undef POINTER

    void SetUp() override
    {
        bench = MakeBench(GetParam());
        bench->AllowViolations();
        if (bench->CameraCount() == 0)
            GTEST_SKIP() << bench->WhyNone();
        library_ =
            LoadLibraryA((bench->SdkFolder() + PathSeparator + "bin" + PathSeparator + "ZvkC.dll").c_str());
        ASSERT_NE(library_, nullptr);
#define RESOLVE(result, name, parameters) Resolve(name, #name);
        ZVK_RUNTIME_ENTRY_POINTS(RESOLVE)
#undef RESOLVE
        ASSERT_EQ(ZvkStartup(nullptr), 0);
        FindCamera();
        ASSERT_EQ(ZvkCameraOpen(info.cameraIdString, ZvkAccessModeFull, &camera), 0);
        ASSERT_EQ(ZvkCameraInfoQueryByHandle(camera, &info, sizeof(info)), 0);
        ASSERT_EQ(info.streamCount, 1u);
        stream = info.streamHandles[0];
    }
    void TearDown() override
    {
        if (library_ == nullptr)
            return;
        if (camera != nullptr) {
            EXPECT_EQ(ZvkCameraClose(camera), 0);
        }
        ZvkShutdown();
        FreeLibrary(library_);
    }

    // The bench's first camera among all that are found.
    void FindCamera()
    {
        std::uint32_t count = 0;
        ASSERT_EQ(ZvkCamerasList(nullptr, 0, &count, sizeof(info)), 0);
        std::vector<ZvkCameraInfo_t> list(count);
        ASSERT_EQ(ZvkCamerasList(list.data(), count, &count, sizeof(info)), 0);
        const auto found = std::find_if(list.begin(), list.end(), [this](const ZvkCameraInfo_t& each) {
            return each.serialString == bench->Serial(0);
        });
        ASSERT_NE(found, list.end());
        EXPECT_EQ(found->streamHandles, nullptr) << "streams of a closed camera";
        info = *found;
    }

    std::unique_ptr<Bench> bench;
    ZvkCameraInfo_t info{};
    ZvkHandle_t camera = nullptr;
    ZvkHandle_t stream = nullptr;

private:
    template <class Function>
    void Resolve(Function& function, const char* name)
    {
        const FARPROC address = GetProcAddress(library_, name);
        ASSERT_NE(address, nullptr) << name;
        std::memcpy(&function, &address, sizeof(function));
    }

    HMODULE library_ = nullptr;
};

INSTANTIATE_TEST_SUITE_P(On, CameraSdk, testing::ValuesIn(BenchNames()), NameOfBench);

TEST_P(CameraSdk, HandlesAndOpeningAreChecked)
{
    ZvkHandle_t again = nullptr;
    EXPECT_EQ(ZvkCameraOpen(info.cameraIdString, ZvkAccessModeFull, &again), ZvkErrorInUse);
    EXPECT_EQ(ZvkCameraOpen("none", ZvkAccessModeFull, &again), ZvkErrorNotFound);
    const ZvkHandle_t old = camera;
    ASSERT_EQ(ZvkCameraClose(camera), 0);
    std::int64_t value = 0;
    EXPECT_EQ(ZvkFeatureIntGet(nullptr, "Width", &value), ZvkErrorBadHandle);
    ASSERT_EQ(ZvkCameraOpen(info.cameraIdString, ZvkAccessModeFull, &camera), 0);
    EXPECT_NE(camera, old);
    EXPECT_EQ(ZvkStartup(nullptr), ZvkErrorAlready);
}

TEST_P(CameraSdk, TypesAndLimitsAreKept)
{
    std::int64_t value = 0;
    double real = 0;
    ZvkBool_t flag = 0;
    const char* entry = nullptr;
    EXPECT_EQ(ZvkFeatureFloatGet(camera, "Width", &real), ZvkErrorWrongType);
    EXPECT_EQ(ZvkFeatureIntGet(camera, "PixelFormat", &value), ZvkErrorWrongType);
    EXPECT_EQ(ZvkFeatureEnumGet(camera, "Width", &entry), ZvkErrorWrongType);
    EXPECT_EQ(ZvkFeatureBoolGet(camera, "Width", &flag), ZvkErrorWrongType);
    EXPECT_EQ(ZvkFeatureCommandRun(camera, "Width"), ZvkErrorWrongType);
    EXPECT_EQ(ZvkFeatureIntGet(camera, "Nothing", &value), ZvkErrorNotFound);
    EXPECT_EQ(ZvkFeatureIntGet(camera, "Width", nullptr), ZvkErrorBadParameter);

    std::int64_t minimum = 0;
    std::int64_t maximum = 0;
    ASSERT_EQ(ZvkFeatureIntRangeQuery(camera, "Width", &minimum, &maximum), 0);
    EXPECT_EQ(maximum, 2048);
    EXPECT_EQ(ZvkFeatureIntSet(camera, "Width", maximum + 1), ZvkErrorInvalidValue);
    EXPECT_EQ(ZvkFeatureIntSet(camera, "Width", minimum - 1), ZvkErrorInvalidValue);
    EXPECT_EQ(ZvkFeatureIntSet(camera, "PayloadSize", 1), ZvkErrorInvalidAccess);
    EXPECT_EQ(ZvkFeatureIntGet(camera, "Width", &value), 0);
    EXPECT_EQ(value, 512);

    std::int64_t code = 0;
    EXPECT_EQ(ZvkFeatureEnumAsInt(camera, "PixelFormat", "RGB8", &code), 0);
    EXPECT_EQ(code, ZvkPixelFormatRgb8);
    EXPECT_EQ(ZvkFeatureEnumAsString(camera, "PixelFormat", code, &entry), 0);
    EXPECT_STREQ(entry, "RGB8");
    EXPECT_EQ(ZvkFeatureEnumAsInt(camera, "PixelFormat", "Mono7", &code), ZvkErrorNotFound);
    EXPECT_EQ(ZvkFeatureEnumIsAvailable(camera, "PixelFormat", "Mono8", &flag), 0);
    EXPECT_EQ(flag, 1);
}

TEST_P(CameraSdk, TextsAreCopiedWithTheirEnd)
{
    std::uint32_t size = 0;
    ASSERT_EQ(ZvkFeatureStringGet(camera, "DeviceModelName", nullptr, 0, &size), 0);
    EXPECT_EQ(size, sizeof("Fake"));
    char text[8] = "-------";
    EXPECT_EQ(ZvkFeatureStringGet(camera, "DeviceModelName", text, 4, &size), ZvkErrorMoreData);
    EXPECT_STREQ(text, "-------");
    EXPECT_EQ(ZvkFeatureStringGet(camera, "DeviceModelName", text, sizeof(text), &size), 0);
    EXPECT_STREQ(text, "Fake");
    EXPECT_EQ(ZvkFeatureStringGet(info.transportLayerHandle, "TLVendorName", nullptr, 0, &size), 0);
    EXPECT_GT(size, 1u);
}

TEST_P(CameraSdk, PacketSizeIsNegotiated)
{
    ASSERT_EQ(ZvkFeatureCommandRun(stream, "GVSPAdjustPacketSize"), 0);
    ZvkBool_t done = 0;
    for (int i = 0; i < 200 && done == 0; ++i) {
        ASSERT_EQ(ZvkFeatureCommandIsDone(stream, "GVSPAdjustPacketSize", &done), 0);
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_EQ(done, 1);
    std::int64_t size = 0;
    EXPECT_EQ(ZvkFeatureIntGet(stream, "GVSPPacketSize", &size), 0);
    EXPECT_GE(size, 576);
    EXPECT_EQ(ZvkFeatureIntGet(camera, "GVSPPacketSize", &size), ZvkErrorNotFound) << "it is the stream's";
}

// A flush in the midst of streaming gives the memory back: nothing is written into it any more.
TEST_P(CameraSdk, FlushAndEndGiveTheMemoryBack)
{
    for (const bool flushFirst : {true, false}) {
        std::uint32_t payload = 0;
        ASSERT_EQ(ZvkPayloadSizeGet(camera, &payload), 0);
        std::vector<unsigned char> memory(payload);
        ZvkFrame_t frame{};
        frame.buffer = memory.data();
        frame.bufferSize = payload;
        ASSERT_EQ(ZvkFrameAnnounce(camera, &frame, sizeof(frame)), 0);
        EXPECT_EQ(ZvkFrameAnnounce(camera, &frame, sizeof(frame)), ZvkErrorAlready);
        ASSERT_EQ(ZvkCaptureStart(camera), 0);
        ASSERT_EQ(ZvkCaptureFrameQueue(camera, &frame, nullptr), 0);
        EXPECT_EQ(ZvkFrameRevokeAll(camera), ZvkErrorInUse);
        ASSERT_EQ(ZvkFeatureCommandRun(camera, "AcquisitionStart"), 0);
        ASSERT_EQ(ZvkCaptureFrameWait(camera, &frame, 5000), 0);
        ASSERT_EQ(ZvkCaptureFrameQueue(camera, &frame, nullptr), 0);
        if (!flushFirst) {
            EXPECT_EQ(ZvkCaptureEnd(camera), 0);
        }
        EXPECT_EQ(ZvkCaptureQueueFlush(camera), 0);
        EXPECT_EQ(ZvkFrameRevokeAll(camera), 0);
        std::fill(memory.begin(), memory.end(), static_cast<unsigned char>(0xA5));
        std::this_thread::sleep_for(std::chrono::milliseconds(150));
        EXPECT_EQ(std::count(memory.begin(), memory.end(), 0xA5), payload);
        EXPECT_EQ(ZvkFeatureCommandRun(camera, "AcquisitionStop"), 0);
        EXPECT_EQ(ZvkCaptureEnd(camera), 0);
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
    EXPECT_EQ(ZvkFeatureBoolGet(camera, "TestBoolean", &flag), 0);
    EXPECT_EQ(ZvkFeatureBoolSet(camera, "TestBoolean", flag == 0 ? 1 : 0), 0);
    ZvkBool_t now = 2;
    EXPECT_EQ(ZvkFeatureBoolGet(camera, "TestBoolean", &now), 0);
    EXPECT_NE(now, flag);
    std::uint32_t limit = 0;
    ASSERT_EQ(ZvkFeatureStringMaxlengthQuery(camera, "TestStringReg", &limit), 0);
    EXPECT_EQ(ZvkFeatureStringSet(camera, "TestStringReg", std::string(limit, 'x').c_str()),
              ZvkErrorInvalidValue);
    EXPECT_EQ(ZvkFeatureStringSet(camera, "TestStringReg", "hello"), 0);
    char text[64] = "";
    std::uint32_t size = 0;
    EXPECT_EQ(ZvkFeatureStringGet(camera, "TestStringReg", text, sizeof(text), &size), 0);
    EXPECT_STREQ(text, "hello");
    double step = 0;
    EXPECT_EQ(ZvkFeatureFloatIncrementQuery(camera, "ExposureTimeAbs", &flag, &step), 0);
    EXPECT_EQ(flag, 0);
    char bytes[4] = "";
    EXPECT_EQ(ZvkMemoryRead(camera, 0x0000, sizeof(bytes), bytes, &size), 0); // the version of the standard
    EXPECT_EQ(size, sizeof(bytes));
    std::int64_t value = 0;
    EXPECT_EQ(ZvkFeatureIntValidValueSetQuery(camera, "Width", &value, 1, &size), ZvkErrorNotSupported);
    EXPECT_EQ(ZvkSettingsSave(camera, "settings"), ZvkErrorNotSupported);
    EXPECT_EQ(ZvkFeatureInvalidationRegister(camera, "Width", nullptr, nullptr), ZvkErrorNotSupported);
}

} // namespace
} // namespace maravel::test
