#include "sweep/SweepHost.h"

#include "sweep/Scenarios.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>
#include <sstream>

namespace maravel::sweep {

namespace {

// What a closing step leaves behind when the SDK refuses it is in the way of the next one. An image that
// waits is still the host's then, and its frame is queued again once the host has it.
struct Excuse
{
    const char* violation;
    const char* refused;
};
constexpr Excuse kExcuses[] = {{"ZvkFrameRevokeAll: a frame is queued", "ZvkCaptureQueueFlush"},
                               {"ZvkCameraClose: the camera is capturing", "ZvkCaptureEnd"},
                               {"ZvkCameraClose: frames are announced", "ZvkFrameRevokeAll"},
                               {"ZvkShutdown: camera ", "ZvkCameraClose"},
                               {"ZvkCaptureFrameQueue: the camera is not capturing", "ZvkCaptureQueueFlush"},
                               {"ZvkCaptureFrameQueue: the camera is not capturing", "ZvkFrameRevokeAll"}};

bool IsExcused(const std::string& violation, const std::vector<std::string>& calls)
{
    const auto wasRefused = [&](const char* entry) {
        return std::any_of(calls.begin(), calls.end(), [&](const std::string& call) {
            return call.starts_with(std::string(entry) + "(") && !call.ends_with(" = 0");
        });
    };
    return std::any_of(std::begin(kExcuses), std::end(kExcuses), [&](const Excuse& excuse) {
        return violation.starts_with(excuse.violation) && wasRefused(excuse.refused);
    });
}

} // namespace

SweepHost::SweepHost(bool isUnkind) : TestHost(kSweepCameras)
{
    BeUnkind(isUnkind);
    if (isUnkind) {
        unkind_->onMessages = [this]() { CallFromInside(); };
    }
    Load();
}

void SweepHost::Load()
{
    LoadAdapter();
    // The callbacks, so that they can be called whatever became of the channels.
    Open();
    ASSERT_NE(callbacks_.ReleaseVideoChannel, nullptr) << TextNow();
    Release(0);
}

void SweepHost::Reload()
{
    UnloadAdapter();
    const std::vector<Answer> answers = answers_;
    // Loading opens once, and that is no part of anyone's scenario.
    const Counts counts = {{Calls(SdkLibrary::Runtime), Calls(SdkLibrary::Transform)},
                           {FaultsFired(SdkLibrary::Runtime), FaultsFired(SdkLibrary::Transform)},
                           Violations()};
    EndFaults();
    Load();
    EndFaults();
    beforeReload_ = counts;
    answers_ = answers;
}

void SweepHost::BeginRecord()
{
    answers_.clear();
    stopRefused_ = -1;
    startAt_ = std::string::npos;
    hasSilentStart_ = false;
    earlierLog_.clear();
    ClearLog();
}

std::uint64_t SweepHost::Calls(SdkLibrary library) const
{
    return library == SdkLibrary::Runtime
               ? beforeReload_.calls[0] + sdk.SimCallCount(nullptr) - sdk.SimCallCount("ZvkShutdown")
               : beforeReload_.calls[1] + sdk.SimTransformCallCount(nullptr);
}

std::uint64_t SweepHost::FaultsFired(SdkLibrary library) const
{
    return library == SdkLibrary::Runtime ? beforeReload_.faults[0] + sdk.SimFaultsFired()
                                          : beforeReload_.faults[1] + sdk.SimTransformFaultsFired();
}

std::vector<std::string> SweepHost::Violations() const
{
    std::vector<std::string> violations = beforeReload_.violations;
    if (sdk.SimViolations(nullptr, 0) != 0) {
        const std::vector<std::string> calls = sdk.Calls();
        std::istringstream lines(sdk.Violations());
        for (std::string line; std::getline(lines, line);) {
            if (!IsExcused(line, calls)) {
                violations.push_back(line);
            }
        }
    }
    return violations;
}

void SweepHost::FailCall(SdkLibrary library, std::uint32_t nth, std::int32_t code, bool forever)
{
    const auto fail = library == SdkLibrary::Runtime ? sdk.SimFailCall : sdk.SimTransformFailCall;
    fail(nullptr, nth, code, forever ? 1 : 0);
}

void SweepHost::EndFaults()
{
    beforeReload_ = {};
    ResetSdk();
}

// A host whose timer polls while an SDK call lets messages through.
void SweepHost::CallFromInside()
{
    if (callbacks_.QueryImageStatus == nullptr) {
        return;
    }
    char text[MARAVEL_TEXT_SIZE] = "";
    std::uint32_t status = 0xDEAD;
    EXPECT_EQ(callbacks_.QueryImageStatus(text, 0, &status), MARAVEL_SUCCESS);
    EXPECT_EQ(status, static_cast<std::uint32_t>(ImageStatusPending));
    EXPECT_EQ(callbacks_.GetImage(text, 0, text, &status), MARAVEL_FAILURE);
}

// Called when an acquisition ends. Only the adapter's own warning counts: whatever the frames' arrival logs,
// a camera that sends nothing makes nobody write.
void SweepHost::CheckStream()
{
    if (startAt_ != std::string::npos && !hasImage_) {
        hasSilentStart_ |= LogSinceRecord().find("captures nothing", startAt_) == std::string::npos;
    }
    startAt_ = std::string::npos;
}

void SweepHost::Note(const Answer& answer)
{
    answers_.push_back(answer);
    answers_.back().isLogged = sdk.State().started != 0;
}

void SweepHost::Open()
{
    earlierLog_ = LogSinceRecord();
    TestHost::Open();
}

void SweepHost::SetUp(int channel, int acqContinuous, int acqTriggered, int lowToHigh)
{
    CommonParams params = test::Params(acqContinuous, acqTriggered);
    params.acqTriggerLowToHigh = lowToHigh;
    params.roiwidth = 32;
    params.roiheight = 16;
    Configure(channel, params);
}

void SweepHost::Start(int channel)
{
    const std::size_t logEnd = LogSinceRecord().size();
    startAt_ = TestHost::Start(channel) == MARAVEL_SUCCESS ? logEnd : std::string::npos;
    hasImage_ = false;
}

void SweepHost::Stop(int channel)
{
    CheckStream();
    stopRefused_ = TestHost::Stop(channel) == MARAVEL_SUCCESS ? -1 : channel;
}

void SweepHost::Poll(int channel)
{
    Query(channel);
    test::Guarded<ImageAttributes> attributes(sizeof(ImageAttributes));
    Attributes(channel, attributes.Get());
    Fetch(channel, image_.Data());
    hasImage_ |= ImageStatus() == ImageStatusReady;
}

} // namespace maravel::sweep
