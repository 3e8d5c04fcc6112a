// What the calling process or thread asked of the system and of the heap.
#pragma once

#include <cstdint>
#include <functional>

namespace maravel::bench {

// Calls of write and its kin by this process so far.
std::uint64_t WriteCalls();

// Page faults of the calling thread so far.
std::uint64_t PageFaults();

// Blocks that the calling thread took from the heap so far: malloc, calloc, realloc, aligned_alloc and all
// that goes through them.
std::uint64_t Allocations();

struct SystemCalls
{
    std::uint64_t writes = 0;
    std::uint64_t others = 0;
};

// Runs both in a child process and counts the system calls that its thread makes in the second. What they
// change is gone with the child. Throws std::runtime_error when the system does not let it look.
SystemCalls CountSystemCalls(const std::function<void()>& prepare, const std::function<void()>& counted);

} // namespace maravel::bench
