// What becomes of each frame that a camera sends.
#include "boundary/AdapterTest.h"

#include "sdk/ZvkTypes.h"

#include <string>

namespace maravel::test {

namespace {

class FrameReceptionTest : public AdapterTest
{
protected:
    static SimFrameRequest Incomplete(std::int32_t status)
    {
        SimFrameRequest request = {};
        request.fields = SimFrameHasStatus;
        request.receiveStatus = status;
        return request;
    }
};

ZvkError_t (*runCommand)(ZvkHandle_t, const char*);
SdkControl* control;
ZvkError_t startResult;

// A camera whose frames are there before its start command returns.
ZvkError_t RunAndSend(ZvkHandle_t camera, const char* name)
{
    const ZvkError_t result = runCommand(camera, name);
    if (std::string(name) != "AcquisitionStart") {
        return result;
    }
    control->SimEmitFrame(0, nullptr);
    control->SimEmitFrame(0, nullptr);
    return startResult;
}

TEST_F(FrameReceptionTest, FramesThatComeBeforeTheStartReturnsAreKeptUnlessItFails)
{
    ExpectErrors();
    control = &sdk;
    Open();
    ASSERT_EQ(Configure(0), 0);
    Replace("ZvkFeatureCommandRun", RunAndSend, &runCommand);
    startResult = ZvkErrorSuccess;
    ASSERT_EQ(Start(0), 0) << TextNow();
    Fetch(0, 3072);
    Fetch(0, 3072);
    EXPECT_EQ(sdk.State().queuedFrames, 16u);
    ASSERT_EQ(Stop(0), 0);
    EXPECT_EQ(CountInLog("StopAcquisition. channelID=0 FramesReceived=2 (Complete=2, Incomplete=0)"), 1);
    startResult = ZvkErrorInvalidAccess;
    ASSERT_EQ(Start(0), 1);
    EXPECT_EQ(Status(0), static_cast<std::uint32_t>(ImageStatusPending));
    EXPECT_EQ(sdk.State().queuedFrames, 16u);
    EXPECT_EQ(
        CountInLog("StartAcquisition: WARNING. A frame came although AcquisitionStart failed. We queue it "
                   "again: ZvkErrorSuccess (0). ChannelID=0."),
        2);
    ASSERT_EQ(Stop(0), 0);
    EXPECT_EQ(CountInLog("StopAcquisition. channelID=0 FramesReceived=0 (Complete=0, Incomplete=0)"), 1);
}

TEST_F(FrameReceptionTest, FramesWaitInTheOrderOfTheirArrival)
{
    Stream(0);
    EXPECT_EQ(Status(0), static_cast<std::uint32_t>(ImageStatusPending));
    for (std::uint64_t id = 1; id <= 3; ++id) {
        const std::vector<unsigned char> bytes(3072, static_cast<unsigned char>(id));
        SimFrameRequest request = {};
        request.fields = SimFrameHasFrameId | SimFrameHasTimestamp | SimFrameHasBytes;
        request.frameId = id;
        request.timestamp = 0xFFFFFFFFFFFFFFF0u + id;
        request.bytes = bytes.data();
        request.byteCount = 3072;
        DeliverFrame(0, request);
        EXPECT_EQ(CountInLog("FrameReceivedCallback: Frame stored in FIFO. channelID=0, BufferID=" +
                             std::to_string(id - 1) + ", FrameID=" + std::to_string(id) +
                             ", Frame timestamp=" + std::to_string(request.timestamp)),
                  1);
    }
    EXPECT_EQ(Status(0), static_cast<std::uint32_t>(ImageStatusReady));
    for (unsigned char id = 1; id <= 3; ++id) {
        EXPECT_EQ(Fetch(0, 3072), std::vector<unsigned char>(3072, id));
    }
    EXPECT_EQ(Status(0), static_cast<std::uint32_t>(ImageStatusPending));
}

TEST_F(FrameReceptionTest, ARingOfSixteenFillsAndEmpties)
{
    Stream(0);
    DeliverFrames(0, 16);
    EXPECT_EQ(sdk.SimEmitFrame(0, nullptr), ZvkErrorNotAvailable);
    EXPECT_EQ(sdk.State().queuedFrames, 0u);
    for (int i = 0; i < 40; ++i) {
        Fetch(0, 3072);
        EXPECT_EQ(sdk.State().queuedFrames, 1u);
        DeliverFrames(0);
    }
    ASSERT_EQ(Stop(0), 0);
    EXPECT_EQ(CountInLog("StopAcquisition. channelID=0 FramesReceived=56 (Complete=56, Incomplete=0)"), 1);
}

TEST_F(FrameReceptionTest, IncompleteFramesGoBackAtOnce)
{
    ExpectErrors();
    Stream(0);
    DeliverFrame(0, Incomplete(-3));
    EXPECT_EQ(CountInLog("FrameReceivedCallback: Frame incomplete (-3). Requeueing..."), 1);
    EXPECT_EQ(Status(0), static_cast<std::uint32_t>(ImageStatusPending));
    EXPECT_EQ(sdk.State().queuedFrames, 16u);
    DeliverFrames(0, 2);
    sdk.SimFailCall("ZvkCaptureFrameQueue", 1, -4, 0);
    DeliverFrame(0, Incomplete(7));
    EXPECT_EQ(CountInLog("FrameReceivedCallback: Error while requeueing, Reason=ZvkErrorBadHandle (-4)"), 1);
    EXPECT_EQ(sdk.State().queuedFrames, 13u);
    ASSERT_EQ(Stop(0), 0);
    EXPECT_EQ(CountInLog("StopAcquisition. channelID=0 FramesReceived=4 (Complete=2, Incomplete=2)"), 1);
    ASSERT_EQ(Start(0), 0);
    EXPECT_EQ(sdk.State().queuedFrames, 16u);
}

TEST_F(FrameReceptionTest, FramesOfACameraThatIsNotAcquiringAreDropped)
{
    ExpectErrors();
    Open();
    ASSERT_EQ(Configure(0), 0);
    sdk.SimFailCall("ZvkFeatureCommandRun", 1, -6, 0);
    EXPECT_EQ(Start(0), 1); // captures, but is not in the set of acquiring cameras
    void* camera = nullptr;
    void* stream = nullptr;
    sdk.SimCameraHandles(0, &camera, &stream);
    char handle[16];
    std::snprintf(handle, sizeof handle, "%08X",
                  static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(camera)));
    const std::string dropped =
        std::string(
            "FrameReceivedCallback: ERROR. We received a frame callback after StopAcquistion was called. "
            "We drop this frame and do not queue it again. Camera=0x") +
        handle;
    DeliverFrames(0);
    EXPECT_EQ(CountInLog(dropped), 1);
    EXPECT_EQ(CountInLog("\tFrameReceivedCallback Frame incomplete."), 0);
    DeliverFrame(0, Incomplete(1));
    EXPECT_EQ(CountInLog(dropped), 2);
    EXPECT_EQ(CountInLog("\tFrameReceivedCallback Frame incomplete."), 1);
    EXPECT_EQ(Status(0), static_cast<std::uint32_t>(ImageStatusPending));
    EXPECT_EQ(sdk.State().queuedFrames, 14u);
}

TEST_F(FrameReceptionTest, CallbacksThatMakeNoSense)
{
    ExpectErrors();
    struct Context
    {
        std::uint64_t channel;
        std::uint32_t buffer;
    };
    Stream(0);
    ZvkFrame_t frame = {};
    Context context = {0, 0};
    const std::string invalid = "FrameReceivedCallback: ERROR. Invalid ZvkFrame_t.";
    sdk.SimInvokeCallback(0, nullptr, SIM_OWN_HANDLE, &frame);
    sdk.SimInvokeCallback(0, SIM_OWN_HANDLE, nullptr, &frame);
    sdk.SimInvokeCallback(0, SIM_OWN_HANDLE, SIM_OWN_HANDLE, nullptr);
    EXPECT_EQ(CountInLog(invalid), 3);

    sdk.SimInvokeCallback(0, SIM_OWN_HANDLE, SIM_OWN_HANDLE, &frame);
    EXPECT_EQ(CountInLog("FrameReceivedCallback: ERROR. Invalid context parameter."), 1);

    frame.context[0] = &context;
    for (const std::uint64_t channel : {std::uint64_t{3}, ~std::uint64_t{0}}) {
        context.channel = channel;
        for (const std::int32_t status : {0, 5}) {
            frame.receiveStatus = status;
            sdk.SimInvokeCallback(0, SIM_OWN_HANDLE, SIM_OWN_HANDLE, &frame);
        }
    }
    EXPECT_EQ(CountInLog("FrameReceivedCallback: ERROR. Invalid channelID=3. Available cameras=3."), 2);
    EXPECT_EQ(CountInLog("FrameReceivedCallback: ERROR. Invalid channelID=-1. Available cameras=3."), 2);

    frame.receiveStatus = 0;
    for (const std::uint64_t channel : {std::uint64_t{0}, std::uint64_t{1}}) { // a frame that is nobody's own
        context.channel = channel;
        sdk.SimInvokeCallback(0, SIM_OWN_HANDLE, SIM_OWN_HANDLE, &frame);
        EXPECT_EQ(Status(static_cast<std::int64_t>(channel)), static_cast<std::uint32_t>(ImageStatusPending));
    }
    EXPECT_EQ(sdk.State().queuedFrames, 16u);
}

TEST_F(FrameReceptionTest, LateAndRepeatedCallbacksAreDropped)
{
    ExpectErrors();
    Stream(0);
    static ZvkFrame_t* last = nullptr;
    static ZvkError_t (*original)(ZvkHandle_t, const ZvkFrame_t*, ZvkFrameCallback);
    const auto remembering = [](ZvkHandle_t camera, const ZvkFrame_t* frame, ZvkFrameCallback callback) {
        last = const_cast<ZvkFrame_t*>(frame);
        return original(camera, frame, callback);
    };
    Replace("ZvkCaptureFrameQueue", remembering, &original);
    DeliverFrames(0);
    Fetch(0, 3072);
    ASSERT_NE(last, nullptr);
    // Twice for one frame: stored once.
    sdk.SimInvokeCallback(0, SIM_OWN_HANDLE, SIM_OWN_HANDLE, last);
    sdk.SimInvokeCallback(0, SIM_OWN_HANDLE, SIM_OWN_HANDLE, last);
    EXPECT_EQ(
        CountInLog(
            "FrameReceivedCallback: ERROR. Frame is not the channel's own or was received already. We drop it. channelID=0"),
        1);
    ASSERT_EQ(Stop(0), 0);
    sdk.SimInvokeCallback(0, SIM_OWN_HANDLE, SIM_OWN_HANDLE, last);
    EXPECT_EQ(Status(0), static_cast<std::uint32_t>(ImageStatusPending));
    EXPECT_EQ(Release(0), 0); // shuts down: the record itself is gone from here on
    ZvkFrame_t own = {};
    sdk.SimInvokeCallback(0, reinterpret_cast<void*>(std::uintptr_t{1}),
                          reinterpret_cast<void*>(std::uintptr_t{1}), &own);
}

TEST_F(FrameReceptionTest, StatusOfChannelsThatDoNotExist)
{
    Open();
    for (const std::int64_t channel :
         {std::int64_t{3}, std::int64_t{5}, std::int64_t{-1}, INT64_MAX, INT64_MIN, std::int64_t{1} << 32}) {
        EXPECT_EQ(Status(channel), static_cast<std::uint32_t>(ImageStatusUnavailable)) << channel;
    }
    EXPECT_EQ(Status(2), static_cast<std::uint32_t>(ImageStatusPending));
    EXPECT_EQ(Channel(0).QueryImageStatus(nullptr, 0, nullptr), 0);
    EXPECT_EQ(TextNow(), "");
}

} // namespace

} // namespace maravel::test
