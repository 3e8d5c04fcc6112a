// Replaces the allocation functions of the module that it is linked into. The nth allocation from a given
// moment fails, once or with all that follow; allocations that are alive are counted.
#include "platform/Compiler.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void __real_free(void* block);
}

namespace {

std::atomic<std::int64_t> made{0};
std::atomic<std::int64_t> failAt{0}; // 0: none
std::atomic<bool> failForever{false};
std::atomic<std::int64_t> alive{0};
std::atomic<void (*)(std::size_t)> watcher{nullptr};

bool Fails()
{
    const std::int64_t number = ++made;
    const std::int64_t first = failAt;
    return first != 0 && (number == first || (failForever && number > first));
}

void* Allocate(std::size_t size)
{
    if (const auto watch = watcher.load(); watch != nullptr) {
        watch(size);
    }
    void* block = Fails() ? nullptr : __real_malloc(size == 0 ? 1 : size);
    alive += block != nullptr ? 1 : 0;
    return block;
}

void Release(void* block)
{
    alive -= block != nullptr ? 1 : 0;
    __real_free(block);
}

} // namespace

extern "C" {

MARAVEL_EXPORT void FailAllocation(std::int64_t nth, bool forever)
{
    made = 0;
    failForever = forever;
    failAt = nth;
}

MARAVEL_EXPORT std::int64_t AllocationsMade()
{
    return made;
}

MARAVEL_EXPORT std::int64_t AllocationsAlive()
{
    return alive;
}

// Has every allocation call the function first, with its size; null ends that.
MARAVEL_EXPORT void WatchAllocations(void (*watch)(std::size_t))
{
    watcher = watch;
}

void* __wrap_malloc(std::size_t size)
{
    return Allocate(size);
}

void* __wrap_realloc(void* block, std::size_t size)
{
    if (Fails()) {
        return nullptr;
    }
    void* moved = __real_realloc(block, size);
    alive += block == nullptr && moved != nullptr ? 1 : 0;
    return moved;
}

void __wrap_free(void* block)
{
    Release(block);
}

} // extern "C"

void* operator new(std::size_t size)
{
    void* block = Allocate(size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void* operator new[](std::size_t size)
{
    return operator new(size);
}

void operator delete(void* block) noexcept
{
    Release(block);
}

void operator delete[](void* block) noexcept
{
    Release(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    Release(block);
}

void operator delete[](void* block, std::size_t) noexcept
{
    Release(block);
}
