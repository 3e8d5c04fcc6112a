#include "cameras/Bench.h"

namespace maravel::test {

// Aravis is not built for this system.
std::unique_ptr<Bench> MakeAravisBench()
{
    return nullptr;
}

} // namespace maravel::test
