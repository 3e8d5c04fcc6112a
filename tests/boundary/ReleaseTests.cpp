// The end of channels, of the adapter and of the module.
#include "boundary/AdapterTest.h"

#include "sdk/ZvkTypes.h"
#include "support/UnkindSdk.h"

namespace maravel::test {

namespace {

class ReleaseTest : public AdapterTest
{
protected:
    std::vector<std::string> CallNames()
    {
        std::vector<std::string> names;
        for (const std::string& call : sdk.Calls()) {
            names.push_back(call.substr(0, call.find(" = ")));
        }
        return names;
    }
};

using Calls = std::vector<std::string>;

TEST_F(ReleaseTest, AnIdleCameraIsClosedInThreeCalls)
{
    Open();
    ASSERT_EQ(Configure(0), 0);
    ASSERT_EQ(Configure(2), 0);
    sdk.SimClearCalls();
    EXPECT_EQ(Release(0), 0);
    EXPECT_EQ(CallNames(), (Calls{"ZvkCaptureQueueFlush(camera 0)", "ZvkFrameRevokeAll(camera 0)",
                                  "ZvkCameraClose(camera 0)"}));
    EXPECT_EQ(CountInLog("ReleaseVideoChannel: channelID=0"), 1);
    EXPECT_EQ(CountInLog("ReleaseVideoChannel: Camera CLOSED successfully. channelID 0 (Mono [T0])"), 1);
    EXPECT_EQ(sdk.State().started, 1u) << "another camera is still open";
    sdk.SimClearCalls();
    EXPECT_EQ(Release(2), 0);
    EXPECT_EQ(CallNames(), (Calls{"ZvkCaptureQueueFlush(camera 2)", "ZvkFrameRevokeAll(camera 2)",
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
    EXPECT_EQ(CallNames(), (Calls{"ZvkFeatureCommandRun(camera 0, AcquisitionStop)",
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
    EXPECT_EQ(CallNames(), Calls{"ZvkShutdown()"});
    EXPECT_EQ(Release(1), 1);
    EXPECT_EQ(TextNow(), "ReleaseVideoChannel: WARNING: Invalid class pointer.");
    Open(); // it starts again
    EXPECT_EQ(ChannelCount(), 3u);
    Stream(0);
    DeliverFrames(0);
    EXPECT_EQ(Fetch(0, 3072).size(), 3072u);
}

TEST_F(ReleaseTest, AfterShutdownEveryCallbackAnswersNotStarted)
{
    ExpectErrors();
    Open();
    const VideoChannelDescriptor channel = Channel(0);
    EXPECT_EQ(Release(0), 0);
    ImageAttributes attributes = {};
    CommonParams params = {};
    std::uint32_t status = 0xDEAD;
    std::int32_t type = 0;
    GuardedBuffer value(256);
    const auto expect = [&](std::int32_t result, const char* expected) {
        EXPECT_EQ(result, 1);
        EXPECT_EQ(TextNow(), expected);
        ClearText();
    };
    expect(channel.SetupCommonParams(text(), 0, &params), "SetupCommonParams: ERROR. INVALID class pointer.");
    expect(channel.GetImageAttributes(text(), 0, &attributes, &status),
           "GetImageAttributes: ERROR. Invalid class pointer.");
    EXPECT_EQ(status, 0xDEADu);
    expect(channel.GetImage(text(), 0, value.Data(), &status), "GetImage: ERROR. Invalid class pointer.");
    EXPECT_EQ(status, static_cast<std::uint32_t>(ImageStatusError));
    expect(channel.StartAcquisition(text(), 0), "StartAcquisition: ERROR. Invalid class pointer.");
    expect(channel.StopAcquisition(text(), 0), "StopAcquisition: ERROR. Invalid class pointer.");
    expect(channel.ExecuteCommand(text(), 0, "X"), "ExecuteCommand: ERROR. Invalid class pointer.");
    expect(channel.ReadValue(text(), 0, "X", value.Text()), "ReadValue: ERROR. Invalid class pointer.");
    expect(channel.WriteValue(text(), 0, "X", "1"), "WriteValue: ERROR. Invalid class pointer.");
    expect(channel.GetFeatureName(text(), 0, 0, value.Text()),
           "GetFeatureName: ERROR. Invalid class pointer.");
    expect(channel.GetFeatureType(text(), 0, "X", &type), "GetFeatureType: ERROR. Invalid class pointer.");
    expect(channel.GetValidEnum(text(), 0, "X", 0, value.Text()),
           "GetValidEnum: ERROR. Invalid class pointer.");
    expect(channel.GetFeatureAttr(text(), 0, "X", 1, value.Text()),
           "GetFeatureAttr: ERROR. Invalid class pointer.");
    expect(channel.ReleaseVideoChannel(text(), 0), "ReleaseVideoChannel: WARNING: Invalid class pointer.");
    EXPECT_EQ(channel.QueryImageStatus(text(), 0, &status), 0);
    EXPECT_EQ(status, static_cast<std::uint32_t>(ImageStatusUnavailable));
    EXPECT_EQ(TextNow(), "");
    Guarded<VideoChannelDescriptor> descriptor;
    expect(GetVideoChannel(1, descriptor.Get()), "GetVideoChannel: ERROR while loading 'ZvkC.dll'.");
}

TEST_F(ReleaseTest, ChannelsThatDoNotExistAreRejectedByTheirOwnWords)
{
    ExpectErrors();
    Open();
    ImageAttributes attributes = {};
    CommonParams params = {};
    std::uint32_t status = 0;
    std::int32_t type = 0;
    GuardedBuffer value(256);
    for (const std::int64_t id : {std::int64_t{3}, std::int64_t{-1}, INT64_MAX, INT64_MIN}) {
        const std::string n = std::to_string(id);
        const auto expect = [&](std::int32_t result, const std::string& expected) {
            EXPECT_EQ(result, 1);
            EXPECT_EQ(TextNow(), expected);
            EXPECT_EQ(Log().back(), expected);
        };
        VideoChannelDescriptor& channel = Channel(0);
        expect(channel.SetupCommonParams(text(), id, &params),
               "SetupCommonParams: ERROR. Invalid channelID=" + n + ". Available cameras=3");
        expect(channel.GetImageAttributes(text(), id, &attributes, &status),
               "GetImageAttributes: ERROR. Invalid channelID=" + n + ". Available cameras=3");
        expect(channel.GetImage(text(), id, value.Data(), &status),
               "GetImage: ERROR. Invalid channelID=" + n + ". Available cameras=3");
        EXPECT_EQ(status, static_cast<std::uint32_t>(ImageStatusError));
        expect(channel.StartAcquisition(text(), id),
               "StartAcquisition: ERROR. Invalid channelID=" + n + ". Available cameras=3.");
        expect(channel.StopAcquisition(text(), id),
               "StopAcquisition: ERROR. Invalid channelID=" + n + ". Available cameras=3.");
        expect(channel.ExecuteCommand(text(), id, "X"),
               "ExecuteCommand: ERROR. Invalid channelID=" + n + ". Available cameras=3");
        expect(channel.ReadValue(text(), id, "X", value.Text()),
               "ReadValue: ERROR. Invalid channelID=" + n + ". Available Cameras=3");
        expect(channel.WriteValue(text(), id, "X", "1"),
               "WriteValue: ERROR. Invalid channelID=" + n + ". Available cameras=3");
        expect(channel.GetFeatureName(text(), id, 0, value.Text()),
               "GetFeatureName: ERROR. Invalid channelID=" + n + ". Available Cameras=3.");
        expect(channel.GetFeatureType(text(), id, "X", &type),
               "GetFeatureType: ERROR. Invalid channelID=" + n + ". Available cameras=3");
        expect(channel.GetValidEnum(text(), id, "X", 0, value.Text()),
               "GetValidEnum: ERROR. Invalid channelID=" + n + ". Available cameras=3.");
        expect(channel.GetFeatureAttr(text(), id, "X", 1, value.Text()),
               "GetFeatureAttr: ERROR. Invalid channelID=" + n + ". Available cameras=3.");
        expect(channel.ReleaseVideoChannel(text(), id),
               "ReleaseVideoChannel: ERROR. Invalid channelID=" + n + ". Available cameras=3");
    }
    EXPECT_EQ(sdk.State().started, 1u);
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
    EXPECT_EQ(CallNames(),
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

TEST_F(ReleaseTest, LoadingAgainAndAgainKeepsNothing)
{
    for (int round = 0; round < 20; ++round) {
        Stream(round % 3);
        DeliverFrames(static_cast<std::uint32_t>(round % 3));
        UnloadAdapter();
        EXPECT_FALSE(IsModuleLoaded(MARAVEL_ADAPTER_FILE));
        EXPECT_EQ(sdk.State().workerThreads, 0u);
        LoadAdapter();
    }
}

} // namespace

} // namespace maravel::test
