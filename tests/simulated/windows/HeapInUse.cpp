#include "simulated/HeapInUse.h"

#include <windows.h>

namespace maravel::test {

std::uint64_t HeapInUse()
{
    HANDLE heaps[64];
    const DWORD count = GetProcessHeaps(64, heaps);
    std::uint64_t bytes = 0;
    for (DWORD i = 0; i < count && i < 64; ++i) {
        PROCESS_HEAP_ENTRY entry{};
        while (HeapWalk(heaps[i], &entry)) {
            bytes += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 ? entry.cbData : 0;
        }
    }
    return bytes;
}

} // namespace maravel::test
