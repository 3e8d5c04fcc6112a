#include "platform/posix/System.h"

#include <bit>
#include <cerrno>
#include <cstdlib>
#include <dlfcn.h>
#include <utility>

using maravel::posix::Fail;

namespace {
thread_local DWORD lastError = ERROR_SUCCESS;
}

DWORD GetLastError()
{
    return lastError;
}

namespace maravel::posix {

BOOL Fail(DWORD error)
{
    lastError = error;
    return FALSE;
}

BOOL FailWithErrno(int error)
{
    return Fail(error == ENOENT    ? ERROR_FILE_NOT_FOUND
                : error == ENOTDIR ? ERROR_PATH_NOT_FOUND
                : error == EEXIST  ? ERROR_ALREADY_EXISTS
                : error == EBADF   ? ERROR_INVALID_HANDLE
                                   : ERROR_ACCESS_DENIED);
}

std::string PlatformRoot()
{
    constexpr std::pair<const char*, const char*> kPlaces[] = {
        {"MARAVEL_PLATFORM_ROOT", ""}, {"XDG_STATE_HOME", "/maravel"}, {"HOME", "/.local/state/maravel"}};
    for (const auto& [variable, below] : kPlaces) {
        if (const char* folder = std::getenv(variable); folder != nullptr && *folder != '\0') {
            return std::string(folder) + below;
        }
    }
    return {};
}

} // namespace maravel::posix

HMODULE LoadLibraryA(const char* fileName)
{
    HMODULE module = dlopen(fileName, RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        Fail(ERROR_MOD_NOT_FOUND);
    }
    return module;
}

HMODULE LoadLibraryExA(const char* fileName, HANDLE, DWORD)
{
    return LoadLibraryA(fileName);
}

FARPROC GetProcAddress(HMODULE module, const char* procName)
{
    void* address = dlsym(module, procName);
    if (address == nullptr) {
        Fail(ERROR_PROC_NOT_FOUND);
    }
    return std::bit_cast<FARPROC>(address);
}

BOOL FreeLibrary(HMODULE module)
{
    return dlclose(module) == 0 ? TRUE : FALSE;
}
