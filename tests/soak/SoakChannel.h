// One host thread's dealings with one channel, and the books that it keeps.
#pragma once

#include "soak/SoakAudit.h"
#include "support/RandomHost.h"
#include "support/TestHost.h"

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace maravel::soak {

// Not for several threads at once. What goes wrong is a failure of GoogleTest.
class SoakChannel : private test::HostCalls
{
public:
    SoakChannel(test::TestHost& host, std::size_t index, std::uint32_t seed);

    // One random thing that a host does: mostly fetching.
    void Step();
    // Sets up free run, starts, and expects an image. No fault may be armed.
    void Try();
    // Fetches all that waits.
    void Drain();
    // Has the camera send nothing more and fetches everything; false when the camera does not listen.
    bool Quieten();
    // The same, and stops.
    void StopDrained() { StopUntilDone(Quieten()); }
    // Closes the camera.
    void Close() { Release(index_); }

    // Of one session, from a start of the adapter to the next.
    const Acquisitions& Fetched() const { return fetched_; }
    std::uint64_t Count(Sum sum) const { return sum == Calls ? calls_ : refusals_; }

private:
    void Note(const test::Answer& answer) override;
    bool FetchOne();
    bool SetUpAndStart(int mode);
    void StopUntilDone(bool isDrained);
    void CallNowhere();
    int Random(int below) { return static_cast<int>(random_() % static_cast<std::uint32_t>(below)); }

    test::SdkControl& sdk_;
    const std::int64_t index_;
    std::mt19937 random_;
    test::GuardedBuffer image_;
    Acquisitions fetched_ = Acquisitions(1);
    std::uint64_t calls_ = 0;
    std::uint64_t refusals_ = 0;
    std::uint64_t lastTimestamp_ = 0;
    int mode_ = 0;
    bool isStreaming_ = false;
    bool isNowhere_ = false; // the call is for a channel that does not exist
};

} // namespace maravel::soak
