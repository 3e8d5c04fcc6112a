#include "Handles.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>

namespace maravel::backend {
namespace {

// Low half: running number (22 bits), kind (4 bits), index (6 bits). High half: the mark of this loading, so
// that a handle of an earlier loading in the same process is told from a live one.
constexpr std::uint64_t IndexBits = 6;
constexpr std::uint64_t KindBits = 4;
constexpr std::uint64_t NumberBits = 22;

constinit std::atomic<std::uint32_t> g_mark{0};
constinit std::atomic<std::uint32_t> g_number{0};

std::uint32_t Mark()
{
    std::uint32_t mark = g_mark.load(std::memory_order_acquire);
    if (mark == 0) {
        const auto ticks = std::chrono::steady_clock::now().time_since_epoch().count();
        const auto fresh = static_cast<std::uint32_t>(static_cast<std::uint64_t>(ticks) >> 8) | 0x40000000U;
        if (g_mark.compare_exchange_strong(mark, fresh)) {
            mark = fresh;
        }
    }
    return mark;
}

} // namespace

ZvkHandle_t HandleTable::Add(HandleKind kind, std::uint32_t index, void* object)
{
    const std::uint64_t number = (g_number.fetch_add(1) + 1) & ((1U << NumberBits) - 1);
    std::uint64_t value = static_cast<std::uint64_t>(Mark()) << 32;
    value |= number << (KindBits + IndexBits);
    value |= static_cast<std::uint64_t>(kind) << IndexBits;
    value |= index & ((1U << IndexBits) - 1);
    const auto handle = reinterpret_cast<ZvkHandle_t>(static_cast<std::uintptr_t>(value));
    live_.push_back({handle, {kind, index}, object});
    return handle;
}

void HandleTable::Remove(ZvkHandle_t handle)
{
    std::erase_if(live_, [handle](const Entry& entry) { return entry.handle == handle; });
}

const HandleTable::Entry* HandleTable::Find(ZvkHandle_t handle) const
{
    const auto found = std::find_if(live_.begin(), live_.end(),
                                    [handle](const Entry& entry) { return entry.handle == handle; });
    return found == live_.end() ? nullptr : &*found;
}

void* HandleTable::Find(ZvkHandle_t handle, HandleKind kind) const
{
    const Entry* entry = Find(handle);
    return entry != nullptr && entry->name.kind == kind ? entry->object : nullptr;
}

bool NameHandle(ZvkHandle_t handle, HandleName* name)
{
    const std::uint64_t value = reinterpret_cast<std::uintptr_t>(handle);
    const std::uint64_t kind = (value >> IndexBits) & ((1U << KindBits) - 1);
    if (value >> 32 != Mark() || kind < 1 || kind > static_cast<std::uint64_t>(HandleKind::Chunk)) {
        return false;
    }
    *name = {static_cast<HandleKind>(kind), static_cast<std::uint32_t>(value & ((1U << IndexBits) - 1))};
    return true;
}

void DescribeHandle(const void* handle, char* text, std::size_t size)
{
    static constexpr const char* kinds[] = {
        "", "transport layer", "interface", "camera", "local device", "stream", "chunk"};
    HandleName name{};
    if (handle == nullptr) {
        std::snprintf(text, size, "null");
    }
    else if (NameHandle(const_cast<ZvkHandle_t>(handle), &name)) {
        std::snprintf(text, size, "%s %u", kinds[static_cast<std::size_t>(name.kind)], name.index);
    }
    else {
        std::snprintf(text, size, "%p", handle);
    }
}

} // namespace maravel::backend
