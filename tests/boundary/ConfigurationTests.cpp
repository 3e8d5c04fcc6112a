// SetupCommonParams: what it writes to which camera in which order, and what each failure leads to.
#include "boundary/AdapterTest.h"

#include "sdk/ZvkTypes.h"

namespace maravel::test {

namespace {

class ConfigurationTest : public AdapterTest
{
protected:
    // What the calls that begin so were passed, without the results of those that succeeded.
    std::vector<std::string> Passed(const std::vector<std::string>& beginnings)
    {
        std::vector<std::string> passed;
        for (const std::string& call : sdk.Calls(" = 0")) {
            if (std::any_of(beginnings.begin(), beginnings.end(),
                            [&](const std::string& beginning) { return call.starts_with(beginning); })) {
                passed.push_back(call.substr(call.find(',') + 2));
            }
        }
        return passed;
    }
};

// Those that name a mode stand in the written session.
TEST_F(ConfigurationTest, FlagsThatNameNoTriggerModeStillWriteFeatures)
{
    constexpr const char* kFrames = "TriggerSelector, FrameStart)";
    constexpr const char* kStart = "TriggerSelector, AcquisitionStart)";
    struct Row
    {
        int continuous, triggered;
        const char* turnedOff; // the trigger that is turned off
        const char* set;       // the one that is set next
        const char* mode;
    };
    const Row rows[] = {
        {2, 0, kStart, kFrames, "Off"},
        {2, 1, kStart, kFrames, "On"},
        {0, 2, kFrames, kStart, "On"},
    };
    Open();
    ASSERT_EQ(Configure(0), 0);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.mode);
        for (const char* selector : {"AcquisitionStart", "FrameStart"}) {
            ASSERT_EQ(Write(0, "TriggerSelector", selector), 0);
            ASSERT_EQ(Write(0, "TriggerSource", "Software"), 0);
        }
        sdk.SimClearCalls();
        ClearLog();
        EXPECT_EQ(Configure(0, row.continuous, row.triggered), 0);
        std::vector<std::string> writes = {row.turnedOff, "TriggerMode, Off)", row.set,
                                           std::string("TriggerMode, ") + row.mode + ")"};
        if (row.triggered != 0) {
            writes.emplace_back("TriggerSource)"); // read: software is no hardware's source
        }
        writes.emplace_back(row.triggered != 0 ? "TriggerSource, Line0)" : "TriggerSource, Software)");
        writes.insert(writes.end(), {"AcquisitionMode, Continuous)", "TriggerActivation, RisingEdge)"});
        EXPECT_EQ(Passed({"ZvkFeatureEnumSet", "ZvkFeatureEnumGet(camera 0, TriggerSource",
                          "ZvkFeatureEnumGet(camera 2, TriggerSource"}),
                  writes);
        EXPECT_EQ(CountInLog("SetupCommonParams: INFO: acqContinuous=" + std::to_string(row.continuous) +
                             ", acqTriggered=" + std::to_string(row.triggered) + ", acqTriggerLowToHigh=1"),
                  1);
        EXPECT_FALSE(IsInLog("Trigger Mode = "));
    }
}

TEST_F(ConfigurationTest, ACameraThatTriggersItselfGetsALine)
{
    Open();
    ASSERT_EQ(Configure(0, 1, 1), 0);
    Replace("ZvkFeatureEnumGet", [](ZvkHandle_t, const char*, const char** entry) {
        *entry = "Freerun";
        return ZvkErrorSuccess;
    });
    ClearLog();
    EXPECT_EQ(Configure(0, 1, 1), 0);
    EXPECT_EQ(CountInLog("ResetTriggerSource: Set to 'Line0'"), 1);
}

TEST_F(ConfigurationTest, ALineThatTheUserChoseStays)
{
    Open();
    CommonParams params = Params(1, 1);
    params.acqTriggerLowToHigh = 0;
    ASSERT_EQ(Configure(0, params), 0);
    ASSERT_EQ(Write(0, "TriggerSource", "Line1"), 0);
    sdk.SimClearCalls();
    ClearLog();
    EXPECT_EQ(Configure(0, params), 0);
    EXPECT_EQ(CountInLog("ResetTriggerSource: Set to 'Line0'"), 0);
    EXPECT_EQ(CountInLog("SetTriggerActivation: Set to 'FallingEdge'"), 1);
    EXPECT_EQ(Read(0, "TriggerSource"), "Line1");
}

TEST_F(ConfigurationTest, AnOldCameraIsTriggeredByItsExposureMode)
{
    Open();
    for (const auto& [triggered, entry] : {std::pair{1, "Timed"}, std::pair{0, "Off"}}) {
        sdk.SimClearCalls();
        ClearLog();
        EXPECT_EQ(Configure(2, 1, triggered), 0) << TextNow();
        EXPECT_EQ(CountInLog("SetTriggerSelector: WARNING. TriggerSelector not supported."), 2);
        EXPECT_EQ(CountInLog("SetTriggerActivation: WARNING. TriggerActivation not supported."), 1);
        EXPECT_EQ(CountInLog(std::string("SetExposureMode: Set to '") + entry + "'"), 1);
        EXPECT_EQ(CountInLog("SetupCommonParams: INFO: ExposureTimeAbs set to: 10000.000000us."), 1);
        EXPECT_EQ(TextNow(), "");
    }
}

TEST_F(ConfigurationTest, AutomaticExposureOwnsTheExposureTime)
{
    Open();
    ASSERT_EQ(Write(0, "ExposureAuto", "Continuous"), 0);
    sdk.SimClearCalls();
    ClearLog();
    EXPECT_EQ(Configure(0), 0);
    EXPECT_EQ(CountInLog("SetupCommonParams: bExposureAutoOff=0"), 1);
    EXPECT_EQ(sdk.SimCallCount("ZvkFeatureFloatSet"), 0u);
    ASSERT_EQ(Write(0, "ExposureAuto", "Off"), 0);
    sdk.SimFailCall("ZvkFeatureEnumGet", 1, -3, 0); // as a camera without the feature answers
    ClearLog();
    EXPECT_EQ(Configure(0), 0);
    EXPECT_EQ(CountInLog("SetupCommonParams: bExposureAutoOff=1"), 1);
    EXPECT_EQ(CountInLog("SetupCommonParams: INFO: ExposureTime set to: 10000.000000us."), 1);
}

TEST_F(ConfigurationTest, RegionOfInterest)
{
    struct Row
    {
        std::int32_t x, y, width, height;
        std::vector<std::string> writes;
    };
    // clang-format off
    const Row rows[] = {
        {0, 0, 100'000, 4000, {"OffsetX, 0)", "OffsetY, 0)", "Width, 64)", "Height, 48)", "OffsetX, 0)", "OffsetY, 0)"}},
        {16, 8, 32, 24, {"OffsetX, 0)", "OffsetY, 0)", "Width, 32)", "Height, 24)", "OffsetX, 16)", "OffsetY, 8)"}},
    };
    // clang-format on
    Open();
    for (const Row& row : rows) {
        CommonParams params = Params(1, 0);
        params.roix = row.x;
        params.roiy = row.y;
        params.roiwidth = row.width;
        params.roiheight = row.height;
        sdk.SimClearCalls();
        EXPECT_EQ(Configure(0, params), 0) << TextNow();
        EXPECT_EQ(Passed({"ZvkFeatureIntSet"}), row.writes);
    }
}

TEST_F(ConfigurationTest, Failures)
{
    ExpectErrors();
    struct Row
    {
        std::vector<SimFault> faults;
        std::int64_t channel;
        std::int32_t result;
        std::vector<std::string> reported; // in this order; the last one stays in the text buffer
    };
    const std::string setup = "SetupCommonParams: ";
    // clang-format off
    const Row rows[] = {
        {{{"ZvkFeatureFloatSet", 1, -11, 0}}, 0, 1, {setup + "ERROR. ZvkFeatureFloatSet ExposureTime failed. ChannelID=0. Reason=ZvkErrorInvalidValue (-11)"}},
        {{{"ZvkFeatureFloatSet", 1, -11, 0}}, 2, 1, {setup + "ERROR. ZvkFeatureFloatSet ExposureTimeAbs failed. ChannelID=2. Reason=ZvkErrorInvalidValue (-11)"}},
        {{{"ZvkFeatureEnumSet", 1, -18, 0}}, 0, 0, {"SetTriggerSelector: ERROR. ZvkFeatureEnumSet TriggerSelector failed. ChannelID=0. Reason=ZvkErrorNotSupported (-18)"}},
        {{{"ZvkFeatureEnumSet", 2, -18, 0}}, 0, 0, {"SetTriggerMode: ERROR. ZvkFeatureEnumSet TriggerMode failed. ChannelID=0. Reason=ZvkErrorNotSupported (-18)"}},
        {{{"ZvkFeatureEnumSet", 5, -18, 0}}, 0, 0, {"SetTriggerSource: ERROR. ZvkFeatureEnumSet TriggerSource failed. ChannelID=0. Reason=ZvkErrorNotSupported (-18)"}},
        {{{"ZvkFeatureEnumSet", 6, -18, 0}}, 0, 0, {"SetAcquisitionMode: ERROR. ZvkFeatureEnumSet AcquisitionMode failed. ChannelID=0. Reason=ZvkErrorNotSupported (-18)"}},
        {{{"ZvkFeatureEnumSet", 7, -18, 0}}, 0, 0, {"SetTriggerActivation: ERROR. ZvkFeatureEnumSet TriggerActivation failed. ChannelID=0. Reason=ZvkErrorNotSupported (-18)"}},
        {{{"ZvkFeatureEnumSet", 3, -18, 0}}, 2, 0, {"SetExposureMode: ERROR. ZvkFeatureEnumSet ExposureMode failed. ChannelID=2. Reason=ZvkErrorNotSupported (-18)"}},
        {{{"ZvkFeatureIntSet", 1, -6, 0}}, 0, 0, {setup + "WARNING. ZvkFeatureIntSet OffsetX=0 failed. ChannelID=0. Reason=ZvkErrorInvalidAccess (-6)"}},
        {{{"ZvkFeatureIntSet", 2, -6, 0}}, 0, 0, {setup + "WARNING. ZvkFeatureIntSet OffsetY=0 failed. ChannelID=0. Reason=ZvkErrorInvalidAccess (-6)"}},
        {{{"ZvkFeatureIntSet", 3, -11, 0}}, 0, 1, {setup + "ERROR. ZvkFeatureIntSet Width=64 failed. ChannelID=0. Reason=ZvkErrorInvalidValue (-11)"}},
        {{{"ZvkFeatureIntSet", 4, -11, 0}}, 0, 1, {setup + "ERROR. ZvkFeatureIntSet Height=48 failed. ChannelID=0. Reason=ZvkErrorInvalidValue (-11)"}},
        {{{"ZvkFeatureIntSet", 5, -3, 0}}, 0, 0, {setup + "WARNING. ZvkFeatureIntSet OffsetX=0 failed. ChannelID=0. Reason=ZvkErrorNotFound (-3)"}},
        {{{"ZvkFeatureIntSet", 6, -3, 0}}, 0, 0, {setup + "WARNING. ZvkFeatureIntSet OffsetY=0 failed. ChannelID=0. Reason=ZvkErrorNotFound (-3)"}},
        {{{"ZvkFeatureIntSet", 5, -1, 0}}, 0, 1, {setup + "ERROR. ZvkFeatureIntSet OffsetX=0 failed. ChannelID=0. Reason=ZvkErrorInternalFault (-1)"}},
        {{{"ZvkFeatureIntSet", 6, -1, 0}}, 0, 1, {setup + "ERROR. ZvkFeatureIntSet OffsetY=0 failed. ChannelID=0. Reason=ZvkErrorInternalFault (-1)"}},
        // After the first hard error the region's steps keep quiet but go on; clearing the offsets still warns.
        {{{"ZvkFeatureFloatSet", 1, -11, 0}, {"ZvkFeatureIntSet", 1, -3, 1}}, 0, 1, {setup + "ERROR. ZvkFeatureFloatSet ExposureTime failed. ChannelID=0. Reason=ZvkErrorInvalidValue (-11)", setup + "WARNING. ZvkFeatureIntSet OffsetX=0 failed. ChannelID=0. Reason=ZvkErrorNotFound (-3)", setup + "WARNING. ZvkFeatureIntSet OffsetY=0 failed. ChannelID=0. Reason=ZvkErrorNotFound (-3)"}},
        {{{"ZvkFeatureIntSet", 1, -1, 1}}, 0, 1, {setup + "WARNING. ZvkFeatureIntSet OffsetX=0 failed. ChannelID=0. Reason=ZvkErrorInternalFault (-1)", setup + "WARNING. ZvkFeatureIntSet OffsetY=0 failed. ChannelID=0. Reason=ZvkErrorInternalFault (-1)", setup + "ERROR. ZvkFeatureIntSet Width=64 failed. ChannelID=0. Reason=ZvkErrorInternalFault (-1)"}},
    };
    // clang-format on
    Open();
    ASSERT_EQ(Configure(0), 0);
    ASSERT_EQ(Configure(2), 0);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.reported.back());
        ClearLog();
        sdk.SimClearCalls();
        sdk.SimFailCalls(row.faults.data(), static_cast<std::uint32_t>(row.faults.size()));
        EXPECT_EQ(Configure(row.channel), row.result);
        EXPECT_EQ(TextNow(), row.reported.back());
        std::vector<std::string> reported;
        for (const std::string& line : Log()) {
            const bool unsupported = line.find("not supported") != std::string::npos;
            if (!unsupported &&
                (line.find("ERROR") != std::string::npos || line.find("WARNING") != std::string::npos)) {
                reported.push_back(line);
            }
        }
        EXPECT_EQ(reported, row.reported);
        EXPECT_EQ(sdk.SimCallCount("ZvkFeatureIntSet"), 6u) << "every write is tried";
        ResetSdk();
    }
}

TEST_F(ConfigurationTest, HardwareSourceFailures)
{
    ExpectErrors();
    Open();
    ASSERT_EQ(Configure(0), 0);
    sdk.SimFailCall("ZvkFeatureEnumGet", 2, -5, 0);
    EXPECT_EQ(Configure(0, 1, 1), 0);
    EXPECT_EQ(
        TextNow(),
        "ResetTriggerSource: ERROR. ZvkFeatureEnumGet TriggerSource failed. ChannelID=0. Reason=ZvkErrorDeviceNotOpen (-5)");
    sdk.SimFailCall("ZvkFeatureEnumSet", 5, -5, 0);
    EXPECT_EQ(Configure(0, 1, 1), 0);
    EXPECT_EQ(
        TextNow(),
        "ResetTriggerSource: ERROR. ZvkFeatureEnumSet TriggerSource failed. ChannelID=0. Reason=ZvkErrorDeviceNotOpen (-5)");
}

TEST_F(ConfigurationTest, UnreadableMaximaOnlyWarnInTheLog)
{
    ExpectErrors();
    Open();
    ASSERT_EQ(Configure(0), 0);
    CommonParams params = Params(1, 0);
    params.roiwidth = 32;
    params.roiheight = 24;
    sdk.SimFailCall("ZvkFeatureIntGet", 1, -3, 1);
    EXPECT_EQ(Configure(0, params), 0);
    EXPECT_EQ(TextNow(), "");
    EXPECT_EQ(
        CountInLog(
            "SetupCommonParams: WARNING. ZvkFeatureIntGet WidthMax failed. ChannelID=0. Reason=ZvkErrorNotFound (-3)"),
        1);
    EXPECT_EQ(
        CountInLog(
            "SetupCommonParams: WARNING. ZvkFeatureIntGet HeightMax failed. ChannelID=0. Reason=ZvkErrorNotFound (-3)"),
        1);
}

TEST_F(ConfigurationTest, ACameraWithoutOffsets)
{
    const std::string description = kTestCameras + "remove = [\"OffsetX\"]\n";
    sdk.SimSetDescription(description.c_str());
    ExpectErrors();
    Open();
    ClearLog();
    EXPECT_EQ(Configure(2), 0);
    const std::string warning =
        "SetupCommonParams: WARNING. ZvkFeatureIntSet OffsetX=0 failed. ChannelID=2. Reason=ZvkErrorNotFound (-3)";
    EXPECT_EQ(TextNow(), warning);
    EXPECT_EQ(CountInLog(warning), 2);
    CommonParams params = Params(1, 0);
    params.roix = 16;
    EXPECT_EQ(Configure(2, params), 1);
    EXPECT_EQ(
        TextNow(),
        "SetupCommonParams: ERROR. ZvkFeatureIntSet OffsetX=16 failed. ChannelID=2. Reason=ZvkErrorNotFound (-3)");
}

TEST_F(ConfigurationTest, ACameraWithoutTriggerModeIsNotAskedForIt)
{
    const std::string description = kTestCameras + "remove = [\"TriggerMode\"]\n";
    sdk.SimSetDescription(description.c_str());
    Open();
    sdk.SimClearCalls();
    EXPECT_EQ(Configure(2), 0);
    EXPECT_EQ(TextNow(), "");
    for (const std::string& call : sdk.Calls()) {
        EXPECT_EQ(call.find("TriggerMode"), std::string::npos) << call;
    }
    EXPECT_EQ(CountInLog("SetExposureMode: Set to 'Off'"), 1);
}

TEST_F(ConfigurationTest, AClosedCameraIsOpenedOnceAndItsPacketSizeAdjusted)
{
    ExpectErrors();
    Open();
    sdk.SimClearCalls();
    sdk.SimFailCall("ZvkCameraOpen", 1, -27, 0);
    EXPECT_EQ(Configure(0), 1);
    EXPECT_EQ(
        TextNow(),
        "SetupCommonParams: ERROR. Error while opening camera. channelID=0. Reason=ZvkErrorInUse (-27)");
    EXPECT_EQ(sdk.SimCallCount(nullptr), 1u);
    EXPECT_EQ(Configure(0), 0);
    EXPECT_EQ(Configure(0), 0);
    EXPECT_EQ(sdk.SimCallCount("ZvkCameraOpen"), 2u);
    EXPECT_EQ(sdk.SimCallCount("ZvkCameraInfoQueryByHandle"), 1u);
    EXPECT_EQ(CountInLog("SetupCommonParams: Camera OPENED successfully. channelID 0 (Mono [T0])"), 1);
}

} // namespace

} // namespace maravel::test
