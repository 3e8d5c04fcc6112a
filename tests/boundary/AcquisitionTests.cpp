// Start and stop of streaming, and what each failure leaves.
#include "boundary/AdapterTest.h"

#include "sdk/ZvkTypes.h"

#include <string>

namespace maravel::test {

namespace {

class AcquisitionTest : public AdapterTest
{
protected:
    std::vector<std::string> CallNames()
    {
        std::vector<std::string> names;
        for (const std::string& call : sdk.Calls()) {
            const std::string name = call.substr(0, call.find('('));
            const bool command = name == "ZvkFeatureCommandRun";
            const std::string shown =
                command ? call.substr(call.find(", ") + 2, call.find(')') - call.find(", ") - 2) : name;
            if (names.empty() || names.back() != shown) {
                names.push_back(shown);
            }
        }
        return names;
    }
};

TEST_F(AcquisitionTest, FreeRunStartsOnceAndRestartsTheCamera)
{
    Open();
    ASSERT_EQ(Configure(0), 0);
    sdk.SimClearCalls();
    ASSERT_EQ(Start(0), 0);
    EXPECT_EQ(CallNames(),
              (std::vector<std::string>{"ZvkPayloadSizeGet", "ZvkFeatureEnumGet", "ZvkFeatureEnumAsInt",
                                        "ZvkFrameAnnounce", "ZvkCaptureStart", "ZvkCaptureFrameQueue",
                                        "AcquisitionStart"}));
    EXPECT_EQ(sdk.SimCallCount("ZvkFrameAnnounce"), 16u);
    EXPECT_EQ(sdk.SimCallCount("ZvkCaptureFrameQueue"), 16u);
    sdk.SimClearCalls();
    ASSERT_EQ(Start(0), 0);
    EXPECT_EQ(CallNames(), (std::vector<std::string>{"ZvkPayloadSizeGet", "ZvkFeatureEnumGet",
                                                     "ZvkFeatureEnumAsInt", "AcquisitionStart"}));
    sdk.SimClearCalls();
    ASSERT_EQ(Stop(0), 0);
    EXPECT_EQ(CallNames(), (std::vector<std::string>{"AcquisitionStop", "ZvkCaptureEnd",
                                                     "ZvkCaptureQueueFlush", "ZvkFrameRevokeAll"}));
    EXPECT_EQ(CountInLog("StopAcquisition. channelID=0 FramesReceived=0 (Complete=0, Incomplete=0)"), 1);
}

TEST_F(AcquisitionTest, AStartAfterAStopOrAnAbandonedStartMakesTheSameCalls)
{
    Open();
    ASSERT_EQ(Configure(0), 0);
    sdk.SimClearCalls();
    ASSERT_EQ(Start(0), 0);
    const std::vector<std::string> first = CallNames();
    ASSERT_EQ(Stop(0), 0);
    sdk.SimClearCalls();
    ASSERT_EQ(Start(0), 0);
    EXPECT_EQ(CallNames(), first);
    ASSERT_EQ(Stop(0), 0);
    ExpectErrors();
    sdk.SimFailCall("ZvkCaptureFrameQueue", 3, ZvkErrorInternalFault, 0);
    ASSERT_EQ(Start(0), 1);
    sdk.SimClearCalls();
    ASSERT_EQ(Start(0), 0);
    EXPECT_EQ(CallNames(), first);
}

TEST_F(AcquisitionTest, ManualModeFiresOneTriggerACall)
{
    Open();
    ASSERT_EQ(Configure(0, 0, 0), 0);
    sdk.SimClearCalls();
    ASSERT_EQ(Start(0), 0);
    const std::vector<std::string> first = CallNames();
    EXPECT_EQ(first.back(), "TriggerSoftware");
    EXPECT_EQ(first[first.size() - 2], "AcquisitionStart");
    sdk.SimClearCalls();
    ASSERT_EQ(Start(0), 0);
    EXPECT_EQ(CallNames(), (std::vector<std::string>{"ZvkPayloadSizeGet", "ZvkFeatureEnumGet",
                                                     "ZvkFeatureEnumAsInt", "TriggerSoftware"}));
    EXPECT_EQ(CountInLog("StartAcquisition: ZvkFeatureCommandRun->TriggerSoftware success."), 2);
    ExpectErrors();
    sdk.SimFailCall("ZvkFeatureCommandRun", 1, -24, 0);
    EXPECT_EQ(Start(0), 1);
    EXPECT_EQ(TextNow(),
              "StartAcquisition: ERROR. TriggerSoftware failed. ChannelID=0. Reason=ZvkErrorBusy (-24).");
}

// What a camera answers in the two tests below.
std::uint32_t payload;
ZvkError_t AnswerPayload(ZvkHandle_t, std::uint32_t* size)
{
    *size = payload;
    return ZvkErrorSuccess;
}

TEST_F(AcquisitionTest, NumberOfFramesFollowsThePayload)
{
    struct Row
    {
        std::uint32_t payload;
        std::uint32_t frames;
    };
    const Row rows[] = {{0x100000, 16}, {0x100001, 8}, {0x800000, 8}, {0x800001, 4}, {3072, 16}};
    Open();
    ASSERT_EQ(Configure(0), 0);
    Replace("ZvkPayloadSizeGet", AnswerPayload);
    for (const Row& row : rows) {
        payload = row.payload;
        sdk.SimClearCalls();
        EXPECT_EQ(Start(0), 0);
        EXPECT_EQ(sdk.SimCallCount("ZvkFrameAnnounce"), row.frames) << payload;
        EXPECT_EQ(Stop(0), 0);
    }
}

TEST_F(AcquisitionTest, APayloadThatChangesWhileCapturingIsRefused)
{
    ExpectErrors();
    Stream(0);
    payload = 5000;
    Replace("ZvkPayloadSizeGet", AnswerPayload);
    EXPECT_EQ(Start(0), 1);
    EXPECT_EQ(TextNow(), "StartAcquisition: ERROR. AllocVideoBuffers failed.");
    EXPECT_EQ(CountInLog("AllocateVideoBuffers: ERROR. channelID=0. Payload size changed from 3072 to 5000 "
                         "bytes while capturing. Stop first."),
              1);
    payload = 2000;
    EXPECT_EQ(Start(0), 1);
    EXPECT_TRUE(IsInLog("Payload size changed from 3072 to 2000 bytes while capturing."));
    DeliverFrames(0);
    EXPECT_EQ(Status(0), static_cast<std::uint32_t>(ImageStatusReady));
    payload = 0;
    EXPECT_EQ(Stop(0), 0);
    EXPECT_EQ(Start(0), 1);
    EXPECT_EQ(CountInLog("AllocateVideoBuffers: ERROR. channelID=0. The camera's payload size is 0 bytes."),
              1);
    sdk.SimReplaceEntry("ZvkPayloadSizeGet", nullptr);
    EXPECT_EQ(Start(0), 0);
}

TEST_F(AcquisitionTest, StartFailures)
{
    ExpectErrors();
    struct Row
    {
        std::vector<SimFault> faults;
        int continuous;
        std::int32_t result;
        const char* text;               // what is left for the host
        std::vector<std::string> log;   // lines besides
        std::vector<std::string> calls; // the last calls
    };
    const std::string start = "StartAcquisition: ";
    constexpr const char* kNoBuffers = "ERROR. AllocVideoBuffers failed.";
    // clang-format off
    const Row rows[] = {
        {{{"ZvkPayloadSizeGet", 1, -5, 0}}, 1, 1, kNoBuffers, {"AllocateVideoBuffers: ERROR. Invalid channelID=1. Available cameras=3."}, {"ZvkPayloadSizeGet"}},
        {{{"ZvkFeatureEnumGet", 1, -3, 0}}, 1, 1, kNoBuffers, {"AllocateVideoBuffers: ERROR. channelID=1. ZvkFeatureEnumGet 'PixelFormat'. Reason=ZvkErrorNotFound (-3)"}, {"ZvkFeatureEnumGet"}},
        {{{"ZvkFeatureEnumAsInt", 1, -11, 0}}, 1, 1, kNoBuffers, {"AllocateVideoBuffers: ERROR. channelID=1. ZvkFeatureEnumAsInt 'PixelFormat'. Reason=ZvkErrorInvalidValue (-11)"}, {"ZvkFeatureEnumAsInt"}},
        {{{"ZvkFeatureIntGet", 1, -12, 0}}, 1, 1, kNoBuffers, {"AllocateVideoBuffers: ERROR. channelID=1. ZvkFeatureEnumAsInt 'Width'. Reason=ZvkErrorTimeout (-12)"}, {"ZvkFeatureIntGet"}},
        {{{"ZvkFeatureIntGet", 2, -12, 0}}, 1, 1, kNoBuffers, {}, {"ZvkFeatureIntGet"}},
        {{{"ZvkFrameAnnounce", 3, -14, 0}}, 1, 1, "ERROR. ZvkFrameAnnounce failed. ChannelID=1. Reason=ZvkErrorResources (-14).", {}, {"ZvkFrameAnnounce", "ZvkFrameRevokeAll"}},
        {{{"ZvkFrameAnnounce", 3, -14, 0}, {"ZvkFrameRevokeAll", 1, -24, 0}}, 1, 1, "ERROR. ZvkFrameAnnounce failed. ChannelID=1. Reason=ZvkErrorResources (-14).", {start + "ERROR. ZvkFrameRevokeAll failed. ChannelID=1. Reason=ZvkErrorBusy (-24)."}, {"ZvkFrameAnnounce", "ZvkFrameRevokeAll"}},
        {{{"ZvkCaptureStart", 1, -20, 0}}, 1, 1, "ERROR. ZvkCaptureStart failed. ChannelID=1. Reason=ZvkErrorIO (-20).", {}, {"ZvkCaptureStart"}},
        {{{"ZvkCaptureFrameQueue", 1, -7, 0}}, 1, 1, "ERROR. ZvkCaptureFrameQueue failed. ChannelID=1. Reason=ZvkErrorBadParameter (-7).\n", {}, {"ZvkCaptureFrameQueue", "ZvkCaptureQueueFlush", "ZvkFrameRevokeAll", "ZvkCaptureEnd"}},
        {{{"ZvkCaptureFrameQueue", 5, -7, 0}}, 1, 1, "ERROR. ZvkCaptureFrameQueue failed. ChannelID=1. Reason=ZvkErrorBadParameter (-7).\n", {}, {"ZvkCaptureFrameQueue", "ZvkCaptureQueueFlush", "ZvkFrameRevokeAll", "ZvkCaptureEnd"}},
        {{{"ZvkCaptureFrameQueue", 5, -7, 0}, {"ZvkCaptureQueueFlush", 1, -1, 0}}, 1, 1, "ERROR. ZvkCaptureFrameQueue failed. ChannelID=1. Reason=ZvkErrorBadParameter (-7).\n", {start + "ERROR. ZvkCaptureQueueFlush failed. ChannelID=1. Reason=ZvkErrorInternalFault (-1)."}, {"ZvkCaptureFrameQueue", "ZvkCaptureQueueFlush", "ZvkCaptureEnd"}},
        {{{"ZvkCaptureFrameQueue", 5, -7, 0}, {"ZvkFrameRevokeAll", 1, -1, 0}, {"ZvkCaptureEnd", 1, -2, 0}}, 1, 1, "ERROR. ZvkCaptureFrameQueue failed. ChannelID=1. Reason=ZvkErrorBadParameter (-7).\n", {start + "ERROR. ZvkFrameRevokeAll failed. ChannelID=1. Reason=ZvkErrorInternalFault (-1).", start + "ERROR. ZvkCaptureEnd failed. ChannelID=1. Reason=ZvkErrorApiNotStarted (-2)."}, {"ZvkCaptureFrameQueue", "ZvkCaptureQueueFlush", "ZvkFrameRevokeAll", "ZvkCaptureEnd"}},
        {{{"ZvkFeatureCommandRun", 1, -6, 0}}, 1, 1, "ERROR. AcquisitionStart failed. ChannelID=1. Reason=ZvkErrorInvalidAccess (-6).", {}, {"AcquisitionStart"}},
        {{{"ZvkFeatureCommandRun", 2, -6, 0}}, 0, 0, "ERROR. TriggerSoftware failed. ChannelID=1. Reason=ZvkErrorInvalidAccess (-6).", {}, {"AcquisitionStart", "TriggerSoftware"}},
        {{{"ZvkFeatureCommandRun", 1, -6, 0}}, 0, 0, "ERROR. AcquisitionStart failed. ChannelID=1. Reason=ZvkErrorInvalidAccess (-6).", {}, {"AcquisitionStart", "TriggerSoftware"}},
        {{{"ZvkFeatureCommandRun", 1, -6, 1}}, 0, 1, "ERROR. TriggerSoftware failed. ChannelID=1. Reason=ZvkErrorInvalidAccess (-6).", {}, {"AcquisitionStart", "TriggerSoftware"}},
    };
    // clang-format on
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.faults[0].entry) + " " + std::to_string(row.faults[0].nth) + " of " +
                     row.text);
        Open();
        ASSERT_EQ(Configure(1, row.continuous, 0), 0);
        ClearLog();
        sdk.SimClearCalls();
        sdk.SimFailCalls(row.faults.data(), static_cast<std::uint32_t>(row.faults.size()));
        EXPECT_EQ(Start(1), row.result);
        EXPECT_EQ(TextNow(), start + row.text);
        std::vector<std::string> calls = CallNames();
        ASSERT_GE(calls.size(), row.calls.size());
        calls.erase(calls.begin(), calls.end() - static_cast<std::ptrdiff_t>(row.calls.size()));
        EXPECT_EQ(calls, row.calls);
        for (const std::string& line : row.log) {
            EXPECT_EQ(CountInLog(line), 1) << line;
        }
        // A second attempt works whatever the first one left behind. In the manual mode a start does not
        // start a camera that counts as started, so the host stops first.
        ResetSdk();
        if (row.continuous == 0) {
            EXPECT_EQ(Stop(1), 0);
        }
        EXPECT_EQ(Start(1), 0) << TextNow();
        EXPECT_EQ(TextNow(), "");
        DeliverFrames(1);
        EXPECT_EQ(Status(1), static_cast<std::uint32_t>(ImageStatusReady));
        EXPECT_EQ(Stop(1), 0) << TextNow();
    }
    ExpectViolations(); // a capture whose end fails is ended again
}

TEST_F(AcquisitionTest, TransformFailureAtStart)
{
    ExpectErrors();
    Open();
    ASSERT_EQ(Configure(1), 0);
    sdk.SimTransformFailCall("ZvkSetImageInfoFromPixelFormat", 1, -7, 0);
    EXPECT_EQ(Start(1), 1);
    EXPECT_EQ(
        CountInLog(
            "AllocateVideoBuffers: ERROR. channelID=1. ZvkSetImageInfoFromPixelFormat. Reason=ZvkErrorBadParameter (-7)"),
        1);
    EXPECT_EQ(Start(1), 0);
}

TEST_F(AcquisitionTest, AnImageSizeThatNoImageHasFailsTheStart)
{
    ExpectErrors();
    struct Size
    {
        std::int64_t width;
        std::int64_t height;
    };
    static Size size;
    const auto answer = [](ZvkHandle_t, const char* name, std::int64_t* value) {
        *value = std::strcmp(name, "Width") == 0 ? size.width : size.height;
        return ZvkErrorSuccess;
    };
    Open();
    ASSERT_EQ(Configure(1), 0);
    Replace("ZvkFeatureIntGet", answer);
    for (const Size wrong : {Size{0, 0}, Size{-1, -1}, Size{INT64_MIN, INT64_MIN}, Size{INT64_MAX, INT64_MAX},
                             Size{1LL << 31, 1LL << 31}, Size{64, (1LL << 58) + 1}}) { // 64 pixels in 64 bits
        size = wrong;
        EXPECT_EQ(Start(1), 1) << wrong.width;
        EXPECT_EQ(CountInLog("AllocateVideoBuffers: ERROR. channelID=1. No memory for a converted image of " +
                             std::to_string(wrong.width) + " x " + std::to_string(wrong.height) + " pixels."),
                  1);
        EXPECT_EQ(sdk.State().announcedFrames, 0u);
    }
    size = {1, 1};
    EXPECT_EQ(Start(1), 0) << TextNow();
    EXPECT_EQ(Stop(1), 0);
    sdk.SimReplaceEntry("ZvkFeatureIntGet", nullptr);
    EXPECT_EQ(Start(1), 0) << TextNow();
}

TEST_F(AcquisitionTest, StopFailures)
{
    ExpectErrors();
    struct Row
    {
        SimFault fault;
        const char* text;
        bool stillReceiving;
    };
    // clang-format off
    const Row rows[] = {
        {{"ZvkFeatureCommandRun", 1, -20, 0}, "StopAcquisition: ERROR. AcquisitionStop command failed. channelID=0. Reason=ZvkErrorIO (-20).", true},
        {{"ZvkCaptureEnd", 1, -20, 0}, "StopAcquisition: ERROR. ZvkCaptureEnd failed. channelID=0. Reason=ZvkErrorIO (-20).", false},
        {{"ZvkCaptureQueueFlush", 1, -20, 0}, "StopAcquisition: ERROR. ZvkCaptureQueueFlush failed. channelID=0. Reason=ZvkErrorIO (-20).", false},
        {{"ZvkFrameRevokeAll", 1, -20, 0}, "StopAcquisition: ERROR. ZvkFrameRevokeAll failed. channelID=0. Reason=ZvkErrorIO (-20).", false},
    };
    // clang-format on
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        Stream(0);
        DeliverFrames(0);
        sdk.SimFailCalls(&row.fault, 1);
        EXPECT_EQ(Stop(0), 1);
        EXPECT_EQ(TextNow(), row.text);
        EXPECT_EQ(CountInLog(row.text), 1);
        if (row.stillReceiving) {
            DeliverFrames(0);
        }
        EXPECT_EQ(Status(0), static_cast<std::uint32_t>(ImageStatusReady))
            << "a failed stop forgets no frame";
        EXPECT_EQ(Stop(0), 0) << TextNow();
        EXPECT_EQ(CountInLog(
                      std::string("StopAcquisition. channelID=0 FramesReceived=") +
                      (row.stillReceiving ? "2 (Complete=2, Incomplete=0)" : "1 (Complete=1, Incomplete=0)")),
                  1);
        EXPECT_EQ(Status(0), static_cast<std::uint32_t>(ImageStatusPending));
        EXPECT_EQ(Start(0), 0) << TextNow();
        ClearLog();
        EXPECT_EQ(Stop(0), 0);
        EXPECT_EQ(CountInLog("StopAcquisition. channelID=0 FramesReceived=0 (Complete=0, Incomplete=0)"), 1);
    }
}

TEST_F(AcquisitionTest, AStartThatCapturesNothingIsLogged)
{
    ExpectErrors();
    const struct
    {
        int continuous;
        SimFault atStart, atStop;
        const char* reason; // null: frames come
    } rows[] = {
        {1, {}, {}, nullptr},
        {0, {"ZvkFeatureCommandRun", 1, -6, 0}, {}, "AcquisitionStart had failed"},
        {1, {}, {"ZvkCaptureEnd", 1, -1, 0}, nullptr},
        {1, {}, {"ZvkCaptureQueueFlush", 1, -1, 0}, "a stop had failed half-way"},
        {1, {}, {"ZvkFrameRevokeAll", 1, -1, 0}, "a stop had failed half-way"},
    };
    for (const auto& row : rows) {
        Open();
        ASSERT_EQ(Configure(0, row.continuous, 0), 0);
        sdk.SimFailCalls(&row.atStart, row.atStart.entry != nullptr ? 1 : 0);
        ASSERT_EQ(Start(0), 0);
        if (row.atStop.entry != nullptr) {
            sdk.SimFailCalls(&row.atStop, 1);
            ASSERT_EQ(Stop(0), 1);
        }
        ASSERT_EQ(Start(0), 0) << TextNow();
        const std::string line = std::string("StartAcquisition: WARNING. The channel captures nothing: ") +
                                 (row.reason != nullptr ? row.reason : "") +
                                 ". Stop it, then start it. ChannelID=0.";
        EXPECT_EQ(CountInLog(line) > 0, row.reason != nullptr) << line;
        sdk.SimEmitFrame(0, nullptr);
        EXPECT_EQ(Status(0) == ImageStatusReady, row.reason == nullptr);
        // What the line advises helps.
        ASSERT_EQ(Stop(0), 0);
        ClearLog();
        ASSERT_EQ(Start(0), 0);
        EXPECT_FALSE(IsInLog("captures nothing"));
        DeliverFrames(0);
        Fetch(0, 3072);
    }
}

TEST_F(AcquisitionTest, WhatAFailedStartLeftIsTakenBackOrTheNextOneFails)
{
    ExpectErrors();
    Open();
    ASSERT_EQ(Configure(0), 0);
    const SimFault faults[] = {{"ZvkCaptureFrameQueue", 1, -1, 0}, {"ZvkCaptureEnd", 1, -1, 0}};
    sdk.SimFailCalls(faults, 2);
    EXPECT_EQ(Start(0), 1);
    sdk.SimFailCall("ZvkCaptureEnd", 1, -1, 0);
    EXPECT_EQ(Start(0), 1);
    EXPECT_EQ(TextNow(),
              "StartAcquisition: ERROR. Frames of an earlier start cannot be taken back. ChannelID=0.");
    EXPECT_EQ(Start(0), 0) << TextNow();
    DeliverFrames(0);
    Fetch(0, std::size_t{64} * 48);
}

TEST_F(AcquisitionTest, AStopBeforeAnyStart)
{
    ExpectErrors();
    Open();
    EXPECT_EQ(Stop(0), 1); // the camera is closed
    ASSERT_EQ(Configure(0), 0);
    Stop(0);
    EXPECT_EQ(Start(0), 0);
    ExpectViolations();
}

} // namespace

} // namespace maravel::test
