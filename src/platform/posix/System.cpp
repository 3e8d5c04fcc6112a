#include "platform/posix/System.h"

#include <bit>
#include <cerrno>
#include <cstdlib>
#include <dlfcn.h>

using maravel::posix::SetLastError;

namespace {
thread_local DWORD lastError = ERROR_SUCCESS;
}

DWORD GetLastError()
{
    return lastError;
}

namespace maravel::posix {

void SetLastError(DWORD error)
{
    lastError = error;
}

void SetLastErrorFromErrno(int error)
{
    switch (error) {
    case ENOENT:
        return SetLastError(ERROR_FILE_NOT_FOUND);
    case ENOTDIR:
        return SetLastError(ERROR_PATH_NOT_FOUND);
    case EEXIST:
        return SetLastError(ERROR_ALREADY_EXISTS);
    case EBADF:
        return SetLastError(ERROR_INVALID_HANDLE);
    default:
        return SetLastError(ERROR_ACCESS_DENIED);
    }
}

std::string PlatformRoot()
{
    if (const char* root = std::getenv("MARAVEL_PLATFORM_ROOT"); root != nullptr && *root != '\0') {
        return root;
    }
    if (const char* state = std::getenv("XDG_STATE_HOME"); state != nullptr && *state != '\0') {
        return std::string(state) + "/maravel";
    }
    if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0') {
        return std::string(home) + "/.local/state/maravel";
    }
    return {};
}

} // namespace maravel::posix

HMODULE LoadLibraryA(const char* fileName)
{
    HMODULE module = dlopen(fileName, RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        SetLastError(ERROR_MOD_NOT_FOUND);
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
        SetLastError(ERROR_PROC_NOT_FOUND);
    }
    return std::bit_cast<FARPROC>(address);
}

BOOL FreeLibrary(HMODULE module)
{
    return dlclose(module) == 0 ? TRUE : FALSE;
}
