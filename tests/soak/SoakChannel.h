// One host thread's dealings with one channel, and the books that it keeps.
#pragma once

#include "host/Channel.h"
#include "support/SdkControl.h"

#include <atomic>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace maravel::soak {

// Frames of one acquisition, from a start to the next stop that succeeded.
struct Acquisition
{
    std::uint64_t fetched;
    bool isDrained; // the host had fetched everything before it stopped
};

// What one session, from a start of the adapter to the next, came to.
struct Ledger
{
    std::uint64_t fetched = 0;
    std::uint64_t fetchedSinceStop = 0;
    std::vector<Acquisition> stopped;
    std::uint64_t calls = 0;
    std::uint64_t refusals = 0; // calls that failed, with a text
};

// Not for several threads at once, but for Frames().
class SoakChannel
{
public:
    SoakChannel(const host::Channel& channel, test::SdkControl& sdk, std::uint32_t seed);

    // One random thing that a host does: mostly fetching.
    void Step();
    // Sets up free run, starts, and waits for an image; false when none comes. No fault may be armed.
    bool Works();
    // Has the camera send nothing more and fetches everything; false when the camera does not listen.
    bool Quieten();
    // The same, and stops; false when that fails.
    bool StopDrained();
    void Drain();
    // Closes the camera.
    void Release();

    bool IsStreaming() const { return isStreaming_; }
    const Ledger& Books() const { return ledger_; }
    std::uint64_t Frames() const { return frames_; }
    // What went wrong since the last call.
    std::vector<std::string> TakeComplaints();

private:
    bool Note(const char* operation, const host::Outcome& outcome);
    bool FetchOne();
    void SetUpAndStart();
    bool StopUntilDone(bool isDrained);
    void Provoke();
    void UseFeatures();
    void Complain(const std::string& what);
    int Random(int below) { return static_cast<int>(random_() % static_cast<std::uint32_t>(below)); }

    host::Channel channel_;
    test::SdkControl& sdk_;
    std::mt19937 random_;
    std::vector<std::string> features_;
    std::vector<unsigned char> image_;
    std::vector<std::string> complaints_;
    Ledger ledger_;
    std::atomic<std::uint64_t> frames_ = 0;
    std::uint64_t lastTimestamp_ = 0;
    int mode_ = 0;
    bool isStreaming_ = false;
};

} // namespace maravel::soak
