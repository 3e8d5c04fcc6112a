#include "ModuleLife.h"

#include <cstdlib>
#include <dlfcn.h>

namespace maravel::backend {

bool ProcessIsEnding()
{
    return false;
}

std::filesystem::path LibraryFolder()
{
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&ProcessIsEnding), &info) == 0 || info.dli_fname == nullptr) {
        return {};
    }
    return std::filesystem::path(info.dli_fname).parent_path();
}

std::string EnvironmentText(const char* name)
{
    const char* text = std::getenv(name);
    return text == nullptr ? "" : text;
}

} // namespace maravel::backend
