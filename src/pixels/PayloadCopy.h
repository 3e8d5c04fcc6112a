// The copy of a frame's payload into the host's memory.
#pragma once

#include <cstddef>

namespace maravel {

// As memcpy: any alignment, no overlap. Copies past the caches where the size asks for it. Allocates nothing.
// Any thread.
void CopyPayload(void* destination, const void* source, std::size_t byteCount) noexcept;

} // namespace maravel
