#include "soak/SoakChannel.h"

#include <chrono>
#include <thread>

namespace maravel::soak {

namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kLargestImage = 64 * 48 * 3;
constexpr int kManual = 0;
constexpr int kFreeRun = 1;
constexpr int kHardware = 2;
constexpr milliseconds kFirstFrame{5000};
// A frame that is on its way when the camera stops has arrived by then.
constexpr milliseconds kInFlight{50};
// Faults that happen once are over after so many attempts, and a camera is plugged in again.
constexpr int kAttempts = 100;

} // namespace

SoakChannel::SoakChannel(test::TestHost& host, std::size_t index, std::uint32_t seed)
    : HostCalls(host.EntryPoint(), host.Channel(index)), sdk_(host.sdk),
      index_(static_cast<std::int64_t>(index)), random_(seed), image_(kLargestImage)
{
}

void SoakChannel::Note(const test::Answer& answer)
{
    ++calls_;
    refusals_ += answer.status != MARAVEL_SUCCESS;
    EXPECT_TRUE(answer.IsConsistent())
        << answer.operation << " answered " << answer.status << " '" << answer.text << "'";
    EXPECT_TRUE(!isNowhere_ || answer.status != MARAVEL_SUCCESS || answer.operation == "QueryImageStatus")
        << answer.operation << " serves a channel that does not exist";
}

// False when none waits.
bool SoakChannel::FetchOne()
{
    Query(index_);
    if (ImageStatus() != ImageStatusReady) {
        return false;
    }
    if (Random(8) == 0) {
        ImageAttributes attributes = {};
        attributes.structSize = sizeof attributes;
        if (Attributes(index_, &attributes) == MARAVEL_SUCCESS) {
            EXPECT_GT(attributes.timestamp, lastTimestamp_) << "an image is older than the one before";
        }
        lastTimestamp_ = attributes.timestamp;
    }
    if (Fetch(index_, image_.Data()) != MARAVEL_SUCCESS || ImageStatus() != ImageStatusReady) {
        ADD_FAILURE() << "an image that waits is not delivered, status " << ImageStatus();
        return false;
    }
    ++fetched_.back().fetched;
    return true;
}

void SoakChannel::Drain()
{
    while (FetchOne()) {
    }
}

bool SoakChannel::SetUpAndStart(int mode)
{
    mode_ = mode;
    if (Configure(index_, test::Params(mode != kManual, mode == kHardware, 0.0002)) != MARAVEL_SUCCESS) {
        return false;
    }
    // A start that is refused half-way may have left the camera running.
    isStreaming_ = true;
    lastTimestamp_ = 0;
    return Start(index_) == MARAVEL_SUCCESS;
}

void SoakChannel::StopUntilDone(bool isDrained)
{
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        if (Stop(index_) == MARAVEL_SUCCESS) {
            fetched_.back().isDrained = isDrained;
            fetched_.emplace_back();
            isStreaming_ = false;
            return;
        }
        std::this_thread::sleep_for(milliseconds(2));
    }
    ADD_FAILURE() << "channel " << index_ << " does not stop any more";
}

bool SoakChannel::Quieten()
{
    bool isQuiet = false;
    for (int attempt = 0; attempt < kAttempts && !isQuiet; ++attempt) {
        isQuiet = Execute(index_, "AcquisitionStop") == MARAVEL_SUCCESS;
    }
    Drain();
    std::this_thread::sleep_for(kInFlight);
    Drain();
    return isQuiet;
}

void SoakChannel::Try()
{
    if (isStreaming_) {
        StopUntilDone(false);
    }
    ASSERT_TRUE(SetUpAndStart(kFreeRun)) << TextNow();
    const Clock::time_point deadline = Clock::now() + kFirstFrame;
    while (!FetchOne()) {
        ASSERT_LT(Clock::now(), deadline) << "channel " << index_ << " does not stream any more";
        std::this_thread::sleep_for(milliseconds(1));
    }
}

// What no host should do, which the adapter is to survive.
void SoakChannel::CallNowhere()
{
    Fetch(index_, nullptr);
    isNowhere_ = true;
    CallAnything(*this, test::Drawing::Fuzzer, Random(2) == 0 ? -1 : 1'000'000, kLargestImage, random_);
    isNowhere_ = false;
}

void SoakChannel::Step()
{
    const int chance = Random(1000);
    if (!isStreaming_ || chance < 3) {
        SetUpAndStart(Random(4) == 0 ? kManual : Random(6) == 0 ? kHardware : kFreeRun);
    }
    else if (chance < 6) {
        StopUntilDone(false);
        // The first channel stays open, so that the adapter stays up.
        if (index_ != 0 && Random(2) == 0) {
            Close();
        }
    }
    else if (chance < 7) {
        StopDrained();
    }
    else if (chance < 20) {
        CallAnything(*this, test::Drawing::Soak, index_, kLargestImage, random_);
        Write(index_, "Gain", std::to_string(Random(10)));
    }
    else if (chance < 25) {
        CallNowhere();
    }
    else if (!FetchOne()) {
        if (mode_ == kManual) {
            Start(index_);
        }
        else if (mode_ == kHardware) {
            sdk_.SimPulseLine(static_cast<std::uint32_t>(index_), "Line0");
        }
        std::this_thread::sleep_for(milliseconds(1));
    }
}

} // namespace maravel::soak
