#pragma once

#include <cstdint>

namespace maravel::test {

// Threads of this process.
std::uint32_t ThreadsInUse();

} // namespace maravel::test
