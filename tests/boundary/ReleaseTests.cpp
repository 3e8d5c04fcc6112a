// The end of channels, of the adapter and of the module.
#include "boundary/AdapterTest.h"

#include "sdk/ZvkTypes.h"
#include "support/UnkindSdk.h"

#include <functional>

namespace maravel::test {

namespace {

class ReleaseTest : public AdapterTest
{
};

using Calls = std::vector<std::string>;

TEST_F(ReleaseTest, AnIdleCameraIsClosedInThreeCalls)
{
    Open();
    ASSERT_EQ(Configure(0), 0);
    ASSERT_EQ(Configure(2), 0);
    sdk.SimClearCalls();
    EXPECT_EQ(Release(0), 0);
    EXPECT_EQ(sdk.Calls(" = "), (Calls{"ZvkCaptureQueueFlush(camera 0)", "ZvkFrameRevokeAll(camera 0)",
                                       "ZvkCameraClose(camera 0)"}));
    EXPECT_EQ(CountInLog("ReleaseVideoChannel: channelID=0"), 1);
    EXPECT_EQ(CountInLog("ReleaseVideoChannel: Camera CLOSED successfully. channelID 0 (Mono [T0])"), 1);
    EXPECT_EQ(sdk.State().started, 1u) << "another camera is still open";
    sdk.SimClearCalls();
    EXPECT_EQ(Release(2), 0);
    EXPECT_EQ(sdk.Calls(" = "), (Calls{"ZvkCaptureQueueFlush(camera 2)", "ZvkFrameRevokeAll(camera 2)",
                                       "ZvkCameraClose(camera 2)", "ZvkShutdown()"}));
    EXPECT_EQ(Log().back(), "CAdapterData::Free");
    EXPECT_EQ(CountInLog("ShutdownAdapter"), 1);
}

TEST_F(ReleaseTest, AStreamingCameraIsStoppedFirst)
{
    Stream(0);
    DeliverFrames(0, 3);
    ASSERT_EQ(Configure(1), 0);
    sdk.SimClearCalls();
    EXPECT_EQ(Release(0), 0);
    EXPECT_EQ(sdk.Calls(" = "), (Calls{"ZvkFeatureCommandRun(camera 0, AcquisitionStop)",
                                       "ZvkCaptureEnd(camera 0)", "ZvkCaptureQueueFlush(camera 0)",
                                       "ZvkFrameRevokeAll(camera 0)", "ZvkCameraClose(camera 0)"}));
    EXPECT_EQ(Status(0), static_cast<std::uint32_t>(ImageStatusPending));
    ASSERT_EQ(Configure(0), 0);
    ASSERT_EQ(Start(0), 0) << TextNow();
    DeliverFrames(0);
    ASSERT_EQ(Stop(0), 0);
    EXPECT_EQ(CountInLog("StopAcquisition. channelID=0 FramesReceived=1 (Complete=1, Incomplete=0)"), 1);
}

TEST_F(ReleaseTest, AnSdkThatJoinsItsThreadsIsLeftByReleasingFirst)
{
    UnkindSdk unkind(sdk, true);
    Stream(0);
    EXPECT_EQ(Release(0), 0);
    EXPECT_EQ(sdk.State().started, 0u);
    UnloadAdapter();
}

TEST_F(ReleaseTest, AClosedChannelShutsDownWhenItIsTheLast)
{
    Open();
    sdk.SimClearCalls();
    EXPECT_EQ(Release(1), 0);
    EXPECT_EQ(sdk.Calls(" = "), Calls{"ZvkShutdown()"});
    EXPECT_EQ(Release(1), 1);
    EXPECT_EQ(TextNow(), "ReleaseVideoChannel: WARNING: Invalid class pointer.");
    Open(); // it starts again
    EXPECT_EQ(ChannelCount(), 3u);
    Stream(0);
    DeliverFrames(0);
    Fetch(0, 3072);
}

// What every callback says when the adapter is shut down, and what of a channel that does not exist.
TEST_F(ReleaseTest, RefusalsAreInEachCallbacksOwnWords)
{
    ExpectErrors();
    ImageAttributes attributes = {};
    GuardedBuffer image(256);
    const struct
    {
        const char* name;
        const char* notStarted;
        const char* available; // after the number of the channel
        std::function<void(std::int64_t)> call;
    } rows[] = {
        // clang-format off
        {"SetupCommonParams", "ERROR. INVALID class pointer.", "Available cameras=3", [&](auto id) { TestHost::Configure(id, {}); }},
        {"GetImageAttributes", "ERROR. Invalid class pointer.", "Available cameras=3", [&](auto id) { Attributes(id, &attributes); }},
        {"GetImage", "ERROR. Invalid class pointer.", "Available cameras=3", [&](auto id) { TestHost::Fetch(id, image.Data()); }},
        {"StartAcquisition", "ERROR. Invalid class pointer.", "Available cameras=3.", [&](auto id) { Start(id); }},
        {"StopAcquisition", "ERROR. Invalid class pointer.", "Available cameras=3.", [&](auto id) { Stop(id); }},
        {"ExecuteCommand", "ERROR. Invalid class pointer.", "Available cameras=3", [&](auto id) { Execute(id, "X"); }},
        {"ReadValue", "ERROR. Invalid class pointer.", "Available Cameras=3", [&](auto id) { Read(id, "X"); }},
        {"WriteValue", "ERROR. Invalid class pointer.", "Available cameras=3", [&](auto id) { Write(id, "X", "1"); }},
        {"GetFeatureName", "ERROR. Invalid class pointer.", "Available Cameras=3.", [&](auto id) { Name(id, 0); }},
        {"GetFeatureType", "ERROR. Invalid class pointer.", "Available cameras=3", [&](auto id) { Type(id, "X"); }},
        {"GetValidEnum", "ERROR. Invalid class pointer.", "Available cameras=3.", [&](auto id) { Entry(id, "X", 0); }},
        {"GetFeatureAttr", "ERROR. Invalid class pointer.", "Available cameras=3.", [&](auto id) { Attribute(id, "X", 1); }},
        {"ReleaseVideoChannel", "WARNING: Invalid class pointer.", "Available cameras=3", [&](auto id) { Release(id); }},
        // clang-format on
    };
    const auto expect = [&](const auto& row, std::int64_t id, const std::string& words) {
        row.call(id);
        EXPECT_EQ(Result(), 1);
        EXPECT_EQ(TextNow(), row.name + (": " + words));
        if (std::string(row.name).starts_with("GetImage")) {
            EXPECT_EQ(ImageStatus(),
                      std::string(row.name) == "GetImage" ? unsigned{ImageStatusError} : 0xDEADu);
        }
    };
    Open();
    for (const std::int64_t id : {std::int64_t{3}, std::int64_t{-1}, INT64_MAX, INT64_MIN}) {
        for (const auto& row : rows) {
            expect(row, id, "ERROR. Invalid channelID=" + std::to_string(id) + ". " + row.available);
            EXPECT_EQ(Log().back(), TextNow());
        }
    }
    EXPECT_EQ(sdk.State().started, 1u);
    EXPECT_EQ(Release(0), 0);
    for (const auto& row : rows) {
        expect(row, 0, row.notStarted);
    }
    EXPECT_EQ(Status(0), static_cast<std::uint32_t>(ImageStatusUnavailable));
    EXPECT_EQ(TextNow(), "");
    Guarded<VideoChannelDescriptor> descriptor;
    EXPECT_EQ(GetVideoChannel(1, descriptor.Get()), 1);
    EXPECT_EQ(TextNow(), "GetVideoChannel: ERROR while loading 'ZvkC.dll'.");
}

TEST_F(ReleaseTest, FailuresAreLoggedAndDoNotStopTheSequence)
{
    ExpectErrors();
    Stream(0);
    const SimFault faults[] = {{"ZvkFeatureCommandRun", 1, -1, 0},
                               {"ZvkCaptureEnd", 1, -1, 0},
                               {"ZvkCaptureQueueFlush", 1, -1, 0},
                               {"ZvkFrameRevokeAll", 1, -1, 0},
                               {"ZvkCameraClose", 1, -1, 0}};
    sdk.SimFailCalls(faults, 5);
    EXPECT_EQ(Release(0), 0);
    for (const char* step :
         {"AcquisitionStop", "ZvkCaptureEnd", "ZvkCaptureQueueFlush", "ZvkFrameRevokeAll"}) {
        EXPECT_EQ(CountInLog(std::string("ReleaseVideoChannel: channelID=0. ") + step + " FAILED."), 1)
            << step;
    }
    EXPECT_EQ(CountInLog("ReleaseVideoChannel: ZvkCameraClose FAILED. channelID 0 (Mono [T0])"), 1);
    EXPECT_EQ(sdk.State().started, 1u) << "a camera whose close failed keeps the adapter up";
    EXPECT_EQ(sdk.SimFaultsFired(), 5u);
    EXPECT_EQ(Release(0), 0);
    EXPECT_EQ(sdk.State().started, 0u);
}

TEST_F(ReleaseTest, ACameraThatDoesNotCloseCanStreamAgain)
{
    ExpectErrors();
    Stream(1);
    ASSERT_EQ(Configure(0), 0);
    const SimFault fault = {"ZvkCameraClose", 1, -1, 0};
    sdk.SimFailCalls(&fault, 1);
    EXPECT_EQ(Release(1), 0);
    sdk.SimClearCalls();
    EXPECT_EQ(Start(1), 0) << TextNow();
    for (const char* undoing : {"ZvkCaptureEnd", "ZvkCaptureQueueFlush", "ZvkFrameRevokeAll"}) {
        EXPECT_EQ(sdk.SimCallCount(undoing), 0u) << "nothing was left to take back";
    }
    DeliverFrames(1);
    Fetch(1, std::size_t{32} * 16 * 3);
}

TEST_F(ReleaseTest, UnloadingClosesEveryCameraInOrder)
{
    Stream(1);
    ASSERT_EQ(Configure(0), 0);
    DeliverFrames(1, 2);
    sdk.SimClearCalls();
    UnloadAdapter();
    EXPECT_EQ(sdk.Calls(" = "),
              (Calls{"ZvkCaptureQueueFlush(camera 0)", "ZvkFrameRevokeAll(camera 0)",
                     "ZvkCameraClose(camera 0)", "ZvkFeatureCommandRun(camera 1, AcquisitionStop)",
                     "ZvkCaptureEnd(camera 1)", "ZvkCaptureQueueFlush(camera 1)",
                     "ZvkFrameRevokeAll(camera 1)", "ZvkCameraClose(camera 1)", "ZvkShutdown()"}));
    const std::vector<std::string> log = Log();
    EXPECT_EQ(CountInLog("Exit"), 1);
    EXPECT_EQ(CountInLog("Exit: Camera CLOSED successfully. channelID 1 (Color [T1])"), 1);
    EXPECT_EQ(log.back(), "CAdapterData::Free");
}

TEST_F(ReleaseTest, UnloadingNamesWhatTheSdkRefuses)
{
    ExpectErrors();
    Open();
    ASSERT_EQ(Configure(2), 0);
    const SimFault faults[] = {
        {"ZvkCaptureQueueFlush", 1, -1, 0}, {"ZvkFrameRevokeAll", 1, -1, 0}, {"ZvkCameraClose", 1, -1, 0}};
    sdk.SimFailCalls(faults, 3);
    UnloadAdapter();
    EXPECT_EQ(CountInLog("Exit: channelID:2. ZvkCaptureQueueFlush FAILED."), 1);
    EXPECT_EQ(CountInLog("Exit: channelID:2. ZvkFrameRevokeAll FAILED."), 1);
    EXPECT_EQ(CountInLog("Exit: ZvkCameraClose FAILED. channelID 2 (Old [T2])"), 1);
    ExpectViolations(); // the SDK is shut down with a camera open
}

} // namespace

} // namespace maravel::test
