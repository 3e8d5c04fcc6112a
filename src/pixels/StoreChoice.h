// Whether an image is better written through the caches or past them.
#pragma once

#include <cstddef>

namespace maravel {

enum class StoreKind
{
    Cached,   // ordinary stores
    Streaming // past the caches: saves reading the target's lines from memory before they are overwritten
};

// For the next image, to be written to that memory. Remembers the last targets: one that was written a short
// while ago is still in the caches, as with a host that has one buffer, and is best written there; any other
// one would have to be read in first. Any thread.
StoreKind ChooseStores(const void* target, std::size_t byteCount) noexcept;

} // namespace maravel
