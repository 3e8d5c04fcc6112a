#include "System.h"

#include "platform/Win32.h"

#include <filesystem>

namespace maravel::camhost {

std::string ProgramFolder()
{
    char path[4096];
    DWORD size = sizeof(path);
    if (!QueryFullProcessImageNameA(GetCurrentProcess(), 0, path, &size))
        return {};
    return std::filesystem::path(std::string(path, size)).parent_path().string();
}

} // namespace maravel::camhost
