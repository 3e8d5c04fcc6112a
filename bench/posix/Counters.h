// What the calling process or thread asked of the system and of the heap.
#pragma once

#include <cstdint>
#include <functional>

namespace maravel::bench {

// Calls of write and its kin by this process so far.
std::uint64_t WriteCalls();

// What the main thread of a child process asked for.
struct Counts
{
    std::uint64_t allocations = 0; // malloc, calloc, realloc, aligned_alloc and all that goes through them
    std::uint64_t pageFaults = 0;
    std::uint64_t writes = 0;
    std::uint64_t otherSystemCalls = 0;
};

// Runs both in a child process and counts what the second one asks for. What they change is gone with the
// child. Throws std::runtime_error when the system does not let it look. No other thread may run.
Counts CountInChild(const std::function<void()>& prepare, const std::function<void()>& counted);

} // namespace maravel::bench
