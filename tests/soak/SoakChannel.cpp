#include "soak/SoakChannel.h"

#include <chrono>
#include <thread>
#include <utility>

namespace maravel::soak {

namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kLargestImage = 1 << 20;
constexpr int kManual = 0;
constexpr int kFreeRun = 1;
constexpr int kHardware = 2;
constexpr milliseconds kFirstFrame{5000};
// A frame that is on its way when the camera stops has arrived by then.
constexpr milliseconds kInFlight{50};
// Faults that happen once are over after so many attempts, and a camera is plugged in again.
constexpr int kAttempts = 100;

CommonParams ParamsFor(int mode)
{
    CommonParams params = {};
    params.exposure = 0.0002;
    params.acqContinuous = mode == kManual ? 0 : 1;
    params.acqTriggered = mode == kHardware ? 1 : 0;
    params.acqTriggerLowToHigh = 1;
    params.roiwidth = 100'000;
    params.roiheight = 100'000;
    return params;
}

} // namespace

SoakChannel::SoakChannel(const host::Channel& channel, test::SdkControl& sdk, std::uint32_t seed)
    : channel_(channel), sdk_(sdk), random_(seed), features_(channel.FeatureNames()), image_(kLargestImage)
{
}

void SoakChannel::Complain(const std::string& what)
{
    complaints_.push_back("channel " + std::to_string(channel_.Index()) + ": " + what);
}

std::vector<std::string> SoakChannel::TakeComplaints()
{
    return std::exchange(complaints_, {});
}

bool SoakChannel::Note(const char* operation, const host::Outcome& outcome)
{
    ++ledger_.calls;
    if (!outcome) {
        ++ledger_.refusals;
        if (outcome.text.empty()) {
            Complain(std::string(operation) + " failed without a text");
        }
    }
    return outcome.ok;
}

// False when none waits.
bool SoakChannel::FetchOne()
{
    if (channel_.QueryImageStatus() != ImageStatusReady) {
        return false;
    }
    std::uint32_t status = ImageStatusError;
    if (Random(8) == 0) {
        ImageAttributes attributes;
        if (Note("GetImageAttributes", channel_.GetImageAttributes(&attributes, &status)) &&
            attributes.timestamp <= lastTimestamp_) {
            Complain("an image is older than the one before");
        }
        lastTimestamp_ = attributes.timestamp;
    }
    if (!Note("GetImage", channel_.GetImage(image_.data(), &status)) || status != ImageStatusReady) {
        Complain("an image that waits is not delivered, status " + std::to_string(status));
        return false;
    }
    ++ledger_.fetched;
    ++ledger_.fetchedSinceStop;
    ++frames_;
    return true;
}

void SoakChannel::Drain()
{
    while (FetchOne()) {
    }
}

void SoakChannel::SetUpAndStart()
{
    mode_ = Random(4) == 0 ? kManual : Random(6) == 0 ? kHardware : kFreeRun;
    if (!Note("SetupCommonParams", channel_.SetupCommonParams(ParamsFor(mode_)))) {
        return;
    }
    // A start that is refused half-way may have left the camera running.
    isStreaming_ = true;
    lastTimestamp_ = 0;
    Note("StartAcquisition", channel_.StartAcquisition());
}

bool SoakChannel::StopUntilDone(bool isDrained)
{
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        if (Note("StopAcquisition", channel_.StopAcquisition())) {
            ledger_.stopped.push_back({ledger_.fetchedSinceStop, isDrained});
            ledger_.fetchedSinceStop = 0;
            isStreaming_ = false;
            return true;
        }
        std::this_thread::sleep_for(milliseconds(2));
    }
    Complain("does not stop any more");
    return false;
}

bool SoakChannel::Quieten()
{
    bool isQuiet = false;
    for (int attempt = 0; attempt < kAttempts && !isQuiet; ++attempt) {
        isQuiet = Note("ExecuteCommand", channel_.ExecuteCommand("AcquisitionStop"));
    }
    Drain();
    std::this_thread::sleep_for(kInFlight);
    Drain();
    return isQuiet;
}

bool SoakChannel::StopDrained()
{
    return StopUntilDone(Quieten());
}

void SoakChannel::Release()
{
    Note("ReleaseVideoChannel", channel_.Release());
}

bool SoakChannel::Works()
{
    if (isStreaming_ && !StopUntilDone(false)) {
        return false;
    }
    mode_ = kFreeRun;
    if (!Note("SetupCommonParams", channel_.SetupCommonParams(ParamsFor(mode_)))) {
        return false;
    }
    isStreaming_ = true;
    lastTimestamp_ = 0;
    if (!Note("StartAcquisition", channel_.StartAcquisition())) {
        return false;
    }
    const Clock::time_point deadline = Clock::now() + kFirstFrame;
    while (Clock::now() < deadline) {
        if (FetchOne()) {
            return true;
        }
        std::this_thread::sleep_for(milliseconds(1));
    }
    return false;
}

// What no host should do, which the adapter is to survive.
void SoakChannel::Provoke()
{
    std::string value;
    std::int32_t type = 0;
    std::uint32_t status = 0;
    channel_.ReadValue("NoSuchFeature", &value);
    channel_.GetFeatureType("", &type);
    channel_.WriteValue("Width", "not a number");
    channel_.GetImage(nullptr, &status);
    VideoChannelDescriptor elsewhere = channel_.Descriptor();
    elsewhere.channelID = Random(2) == 0 ? -1 : 1'000'000;
    const host::Channel nowhere(elsewhere);
    if (nowhere.StartAcquisition() || nowhere.StopAcquisition() || nowhere.Release()) {
        Complain("a channel that does not exist is served");
    }
}

void SoakChannel::UseFeatures()
{
    const std::string& feature =
        features_[static_cast<std::size_t>(Random(static_cast<int>(features_.size())))];
    std::string value;
    std::int32_t type = 0;
    Note("ReadValue", channel_.ReadValue(feature, &value));
    Note("GetFeatureType", channel_.GetFeatureType(feature, &type));
    channel_.Description(feature);
    channel_.IsWritable(feature);
    if (type == FeatureTypeEnum) {
        channel_.EnumEntries(feature);
    }
    Note("WriteValue", channel_.WriteValue("Gain", std::to_string(Random(10))));
}

void SoakChannel::Step()
{
    const int chance = Random(1000);
    if (!isStreaming_ || chance < 3) {
        SetUpAndStart();
    }
    else if (chance < 6) {
        StopUntilDone(false);
        // The first channel stays open, so that the adapter stays up.
        if (channel_.Index() != 0 && Random(2) == 0) {
            Release();
        }
    }
    else if (chance < 7) {
        StopDrained();
    }
    else if (chance < 12) {
        UseFeatures();
    }
    else if (chance < 14) {
        Provoke();
    }
    else if (!FetchOne()) {
        if (mode_ == kManual) {
            Note("StartAcquisition", channel_.StartAcquisition());
        }
        else if (mode_ == kHardware) {
            sdk_.SimPulseLine(static_cast<std::uint32_t>(channel_.Index()), "Line0");
        }
        std::this_thread::sleep_for(milliseconds(1));
    }
}

} // namespace maravel::soak
