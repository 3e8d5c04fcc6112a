// Channel opening: what the host finds in its descriptor, and every way in which opening can fail.
#include "boundary/AdapterTest.h"

#include "sdk/ZvkTypes.h"

#include <algorithm>
#include <cstring>
#include <functional>

namespace maravel::test {

namespace {

class OpeningTest : public AdapterTest
{
};

template <class T>
T At(const unsigned char* bytes, std::size_t offset)
{
    T value;
    std::memcpy(&value, bytes + offset, sizeof value);
    return value;
}

TEST_F(OpeningTest, DescriptorHoldsEveryFieldAtItsOffset)
{
    Guarded<VideoChannelDescriptor> descriptor(684);
    ASSERT_EQ(GetVideoChannel(0, descriptor.Get()), 0);
    const unsigned char* bytes = descriptor.Bytes();
    EXPECT_EQ(At<std::int32_t>(bytes, 0), 684);
    EXPECT_EQ(At<std::uint32_t>(bytes, 4), 0xA5A5A5A5u);
    EXPECT_EQ(At<std::int64_t>(bytes, 8), 0);
    std::vector<std::uint64_t> callbacks;
    for (const std::size_t offset :
         {16u, 24u, 32u, 40u, 48u, 56u, 64u, 72u, 80u, 640u, 648u, 656u, 664u, 672u}) {
        callbacks.push_back(At<std::uint64_t>(bytes, offset));
        EXPECT_NE(callbacks.back(), 0u) << offset;
        EXPECT_NE(callbacks.back(), 0xA5A5A5A5A5A5A5A5u) << offset;
    }
    std::sort(callbacks.begin(), callbacks.end());
    EXPECT_EQ(std::adjacent_find(callbacks.begin(), callbacks.end()), callbacks.end())
        << "two slots, one callback";
    EXPECT_STREQ(reinterpret_cast<const char*>(bytes + 88), "Zorvik/HVN TL: Mono");
    EXPECT_STREQ(reinterpret_cast<const char*>(bytes + 344), "S-0");
    EXPECT_DOUBLE_EQ(At<double>(bytes, 600), 0.001);
    EXPECT_EQ(At<std::uint64_t>(bytes, 608), 0xA5A5A5A5A5A5A5A5u);
    EXPECT_EQ(At<std::uint64_t>(bytes, 616), 0xA5A5A5A5A5A5A5A5u);
    EXPECT_EQ(At<std::int32_t>(bytes, 624), 64);
    EXPECT_EQ(At<std::int32_t>(bytes, 628), 48);
    EXPECT_GT(At<double>(bytes, 632), 0.0);
    EXPECT_LT(At<double>(bytes, 632), 1000.0); // microseconds
    EXPECT_EQ(At<std::int32_t>(bytes, 680), 0);
}

TEST_F(OpeningTest, ExtendedCallbacksGoByStructSize)
{
    Open();
    EXPECT_DOUBLE_EQ(Channel(2).exposureTime, 0.002); // of "ExposureTimeAbs"
    for (const std::int32_t size : {-0x7FFFFFFF, -1, 0, 4, 88, 607, 608, 609, 684, 0x7FFFFFFF}) {
        SCOPED_TRACE(size);
        Guarded<VideoChannelDescriptor> descriptor(size);
        ASSERT_EQ(GetVideoChannel(1, descriptor.Get()), 0);
        const bool extended = size > 608;
        for (const std::size_t offset : {640u, 648u, 656u, 664u, 672u}) {
            EXPECT_EQ(At<std::uint64_t>(descriptor.Bytes(), offset) != 0xA5A5A5A5A5A5A5A5u, extended)
                << offset;
        }
        EXPECT_EQ(descriptor->width, 32);
        EXPECT_EQ(descriptor->openResult, 0);
        EXPECT_STREQ(descriptor->label, "Zorvik/Other: Color");
    }
}

TEST_F(OpeningTest, ACameraWithoutExposureLeavesTheHostsValues)
{
    const std::string description = kTestCameras + "remove = [\"ExposureTimeAbs\"]\n";
    sdk.SimSetDescription(description.c_str());
    Open();
    EXPECT_EQ(
        CountInLog(
            "InitializeVideoChannel: WARNING: Neither ExposureTime nor ExposureTimeAbs feature was found."),
        1);
    const auto* bytes = reinterpret_cast<const unsigned char*>(&Channel(2));
    EXPECT_EQ(At<std::uint64_t>(bytes, 600), 0xA5A5A5A5A5A5A5A5u);
    EXPECT_EQ(At<std::uint64_t>(bytes, 632), 0xA5A5A5A5A5A5A5A5u);
}

TEST_F(OpeningTest, ACameraWithoutAStreamIsOpened)
{
    static ZvkHandle_t stream;
    static ZvkCameraInfo_t answer;
    for (const auto& [count, handles] : {std::pair{0u, &stream}, {1u, static_cast<ZvkHandle_t*>(nullptr)}}) {
        answer.streamCount = count;
        answer.streamHandles = handles;
        Replace("ZvkCameraInfoQueryByHandle", [](ZvkHandle_t, ZvkCameraInfo_t* info, std::uint32_t) {
            *info = answer;
            return ZvkErrorSuccess;
        });
        ClearLog();
        Open();
        EXPECT_EQ(CountInLog("GigEAdjustPacketSize: StreamCount=0"), 3) << count;
    }
}

TEST_F(OpeningTest, FailuresOfTheSdk)
{
    ExpectErrors();
    struct Row
    {
        std::vector<SimFault> faults;
        int camera;
        const char* line; // what opening itself says, "" for nothing
        bool opened;      // whether the channel is handed out all the same
    };
    // clang-format off
    const Row rows[] = {
        {{{"ZvkCameraOpen", 1, -6, 0}}, 0, "InitializeVideoChannel: ERROR. Error while opening camera. ChannelID=0. Reason=ZvkErrorInvalidAccess (-6)", false},
        {{{"ZvkFeaturesList", 1, -3, 0}}, 0, "InitializeVideoChannel: ERROR. ZvkFeaturesList failed. ChannelID=0. Reason=ZvkErrorNotFound (-3)", false},
        {{{"ZvkFeaturesList", 2, -3, 0}}, 0, "", false},
        {{{"ZvkFeatureFloatGet", 1, -12, 0}}, 0, "InitializeVideoChannel: ERROR. ZvkFeatureFloatGet ExposureTime failed. ChannelID=0. Reason=ZvkErrorTimeout (-12)", false},
        {{{"ZvkFeatureFloatGet", 1, -12, 0}}, 2, "InitializeVideoChannel: ERROR. ZvkFeatureFloatGet ExposureTimeAbs failed. ChannelID=2. Reason=ZvkErrorTimeout (-12)", false},
        {{{"ZvkFeatureFloatRangeQuery", 1, -12, 0}}, 0, "InitializeVideoChannel: ERROR. ZvkFeatureFloatRangeQuery ExposureTime failed. ChannelID=0. Reason=ZvkErrorTimeout (-12)", false},
        {{{"ZvkFeatureFloatRangeQuery", 1, 1, 0}}, 2, "InitializeVideoChannel: ERROR. ZvkFeatureFloatRangeQuery ExposureTimeAbs failed. ChannelID=2. Reason=Unknown Zorvik Error (1)", false},
        {{{"ZvkFeatureIntGet", 1, -20, 0}}, 1, "InitializeVideoChannel: ERROR. ZvkFeatureIntGet Width failed. ChannelID=1. Reason=ZvkErrorIO (-20)", false},
        {{{"ZvkFeatureIntGet", 2, -20, 0}}, 1, "InitializeVideoChannel: ERROR. ZvkFeatureIntGet Height failed. ChannelID=1. Reason=ZvkErrorIO (-20)", false},
        {{{"ZvkCameraClose", 1, -23, 0}}, 0, "InitializeVideoChannel: ERROR. Error while closing camera. ChannelID=0. Reason=ZvkErrorUnspecified (-23)", true},
        {{{"ZvkFeatureStringGet", 1, -30, 0}}, 0, "", true},
        {{{"ZvkCameraInfoQueryByHandle", 1, -5, 0}}, 0, "GigEAdjustPacketSize: StreamCount=0", true},
        // Only the first failure to read a value is reported.
        {{{"ZvkFeatureFloatGet", 1, -12, 0}, {"ZvkFeatureIntGet", 1, -20, 1}}, 1, "InitializeVideoChannel: ERROR. ZvkFeatureFloatGet ExposureTime failed. ChannelID=1. Reason=ZvkErrorTimeout (-12)", false},
        {{{"ZvkFeatureIntGet", 1, -20, 1}}, 1, "InitializeVideoChannel: ERROR. ZvkFeatureIntGet Width failed. ChannelID=1. Reason=ZvkErrorIO (-20)", false},
    };
    // clang-format on
    const char* const names[] = {"Mono [T0]", "Color [T1]", "Old [T2]"};
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.faults[0].entry) + " " + std::to_string(row.faults[0].nth));
        Open();
        ClearLog();
        sdk.SimFailCalls(row.faults.data(), static_cast<std::uint32_t>(row.faults.size()));
        Guarded<VideoChannelDescriptor> descriptor(684);
        EXPECT_EQ(GetVideoChannel(row.camera, descriptor.Get()), 0);
        EXPECT_EQ(descriptor->openResult, row.opened ? 0 : 1);
        EXPECT_EQ(descriptor->channelID, row.camera);
        const std::string index = std::to_string(row.camera);
        const std::string name = "(" + std::string(names[row.camera]) + ")";
        if (!row.opened) {
            const std::string unable = "GetVideoChannel: Unable to open cameraID " + index + " " + name + ".";
            EXPECT_EQ(TextNow(), unable);
            EXPECT_EQ(CountInLog(unable), 1);
            EXPECT_EQ(CountInLog("GetVideoChannel: ZvkCameraClose FAILED. channelID " + index + " " + name),
                      1);
        }
        int errors = 0;
        for (const std::string& line : Log()) {
            errors += line.starts_with("InitializeVideoChannel: ERROR") ? 1 : 0;
        }
        EXPECT_EQ(errors, std::string(row.line).starts_with("InitializeVideoChannel") ? 1 : 0);
        if (*row.line != '\0') {
            EXPECT_EQ(CountInLog(row.line), 1) << row.line;
        }
        ResetSdk();
    }
    ExpectViolations(); // a failed opening closes the camera twice
}

TEST_F(OpeningTest, ACameraThatWillNotCloseIsAskedTwice)
{
    ExpectErrors();
    Open();
    const SimFault faults[] = {{"ZvkFeaturesList", 1, -1, 0}, {"ZvkCameraClose", 1, -1, 0}};
    sdk.SimFailCalls(faults, 2);
    Guarded<VideoChannelDescriptor> descriptor(684);
    EXPECT_EQ(GetVideoChannel(1, descriptor.Get()), 0);
    EXPECT_EQ(descriptor->openResult, 1);
    EXPECT_EQ(CountInLog("GetVideoChannel: Camera CLOSED successfully. channelID 1 (Color [T1])"), 1);
    EXPECT_EQ(sdk.State().openCameras, 0u);
}

TEST_F(OpeningTest, TextsOfAnyLengthAreCutAndTerminated)
{
    static ZvkError_t (*original)(ZvkCameraInfo_t*, std::uint32_t, std::uint32_t*, std::uint32_t);
    static const std::string text(5000, 'm');
    const auto withLongTexts = [](ZvkCameraInfo_t* list, std::uint32_t length, std::uint32_t* found,
                                  std::uint32_t size) {
        const ZvkError_t result = original(list, length, found, size);
        if (list != nullptr) {
            list[0].modelName = text.c_str();
            list[0].serialString = text.c_str();
            list[1].modelName = nullptr;
            list[1].serialString = nullptr;
        }
        return result;
    };
    Replace("ZvkCamerasList", withLongTexts, &original);
    Open();
    EXPECT_EQ(std::string(Channel(0).label), "Zorvik/HVN TL: " + text.substr(0, 255 - 15));
    EXPECT_EQ(std::string(Channel(0).serialNumber), text.substr(0, 255));
    EXPECT_STREQ(Channel(1).label, "Zorvik/Other: ");
    EXPECT_STREQ(Channel(1).serialNumber, "");
}

TEST_F(OpeningTest, TheMakersNameIsFoundUpToTheEndOfTheVendorsText)
{
    std::string description = kTestCameras;
    const std::string usual = "The Halvane Layer";
    description.replace(description.find(usual), usual.size(), std::string(120, 'v') + "Halvane");
    sdk.SimSetDescription(description.c_str());
    Open();
    EXPECT_STREQ(Channel(0).label, "Zorvik/HVN TL: Mono");
}

TEST_F(OpeningTest, PacketSizeIsNegotiatedWhereTheStreamCan)
{
    ExpectErrors();
    std::string description = kTestCameras;
    description.replace(description.find("frame_rate"), 0, "packet_size = 8228\npacket_negotiation_ms = 1\n");
    sdk.SimSetDescription(description.c_str());
    Open();
    EXPECT_EQ(CountInLog("GigEAdjustPacketSize: GVSPAdjustPacketSize set to 8228"), 1);

    Guarded<VideoChannelDescriptor> descriptor;
    sdk.SimHoldCommand(0, "GVSPAdjustPacketSize", 1);
    ClearLog();
    ASSERT_EQ(GetVideoChannel(0, descriptor.Get()), 0);
    EXPECT_EQ(CountInLog("GigEAdjustPacketSize: ERROR. Timeout exceeded. Feature='GVSPAdjustPacketSize'."),
              1);
    EXPECT_NE(LogText().find("] GigEAdjustPacketSize: GVSPAdjustPacketSize set to "), std::string::npos);
    EXPECT_EQ(descriptor->openResult, 0);
    const auto polls = sdk.SimCallCount("ZvkFeatureCommandIsDone");
    EXPECT_GE(polls, 5u);
    EXPECT_LE(polls, 45u); // every 50 ms for two seconds
    sdk.SimHoldCommand(0, "GVSPAdjustPacketSize", 0);

    ClearLog();
    sdk.SimFailCall("ZvkFeatureCommandIsDone", 1, -5, 0);
    ASSERT_EQ(GetVideoChannel(0, descriptor.Get()), 0);
    EXPECT_EQ(LogText().find("GigEAdjustPacketSize: ERROR"), std::string::npos);
}

TEST_F(OpeningTest, AFeatureListThatChangesBetweenItsQueries)
{
    static ZvkError_t (*original)(ZvkHandle_t, ZvkFeatureInfo_t*, std::uint32_t, std::uint32_t*,
                                  std::uint32_t);
    static std::int64_t change;
    static std::string last;
    const auto changing = [](ZvkHandle_t camera, ZvkFeatureInfo_t* list, std::uint32_t length,
                             std::uint32_t* found, std::uint32_t size) {
        const ZvkError_t result = original(camera, list, length, found, size);
        if (list != nullptr) {
            last = list[length - 1].name;
            *found = static_cast<std::uint32_t>(*found + change);
        }
        return result;
    };
    Open();
    Guarded<VideoChannelDescriptor> descriptor(684);
    Replace("ZvkFeaturesList", changing, &original);
    for (const std::int64_t by : {-5, 7, 1'000'000}) {
        change = by;
        ASSERT_EQ(GetVideoChannel(1, descriptor.Get()), 0);
        EXPECT_EQ(descriptor->openResult, 0);
        const std::vector<std::string> names = Names(1);
        EXPECT_EQ(std::adjacent_find(names.begin(), names.end(), std::greater_equal<>()), names.end())
            << "each is listed once";
        EXPECT_GT(names.size(), 20u);
        Type(1, last);
        EXPECT_EQ(Result(), by < 0 ? 1 : 0) << "what the list ends before does not exist";
    }
    Replace("ZvkFeaturesList",
            [](ZvkHandle_t, ZvkFeatureInfo_t*, std::uint32_t, std::uint32_t* found, std::uint32_t) {
                *found = 0xFFFFFFFF;
                return ZvkErrorSuccess;
            });
    ASSERT_EQ(GetVideoChannel(1, descriptor.Get()), 0);
    EXPECT_EQ(descriptor->openResult, 1);
    EXPECT_EQ(
        CountInLog("InitializeVideoChannel: ERROR. The SDK lists 4294967295 features, more than 100000. "
                   "ChannelID=1."),
        1);
    ExpectErrors();
    ExpectViolations();
}

TEST_F(OpeningTest, AvailabilityFlagsAreNeverCleared)
{
    const auto none = [](ZvkHandle_t, ZvkFeatureInfo_t*, std::uint32_t, std::uint32_t* found, std::uint32_t) {
        *found = 0;
        return ZvkErrorSuccess;
    };
    for (const bool wasKnown : {false, true}) {
        if (wasKnown) {
            Open();
        }
        else {
            Guarded<VideoChannelDescriptor> first;
            ASSERT_EQ(GetVideoChannel(0, first.Get()), 0);
        }
        Replace("ZvkFeaturesList", none);
        ClearLog();
        Guarded<VideoChannelDescriptor> descriptor(684);
        ASSERT_EQ(GetVideoChannel(1, descriptor.Get()), 0);
        const std::string flag = wasKnown ? "1" : "0";
        EXPECT_TRUE(IsInLog("bExposureTimeAvail=" + flag + ", bExposureTimeAbsAvail=0, bTriggerSourceAvail=" +
                            flag + ", bTriggerActivationAvail=" + flag + ", bExposureModeAvail=" + flag +
                            ", bTriggerModeAvail=" + flag));
        callbacks_ = *descriptor;
        EXPECT_TRUE(Names(1).empty()) << "the list is a new one";
        ResetSdk();
    }
}

TEST_F(OpeningTest, AnExposureThatCannotBeReadLeavesItsLowerBoundToo)
{
    ExpectErrors();
    Guarded<VideoChannelDescriptor> descriptor(684);
    ASSERT_EQ(GetVideoChannel(0, descriptor.Get()), 0);
    EXPECT_EQ(descriptor->exposureTime, 0.001);
    EXPECT_EQ(descriptor->exposureTimeMin, 10.0) << "microseconds";
    const struct
    {
        const char* entry;
        double exposure, minimum;
    } rows[] = {{"ZvkFeatureFloatGet", -1.0, -1.0}, {"ZvkFeatureFloatRangeQuery", 0.001, 0.0}};
    for (const auto& row : rows) {
        descriptor->exposureTime = descriptor->exposureTimeMin = -1.0;
        sdk.SimFailCall(row.entry, 1, -5, 0);
        ASSERT_EQ(GetVideoChannel(0, descriptor.Get()), 0);
        EXPECT_EQ(descriptor->openResult, 1);
        EXPECT_EQ(descriptor->exposureTime, row.exposure) << row.entry;
        EXPECT_EQ(descriptor->exposureTimeMin, row.minimum) << row.entry;
    }
    ExpectViolations(); // a failed opening closes the camera twice
}

TEST_F(OpeningTest, AChannelThatStreamsCanBeHandedOutAgainAndStreamAfterwards)
{
    ExpectErrors();
    ExpectViolations(); // the camera is closed while it captures
    Stream(1);
    ASSERT_EQ(Configure(0), 0);
    DeliverFrames(1, 3);
    Guarded<VideoChannelDescriptor> descriptor(684);
    ASSERT_EQ(GetVideoChannel(1, descriptor.Get()), 0);
    EXPECT_EQ(Status(1), static_cast<std::uint32_t>(ImageStatusPending));
    ASSERT_EQ(Configure(1), 0) << TextNow();
    ASSERT_EQ(Start(1), 0) << TextNow();
    DeliverFrames(1, 2);
    Fetch(1, std::size_t{32} * 16 * 3);
    ASSERT_EQ(Stop(1), 0);
    EXPECT_EQ(CountInLog("StopAcquisition. channelID=1 FramesReceived=2 (Complete=2, Incomplete=0)"), 1);
}

} // namespace

} // namespace maravel::test
