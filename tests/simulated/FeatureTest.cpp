// Features of the cameras that come with the library: values, limits, access and dependencies.
#include "simulated/SimulatedTest.h"

#include <cstdio>
#include <future>
#include <set>

namespace maravel::test {
namespace {

using FeatureTest = SimulatedTest;
using Names = std::set<std::string>;

TEST_F(FeatureTest, ListsAreRealisticAndDifferWhereItMatters)
{
    struct Row
    {
        Camera camera;
        Names present;
        Names absent;
    };
    const Row rows[] = {
        {Mono, {"ExposureTime", "TriggerSelector", "TriggerSource", "GevSCPSPacketSize"}, {"BalanceRatio"}},
        {Bayer, {"ExposureTime", "BalanceRatio", "PixelColorFilter"}, {"ExposureTimeAbs"}},
        {Usb, {"U3vVersionMajor", "BalanceWhiteAuto"}, {"GevSCPSPacketSize"}},
        {Legacy,
         {"ExposureTimeAbs", "ExposureMode", "TriggerMode"},
         {"ExposureTime", "TriggerSource", "TriggerSelector", "TriggerActivation"}},
    };
    Start();
    for (const Row& row : rows) {
        SCOPED_TRACE(row.camera);
        camera = OpenAnother(row.camera);
        ZvkFeatureInfo_t features[150];
        std::uint32_t count = 0;
        EXPECT_OK(sim.ZvkFeaturesList(camera, features, 150, &count, sizeof(ZvkFeatureInfo_t)));
        EXPECT_GE(count, 60U);
        Names names;
        std::set<std::uint32_t> types;
        for (std::uint32_t i = 0; i < count; ++i) {
            EXPECT_TRUE(names.insert(features[i].name).second) << features[i].name;
            types.insert(features[i].featureDataType);
            EXPECT_STRNE(features[i].description, "") << features[i].name;
        }
        EXPECT_EQ(types, (std::set<std::uint32_t>{1, 2, 3, 4, 5, 6, 7}));
        for (const std::string& name : row.present) {
            EXPECT_EQ(names.count(name), 1U) << name;
        }
        for (const std::string& name : row.absent) {
            EXPECT_EQ(names.count(name), 0U) << name;
        }
        Release();
        EXPECT_EQ(names.count(features[0].name), 1U) << "texts outlive the camera";
    }
}

TEST_F(FeatureTest, IntegersKeepToTheirLimits)
{
    struct Write
    {
        const char* name;
        std::int64_t value;
        ZvkError_t result;
    };
    constexpr Write writes[] = {
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
        {"AcquisitionFrameCount", 2, ZvkErrorNotAvailable},
        {"DeviceLinkThroughputLimit", 1000000, ZvkErrorInvalidAccess},
        {"ExposureTime", 5, ZvkErrorWrongType},
    };
    Open(Mono);
    for (const Write& write : writes) {
        EXPECT_EQ(sim.ZvkFeatureIntSet(camera, write.name, write.value), write.result)
            << write.name << " = " << write.value;
    }
    EXPECT_EQ(GetInt("WidthMax"), 1296);
    EXPECT_EQ(GetInt("Width"), 1296);
    std::int64_t low = 0;
    std::int64_t high = 0;
    EXPECT_OK(sim.ZvkFeatureIntRangeQuery(camera, "Width", &low, &high));
    EXPECT_EQ(low, 16);
    EXPECT_EQ(high, 1296);
}

TEST_F(FeatureTest, OtherTypesRefuseWhatDoesNotFit)
{
    Open(Mono);
    SetFloat("ExposureTime", 20000.0);
    EXPECT_EQ(sim.ZvkFeatureFloatSet(camera, "Width", 9.9), ZvkErrorWrongType);
    SetEnum("ExposureAuto", "Continuous");
    EXPECT_EQ(sim.ZvkFeatureFloatSet(camera, "ExposureTime", 30000.0), ZvkErrorInvalidAccess);
    EXPECT_EQ(GetFloat("ExposureTime"), 20000.0);

    EXPECT_EQ(sim.ZvkFeatureEnumSet(camera, "PixelFormat", "BayerRG8"), ZvkErrorInvalidValue);
    SetEnum("PixelFormat", "Mono12Packed");
    EXPECT_EQ(GetInt("PayloadSize"), 2592 * 1944 * 3 / 2);

    EXPECT_EQ(sim.ZvkFeatureStringSet(camera, "DeviceUserID", std::string(64, 'x').c_str()),
              ZvkErrorInvalidValue);

    ZvkBool_t flag = 7;
    EXPECT_OK(sim.ZvkFeatureBoolSet(camera, "ReverseX", 5));
    EXPECT_OK(sim.ZvkFeatureBoolGet(camera, "ReverseX", &flag));
    EXPECT_EQ(flag, 1);

    std::uint32_t length = 0;
    EXPECT_OK(sim.ZvkFeatureRawLengthQuery(camera, "LUTValueAll", &length));
    std::vector<char> table(length, 'x');
    EXPECT_EQ(sim.ZvkFeatureRawSet(camera, "LUTValueAll", table.data(), length - 1), ZvkErrorInvalidValue);
    EXPECT_OK(sim.ZvkFeatureRawSet(camera, "LUTValueAll", table.data(), length));
    EXPECT_EQ(GetInt("LUTValue"), 'x');
}

TEST_F(FeatureTest, SelectorsKeepAValueEach)
{
    Open(Mono);
    SetEnum("TriggerSelector", "AcquisitionStart");
    SetEnum("TriggerMode", "On");
    SetEnum("TriggerSource", "Line1");
    SetEnum("TriggerSelector", "FrameStart");
    EXPECT_EQ(GetEnum("TriggerMode"), "Off");
    SetEnum("TriggerSelector", "AcquisitionStart");
    EXPECT_EQ(GetEnum("TriggerSource"), "Line1");
    EXPECT_EQ(sim.ZvkFeatureCommandRun(camera, "TriggerSoftware"), ZvkErrorInvalidAccess);
    std::uint32_t count = 0;
    EXPECT_OK(
        sim.ZvkFeatureListSelected(camera, "TriggerSelector", nullptr, 0, &count, sizeof(ZvkFeatureInfo_t)));
    EXPECT_EQ(count, 5U);
}

TEST_F(FeatureTest, StreamingLocksWhatShapesTheImage)
{
    Open(Bayer);
    const auto writable = [&](const char* name) {
        ZvkBool_t readable = 0;
        ZvkBool_t writeable = 0;
        EXPECT_OK(sim.ZvkFeatureAccessQuery(camera, name, &readable, &writeable)) << name;
        return writeable == 1;
    };
    for (const bool streaming : {false, true, false}) {
        Run(streaming ? "AcquisitionStart" : "AcquisitionStop");
        for (const char* name : {"Width", "Height", "PixelFormat", "ReverseX", "BinningVertical"}) {
            EXPECT_EQ(writable(name), !streaming) << name;
        }
        EXPECT_TRUE(writable("ExposureTime"));
    }
}

TEST_F(FeatureTest, CommandsTakeTheirTimeAndCanBeHeld)
{
    constexpr const char* command = "GVSPAdjustPacketSize";
    Open(Mono);
    ZvkHandle_t unused = nullptr;
    ZvkHandle_t stream = nullptr;
    ASSERT_OK(sim.SimCameraHandles(Mono, &unused, &stream));
    const std::int64_t before = GetInt(stream, "GVSPPacketSize");
    EXPECT_OK(sim.SimHoldCommand(Mono, command, 1));
    EXPECT_OK(sim.ZvkFeatureCommandRun(stream, command));
    std::this_thread::sleep_for(std::chrono::milliseconds(400)); // longer than it takes
    ZvkBool_t done = 1;
    EXPECT_OK(sim.ZvkFeatureCommandIsDone(stream, command, &done));
    EXPECT_EQ(done, 0);
    EXPECT_EQ(GetInt(stream, "GVSPPacketSize"), before);
    EXPECT_OK(sim.SimHoldCommand(Mono, command, 0));
    EXPECT_OK(sim.ZvkFeatureCommandIsDone(stream, command, &done));
    EXPECT_EQ(done, 1);
    EXPECT_EQ(GetInt(stream, "GVSPPacketSize"), 8228);
}

TEST_F(FeatureTest, ValuesStayAcrossClosingUntilAReset)
{
    Open(Legacy);
    SetFloat("ExposureTimeAbs", 777.0);
    Release();
    camera = OpenAnother(Legacy);
    EXPECT_EQ(GetFloat("ExposureTimeAbs"), 777.0);
    Run("DeviceReset");
    EXPECT_EQ(GetFloat("ExposureTimeAbs"), 20000.0);
}

TEST_F(FeatureTest, SettingsGoToAFileAndBack)
{
    const std::string path = testing::TempDir() + "simulated_settings.txt";
    Open(Mono);
    SetInt("Width", 640);
    SetInt("OffsetX", 1200);
    SetFloat("Gain", 3.5);
    EXPECT_OK(sim.ZvkSettingsSave(camera, path.c_str()));
    Run("DeviceReset");
    EXPECT_EQ(GetInt("Width"), 2592);
    EXPECT_OK(sim.ZvkSettingsLoad(camera, path.c_str()));
    EXPECT_EQ(GetInt("Width"), 640);
    EXPECT_EQ(GetInt("OffsetX"), 1200);
    EXPECT_EQ(GetFloat("Gain"), 3.5);
    EXPECT_EQ(sim.ZvkSettingsLoad(camera, (path + ".none").c_str()), ZvkErrorNotFound);
    std::remove(path.c_str());
}

TEST_F(FeatureTest, MemoryHoldsTheBootstrapRegistersAndRoomOfItsOwn)
{
    Open(Mono);
    char text[32] = "";
    std::uint32_t size = 0;
    EXPECT_OK(sim.ZvkMemoryRead(camera, 0x68, sizeof(text), text, &size));
    EXPECT_STREQ(text, "Simulated GigE Mono 5M");
    EXPECT_EQ(sim.ZvkMemoryWrite(camera, 0x68, 4, "none", &size), ZvkErrorInvalidAccess);
    EXPECT_EQ(sim.ZvkMemoryWrite(camera, 0x1FFE, 4, "abcd", &size), ZvkErrorIncomplete);
    EXPECT_EQ(size, 2U);
    EXPECT_OK(sim.ZvkMemoryRead(camera, 0x1FFE, 2, text, &size));
    EXPECT_EQ(std::string(text, 2), "ab");
}

TEST_F(FeatureTest, ListenersHearOfDependentFeatures)
{
    std::promise<std::string> heard; // once: a second call would end the program
    const ZvkInvalidationCallback listen = [](ZvkHandle_t, const char* name, void* context) {
        static_cast<std::promise<std::string>*>(context)->set_value(name);
    };
    std::future<std::string> name = heard.get_future();
    Open(Mono);
    EXPECT_OK(sim.ZvkFeatureInvalidationRegister(camera, "PayloadSize", listen, &heard));
    SetInt("Width", 640);
    ASSERT_EQ(name.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    EXPECT_EQ(name.get(), "PayloadSize");
    EXPECT_OK(sim.ZvkFeatureInvalidationUnregister(camera, "PayloadSize", listen));
    EXPECT_EQ(sim.ZvkFeatureInvalidationUnregister(camera, "PayloadSize", listen), ZvkErrorNotFound);
}

} // namespace
} // namespace maravel::test
