#include "ModuleLife.h"

#include <dlfcn.h>

namespace maravel::backend {

bool ProcessIsEnding()
{
    return false;
}

std::filesystem::path LibraryFolder()
{
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&ProcessIsEnding), &info) == 0 || info.dli_fname == nullptr)
        return {};
    return std::filesystem::path(info.dli_fname).parent_path();
}

} // namespace maravel::backend
