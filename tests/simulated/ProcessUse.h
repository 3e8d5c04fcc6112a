// What this process holds of the system.
#pragma once

#include <cstdint>

namespace maravel::test {

struct ProcessUse
{
    std::uint64_t handles; // files, on POSIX systems
    std::uint64_t threads;
    std::uint64_t bytes; // on the heap; 0 where the allocator does not say
};

ProcessUse MeasureProcess();

} // namespace maravel::test
