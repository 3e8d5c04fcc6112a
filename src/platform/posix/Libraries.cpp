#include "platform/posix/LastError.h"

#include <bit>
#include <dlfcn.h>

using maravel::posix::SetLastError;

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
