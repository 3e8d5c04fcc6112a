// Whether every frame that a camera emitted turned up somewhere.
#pragma once

#include "support/SdkControl.h"

#include <array>
#include <cstdint>
#include <istream>
#include <vector>

namespace maravel::soak {

// What is summed over all channels and sessions.
enum Sum
{
    Emitted, // complete frames
    Fetched,
    Waiting,
    Discarded,
    Late,
    Incomplete,
    Lost,
    Calls,
    Refusals,
    Faults,
    Restarts,
    SumCount
};
inline constexpr std::array<const char*, SumCount> kSumNames = {"complete frames emitted",
                                                                "= fetched",
                                                                "+ waiting when a session ended",
                                                                "+ discarded by a stop",
                                                                "+ arrived after a stop",
                                                                "incomplete frames, all requeued",
                                                                "frames lost, no buffer queued",
                                                                "host calls",
                                                                "of these refused, with a text",
                                                                "SDK calls made to fail",
                                                                "restarts"};
using Sums = std::array<std::uint64_t, SumCount>;

// What a host fetched of one acquisition, from a start to the next stop that succeeded.
struct Acquisition
{
    std::uint64_t fetched = 0;
    bool isDrained = false; // it was everything
};
using Acquisitions = std::vector<Acquisition>; // of a channel; the last one goes on

// Expects a session's log, what the cameras say and what the host fetched of each channel to agree, and adds
// it to the sums. Nothing may arrive meanwhile: every camera is stopped or has no buffer left.
void Audit(std::istream& log, const std::vector<SimStatistics>& cameras,
           const std::vector<Acquisitions>& fetched, Sums& sums);

} // namespace maravel::soak
