#include "pixels/Kernels.h"

#include <atomic>
#include <cstdint>

namespace maravel {
namespace {

// Less than that fits a processor's own cache beside everything else.
constexpr std::size_t kLeastStreamed = std::size_t{256} << 10;

// When more than that was written since, streaming is faster even where a part of the target is still there.
constexpr std::uint64_t kStillCached = std::uint64_t{12} << 20;

struct Target
{
    std::atomic<const void*> address;
    std::atomic<std::uint64_t> writtenBefore; // bytes of all images up to its last one
};

// Read and written without a lock and without locked instructions, which a small image would notice. What
// threads overwrite of each other's entries costs at worst that an image is written the slower way.
Target recentTargets[16];
std::atomic<std::uint64_t> written;

Target& EntryFor(const void* address) noexcept
{
    const std::uint64_t spread = reinterpret_cast<std::uintptr_t>(address) * 0x9E3779B97F4A7C15;
    return recentTargets[spread >> 60];
}

} // namespace

StoreKind ChooseStores(const void* target, std::size_t byteCount) noexcept
{
    const std::uint64_t now = written.load(std::memory_order_relaxed) + byteCount;
    written.store(now, std::memory_order_relaxed);
    Target& entry = EntryFor(target);
    const bool known = entry.address.load(std::memory_order_relaxed) == target;
    const std::uint64_t before = entry.writtenBefore.load(std::memory_order_relaxed);
    entry.address.store(target, std::memory_order_relaxed);
    entry.writtenBefore.store(now, std::memory_order_relaxed);
    const bool isStillCached = known && now - before <= kStillCached;
    return byteCount < kLeastStreamed || isStillCached ? StoreKind::Cached : StoreKind::Streaming;
}

} // namespace maravel
