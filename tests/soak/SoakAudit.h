// Whether every frame that a camera emitted turned up somewhere.
#pragma once

#include "soak/SoakChannel.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace maravel::soak {

// Sums over all cameras and sessions.
struct Totals
{
    std::uint64_t emitted = 0;           // complete ones
    std::uint64_t fetched = 0;           // by the host
    std::uint64_t waiting = 0;           // when a session ended; gone with it
    std::uint64_t discardedAtStop = 0;   // stored, and not fetched before the stop
    std::uint64_t arrivedAfterStop = 0;  // complete ones
    std::uint64_t incomplete = 0;        // emitted
    std::uint64_t lostWithoutBuffer = 0; // never emitted: the host was slow
    std::uint64_t calls = 0;
    std::uint64_t refusals = 0;
};

// Compares a session's log, what the cameras say and what the host threads noted, and adds it to the totals.
// Nothing may arrive meanwhile: every camera is stopped or has no buffer left. Returns what does not add up.
std::vector<std::string> Audit(const std::string& log, const std::vector<SimStatistics>& cameras,
                               const std::vector<const Ledger*>& books, Totals* totals);

} // namespace maravel::soak
