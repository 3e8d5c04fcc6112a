#include "RuntimeRelease.h"

// libstdc++ sets some 70 KiB aside for exceptions under memory shortage and, linked statically, would leave
// them behind at every unloading. This is its own function for giving them back.
namespace __gnu_cxx {
void __freeres();
}

namespace maravel::backend {

void ReleaseRuntimeMemory()
{
    __gnu_cxx::__freeres();
}

} // namespace maravel::backend
