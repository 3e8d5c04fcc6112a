#include "simulated/HeapInUse.h"

#include <malloc.h>

namespace maravel::test {

std::uint64_t HeapInUse()
{
    return mallinfo2().uordblks;
}

} // namespace maravel::test
