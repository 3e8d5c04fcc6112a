#pragma once

#include <cstdint>

namespace maravel::test {

// Bytes that this process has on the heap, to the byte; 0 where the allocator does not say.
std::uint64_t HeapInUse();

} // namespace maravel::test
