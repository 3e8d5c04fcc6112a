// Features of the cameras that come with the library: values, limits, access and dependencies.
#include "SimulatedTest.h"

#include <set>

namespace maravel::test {
namespace {

constexpr std::uint32_t Mono = 0;
constexpr std::uint32_t Bayer = 1;
constexpr std::uint32_t Usb = 2;
constexpr std::uint32_t Legacy = 3;

using FeatureTest = SimulatedTest;

std::vector<ZvkFeatureInfo_t> List(SimulatedLibrary& sim, ZvkHandle_t handle)
{
    std::uint32_t count = 0;
    EXPECT_EQ(sim.ZvkFeaturesList(handle, nullptr, 0, &count, sizeof(ZvkFeatureInfo_t)), ZvkErrorSuccess);
    std::vector<ZvkFeatureInfo_t> features(count);
    EXPECT_EQ(sim.ZvkFeaturesList(handle, features.data(), count, &count, sizeof(ZvkFeatureInfo_t)),
              ZvkErrorSuccess);
    return features;
}

TEST_F(FeatureTest, ListsAreRealisticAndDifferWhereItMatters)
{
    struct Expectation
    {
        std::uint32_t camera;
        std::set<std::string> present;
        std::set<std::string> absent;
    };
    const Expectation expectations[] = {
        {Mono, {"ExposureTime", "TriggerSelector", "TriggerSource", "GevSCPSPacketSize"}, {"BalanceRatio"}},
        {Bayer, {"ExposureTime", "BalanceRatio", "PixelColorFilter"}, {"ExposureTimeAbs"}},
        {Usb, {"U3vVersionMajor", "BalanceWhiteAuto"}, {"GevSCPSPacketSize"}},
        {Legacy,
         {"ExposureTimeAbs", "ExposureMode", "TriggerMode"},
         {"ExposureTime", "TriggerSource", "TriggerSelector", "TriggerActivation"}},
    };
    Start();
    for (const Expectation& expected : expectations) {
        SCOPED_TRACE(expected.camera);
        const ZvkHandle_t camera = Open(expected.camera);
        std::set<std::string> names;
        std::set<std::uint32_t> types;
        const std::vector<ZvkFeatureInfo_t> features = List(sim, camera);
        for (const ZvkFeatureInfo_t& feature : features) {
            EXPECT_TRUE(names.insert(feature.name).second) << feature.name;
            types.insert(feature.featureDataType);
            EXPECT_NE(std::string(feature.description), "") << feature.name;
        }
        EXPECT_GE(features.size(), 60U);
        EXPECT_LE(features.size(), 150U);
        EXPECT_EQ(types, (std::set<std::uint32_t>{1, 2, 3, 4, 5, 6, 7}));
        for (const std::string& name : expected.present)
            EXPECT_EQ(names.count(name), 1U) << name;
        for (const std::string& name : expected.absent)
            EXPECT_EQ(names.count(name), 0U) << name;
        EXPECT_EQ(sim.ZvkCameraClose(camera), ZvkErrorSuccess);
    }
}

TEST_F(FeatureTest, TextsOutliveTheCamera)
{
    Start();
    const ZvkHandle_t camera = Open(Mono);
    const std::vector<ZvkFeatureInfo_t> features = List(sim, camera);
    const std::string first = features.front().name;
    EXPECT_EQ(sim.ZvkCameraClose(camera), ZvkErrorSuccess);
    EXPECT_EQ(features.front().name, first);
}

TEST_F(FeatureTest, IntegersKeepToTheirLimits)
{
    struct Write
    {
        const char* name;
        std::int64_t value;
        ZvkError_t result;
    };
    const Write writes[] = {
        {"Width", 1296, ZvkErrorSuccess},
        {"Width", 1297, ZvkErrorInvalidValue},   // increment 8
        {"Width", 8, ZvkErrorInvalidValue},      // below the minimum
        {"OffsetX", 1296, ZvkErrorSuccess},      // what Width leaves
        {"OffsetX", 1300, ZvkErrorInvalidValue}, // more than that
        {"Width", 1304, ZvkErrorInvalidValue},   // the offset holds the width down
        {"OffsetX", 0, ZvkErrorSuccess},
        {"Width", 2592, ZvkErrorSuccess},
        {"Width", 2600, ZvkErrorInvalidValue},
        {"OffsetY", 2, ZvkErrorInvalidValue},
        {"BinningHorizontal", 3, ZvkErrorInvalidValue}, // 1, 2 and 4 only
        {"BinningHorizontal", 2, ZvkErrorSuccess},
        {"Width", 2592, ZvkErrorInvalidValue}, // half the sensor now
        {"SensorWidth", 100, ZvkErrorInvalidAccess},
        {"AcquisitionFrameCount", 2, ZvkErrorNotAvailable},
        {"DeviceLinkThroughputLimit", 1000000, ZvkErrorInvalidAccess},
        {"ExposureTime", 5, ZvkErrorWrongType},
        {"NoSuchFeature", 5, ZvkErrorNotFound},
        {"width", 1296, ZvkErrorNotFound},
    };
    Start();
    const ZvkHandle_t camera = Open(Mono);
    for (const Write& write : writes)
        EXPECT_EQ(sim.ZvkFeatureIntSet(camera, write.name, write.value), write.result)
            << write.name << " = " << write.value;
    EXPECT_EQ(GetInt(camera, "WidthMax"), 1296);
    EXPECT_EQ(GetInt(camera, "Width"), 1296);
    std::int64_t low = 0;
    std::int64_t high = 0;
    EXPECT_EQ(sim.ZvkFeatureIntRangeQuery(camera, "Width", &low, &high), ZvkErrorSuccess);
    EXPECT_EQ(low, 16);
    EXPECT_EQ(high, 1296);
    EXPECT_EQ(sim.ZvkCameraClose(camera), ZvkErrorSuccess);
}

TEST_F(FeatureTest, OtherTypesRefuseWhatDoesNotFit)
{
    Start();
    const ZvkHandle_t camera = Open(Mono);
    EXPECT_EQ(sim.ZvkFeatureFloatSet(camera, "ExposureTime", 20000.0), ZvkErrorSuccess);
    EXPECT_EQ(sim.ZvkFeatureFloatSet(camera, "ExposureTime", 9.9), ZvkErrorInvalidValue);
    EXPECT_EQ(sim.ZvkFeatureFloatSet(camera, "Width", 9.9), ZvkErrorWrongType);
    SetEnum(camera, "ExposureAuto", "Continuous");
    EXPECT_EQ(sim.ZvkFeatureFloatSet(camera, "ExposureTime", 30000.0), ZvkErrorInvalidAccess);
    double exposure = 0;
    EXPECT_EQ(sim.ZvkFeatureFloatGet(camera, "ExposureTime", &exposure), ZvkErrorSuccess);
    EXPECT_EQ(exposure, 20000.0);

    EXPECT_EQ(sim.ZvkFeatureEnumSet(camera, "PixelFormat", "BayerRG8"), ZvkErrorInvalidValue);
    EXPECT_EQ(sim.ZvkFeatureEnumSet(camera, "PixelFormat", "Mono12Packed"), ZvkErrorSuccess);
    std::int64_t code = 0;
    EXPECT_EQ(sim.ZvkFeatureEnumAsInt(camera, "PixelFormat", "Mono12Packed", &code), ZvkErrorSuccess);
    EXPECT_EQ(code, ZvkPixelFormatMono12Packed);
    EXPECT_EQ(GetInt(camera, "PayloadSize"), 2592 * 1944 * 3 / 2);

    EXPECT_EQ(sim.ZvkFeatureStringSet(camera, "DeviceUserID", "line 3, left"), ZvkErrorSuccess);
    EXPECT_EQ(sim.ZvkFeatureStringSet(camera, "DeviceUserID", std::string(64, 'x').c_str()),
              ZvkErrorInvalidValue);
    EXPECT_EQ(sim.ZvkFeatureStringSet(camera, "DeviceModelName", "mine"), ZvkErrorInvalidAccess);
    char text[32] = "";
    std::uint32_t size = 0;
    EXPECT_EQ(sim.ZvkFeatureStringGet(camera, "DeviceUserID", text, 4, &size), ZvkErrorMoreData);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(sim.ZvkFeatureStringGet(camera, "DeviceUserID", text, sizeof(text), &size), ZvkErrorSuccess);
    EXPECT_STREQ(text, "line 3, left");
    EXPECT_EQ(size, 13U);

    ZvkBool_t flag = 7;
    EXPECT_EQ(sim.ZvkFeatureBoolSet(camera, "ReverseX", 5), ZvkErrorSuccess);
    EXPECT_EQ(sim.ZvkFeatureBoolGet(camera, "ReverseX", &flag), ZvkErrorSuccess);
    EXPECT_EQ(flag, 1);

    std::uint32_t length = 0;
    EXPECT_EQ(sim.ZvkFeatureRawLengthQuery(camera, "LUTValueAll", &length), ZvkErrorSuccess);
    std::vector<char> table(length, 'x');
    EXPECT_EQ(sim.ZvkFeatureRawSet(camera, "LUTValueAll", table.data(), length - 1), ZvkErrorInvalidValue);
    EXPECT_EQ(sim.ZvkFeatureRawSet(camera, "LUTValueAll", table.data(), length), ZvkErrorSuccess);
    EXPECT_EQ(GetInt(camera, "LUTValue"), 'x');
    EXPECT_EQ(sim.ZvkCameraClose(camera), ZvkErrorSuccess);
}

TEST_F(FeatureTest, SelectorsKeepAValueEach)
{
    Start();
    const ZvkHandle_t camera = Open(Mono);
    SetEnum(camera, "TriggerSelector", "AcquisitionStart");
    SetEnum(camera, "TriggerMode", "On");
    SetEnum(camera, "TriggerSource", "Line1");
    SetEnum(camera, "TriggerSelector", "FrameStart");
    const char* value = nullptr;
    EXPECT_EQ(sim.ZvkFeatureEnumGet(camera, "TriggerMode", &value), ZvkErrorSuccess);
    EXPECT_STREQ(value, "Off");
    SetEnum(camera, "TriggerSelector", "AcquisitionStart");
    EXPECT_EQ(sim.ZvkFeatureEnumGet(camera, "TriggerSource", &value), ZvkErrorSuccess);
    EXPECT_STREQ(value, "Line1");
    EXPECT_EQ(sim.ZvkFeatureCommandRun(camera, "TriggerSoftware"), ZvkErrorInvalidAccess);
    std::uint32_t count = 0;
    EXPECT_EQ(
        sim.ZvkFeatureListSelected(camera, "TriggerSelector", nullptr, 0, &count, sizeof(ZvkFeatureInfo_t)),
        ZvkErrorSuccess);
    EXPECT_EQ(count, 5U);
    EXPECT_EQ(sim.ZvkCameraClose(camera), ZvkErrorSuccess);
}

TEST_F(FeatureTest, StreamingLocksWhatShapesTheImage)
{
    Start();
    const ZvkHandle_t camera = Open(Bayer);
    const auto writable = [&](const char* name) {
        ZvkBool_t readable = 0;
        ZvkBool_t writeable = 0;
        EXPECT_EQ(sim.ZvkFeatureAccessQuery(camera, name, &readable, &writeable), ZvkErrorSuccess) << name;
        return writeable == 1;
    };
    for (const bool streaming : {false, true, false}) {
        if (streaming)
            Run(camera, "AcquisitionStart");
        else
            Run(camera, "AcquisitionStop");
        for (const char* name : {"Width", "Height", "PixelFormat", "ReverseX", "BinningVertical"})
            EXPECT_EQ(writable(name), !streaming) << name;
        EXPECT_TRUE(writable("ExposureTime"));
    }
    EXPECT_EQ(sim.ZvkCameraClose(camera), ZvkErrorSuccess);
}

TEST_F(FeatureTest, CommandsTakeTheirTimeAndCanBeHeld)
{
    Start();
    const ZvkHandle_t camera = Open(Mono);
    ZvkCameraInfo_t info{};
    ASSERT_EQ(sim.ZvkCameraInfoQueryByHandle(camera, &info, sizeof(info)), ZvkErrorSuccess);
    ASSERT_EQ(info.streamCount, 1U);
    const ZvkHandle_t stream = info.streamHandles[0];
    const std::int64_t before = GetInt(stream, "GVSPPacketSize");
    EXPECT_EQ(sim.SimHoldCommand(Mono, "GVSPAdjustPacketSize", 1), ZvkErrorSuccess);
    Run(stream, "GVSPAdjustPacketSize");
    ZvkBool_t done = 1;
    const auto start = std::chrono::steady_clock::now();
    while (std::chrono::steady_clock::now() - start < std::chrono::milliseconds(400))
        EXPECT_EQ(sim.ZvkFeatureCommandIsDone(stream, "GVSPAdjustPacketSize", &done), ZvkErrorSuccess);
    EXPECT_EQ(done, 0);
    EXPECT_EQ(GetInt(stream, "GVSPPacketSize"), before);
    EXPECT_EQ(sim.SimHoldCommand(Mono, "GVSPAdjustPacketSize", 0), ZvkErrorSuccess);
    EXPECT_EQ(sim.ZvkFeatureCommandIsDone(stream, "GVSPAdjustPacketSize", &done), ZvkErrorSuccess);
    EXPECT_EQ(done, 1);
    EXPECT_EQ(GetInt(stream, "GVSPPacketSize"), 8228);
    EXPECT_EQ(sim.ZvkFeatureCommandRun(camera, "Width"), ZvkErrorWrongType);
    EXPECT_EQ(sim.ZvkFeatureCommandRun(camera, "GVSPAdjustPacketSize"), ZvkErrorNotFound);
    EXPECT_EQ(sim.ZvkCameraClose(camera), ZvkErrorSuccess);
}

TEST_F(FeatureTest, ValuesStayAcrossClosingUntilAReset)
{
    Start();
    ZvkHandle_t camera = Open(Legacy);
    EXPECT_EQ(sim.ZvkFeatureFloatSet(camera, "ExposureTimeAbs", 777.0), ZvkErrorSuccess);
    EXPECT_EQ(sim.ZvkCameraClose(camera), ZvkErrorSuccess);
    camera = Open(Legacy);
    double exposure = 0;
    EXPECT_EQ(sim.ZvkFeatureFloatGet(camera, "ExposureTimeAbs", &exposure), ZvkErrorSuccess);
    EXPECT_EQ(exposure, 777.0);
    Run(camera, "DeviceReset");
    EXPECT_EQ(sim.ZvkFeatureFloatGet(camera, "ExposureTimeAbs", &exposure), ZvkErrorSuccess);
    EXPECT_EQ(exposure, 20000.0);
    EXPECT_EQ(sim.ZvkCameraClose(camera), ZvkErrorSuccess);
}

TEST_F(FeatureTest, SettingsGoToAFileAndBack)
{
    const std::string path = testing::TempDir() + "simulated_settings.txt";
    Start();
    const ZvkHandle_t camera = Open(Mono);
    EXPECT_EQ(sim.ZvkFeatureIntSet(camera, "Width", 640), ZvkErrorSuccess);
    EXPECT_EQ(sim.ZvkFeatureIntSet(camera, "OffsetX", 1200), ZvkErrorSuccess);
    EXPECT_EQ(sim.ZvkFeatureFloatSet(camera, "Gain", 3.5), ZvkErrorSuccess);
    EXPECT_EQ(sim.ZvkSettingsSave(camera, path.c_str()), ZvkErrorSuccess);
    Run(camera, "DeviceReset");
    EXPECT_EQ(GetInt(camera, "Width"), 2592);
    EXPECT_EQ(sim.ZvkSettingsLoad(camera, path.c_str()), ZvkErrorSuccess);
    EXPECT_EQ(GetInt(camera, "Width"), 640);
    EXPECT_EQ(GetInt(camera, "OffsetX"), 1200);
    double gain = 0;
    EXPECT_EQ(sim.ZvkFeatureFloatGet(camera, "Gain", &gain), ZvkErrorSuccess);
    EXPECT_EQ(gain, 3.5);
    EXPECT_EQ(sim.ZvkSettingsLoad(camera, (path + ".none").c_str()), ZvkErrorNotFound);
    EXPECT_EQ(sim.ZvkCameraClose(camera), ZvkErrorSuccess);
    std::remove(path.c_str());
}

TEST_F(FeatureTest, MemoryHoldsTheBootstrapRegistersAndRoomOfItsOwn)
{
    Start();
    const ZvkHandle_t camera = Open(Mono);
    char text[32] = "";
    std::uint32_t size = 0;
    EXPECT_EQ(sim.ZvkMemoryRead(camera, 0x68, sizeof(text), text, &size), ZvkErrorSuccess);
    EXPECT_STREQ(text, "Simulated GigE Mono 5M");
    EXPECT_EQ(sim.ZvkMemoryWrite(camera, 0x68, 4, "none", &size), ZvkErrorInvalidAccess);
    EXPECT_EQ(sim.ZvkMemoryWrite(camera, 0x1FFE, 4, "abcd", &size), ZvkErrorIncomplete);
    EXPECT_EQ(size, 2U);
    EXPECT_EQ(sim.ZvkMemoryRead(camera, 0x1FFE, 2, text, &size), ZvkErrorSuccess);
    EXPECT_EQ(std::string(text, 2), "ab");
    EXPECT_EQ(sim.ZvkCameraClose(camera), ZvkErrorSuccess);
}

TEST_F(FeatureTest, ListenersHearOfDependentFeatures)
{
    struct Heard
    {
        std::mutex mutex;
        std::condition_variable changed;
        std::vector<std::string> names;
    } heard;
    const ZvkInvalidationCallback listen = [](ZvkHandle_t, const char* name, void* context) {
        auto* to = static_cast<Heard*>(context);
        const std::lock_guard<std::mutex> lock(to->mutex);
        to->names.emplace_back(name);
        to->changed.notify_all();
    };
    Start();
    const ZvkHandle_t camera = Open(Mono);
    EXPECT_EQ(sim.ZvkFeatureInvalidationRegister(camera, "PayloadSize", listen, &heard), ZvkErrorSuccess);
    EXPECT_EQ(sim.ZvkFeatureIntSet(camera, "Width", 640), ZvkErrorSuccess);
    {
        std::unique_lock<std::mutex> lock(heard.mutex);
        EXPECT_TRUE(
            heard.changed.wait_for(lock, std::chrono::seconds(10), [&] { return !heard.names.empty(); }));
        EXPECT_EQ(heard.names, std::vector<std::string>{"PayloadSize"});
    }
    EXPECT_EQ(sim.ZvkFeatureInvalidationUnregister(camera, "PayloadSize", listen), ZvkErrorSuccess);
    EXPECT_EQ(sim.ZvkFeatureInvalidationUnregister(camera, "PayloadSize", listen), ZvkErrorNotFound);
    EXPECT_EQ(sim.ZvkCameraClose(camera), ZvkErrorSuccess);
}

TEST_F(FeatureTest, ModulesAroundTheCameraHaveFeatures)
{
    const char* const vendors[] = {"Halvane Imaging", "Open Transport Works", "Halvane Imaging",
                                   "Open Transport Works"};
    Start();
    std::vector<ZvkCameraInfo_t> cameras(4);
    std::uint32_t count = 0;
    ASSERT_EQ(sim.ZvkCamerasList(cameras.data(), 4, &count, sizeof(ZvkCameraInfo_t)), ZvkErrorSuccess);
    ASSERT_EQ(count, 4U);
    for (std::size_t i = 0; i < count; ++i) {
        char text[64] = "";
        std::uint32_t size = 0;
        EXPECT_EQ(sim.ZvkFeatureStringGet(cameras[i].transportLayerHandle, "TLVendorName", text, sizeof(text),
                                          &size),
                  ZvkErrorSuccess);
        EXPECT_STREQ(text, vendors[i]);
        EXPECT_EQ(cameras[i].streamHandles, nullptr);
    }
}

} // namespace
} // namespace maravel::test
