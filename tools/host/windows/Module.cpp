#include "../Module.h"

#include <windows.h>

namespace maravel::host {
namespace {

std::string Words(DWORD error)
{
    switch (error) {
    case ERROR_MOD_NOT_FOUND:
        return "it is no library, or one that it needs is missing";
    case ERROR_BAD_EXE_FORMAT:
        return "it is no library for this system (64 bits)";
    case ERROR_PROC_NOT_FOUND:
        return "a library that it needs lacks a function";
    default:
        return "system error " + std::to_string(error);
    }
}

} // namespace

void* LoadModule(const std::filesystem::path& path, std::string* reason)
{
    HMODULE module = LoadLibraryExW(path.c_str(), nullptr,
                                    LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
    if (module == nullptr) {
        *reason = Words(GetLastError());
    }
    return module;
}

void* FindFunction(void* module, const char* name)
{
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(module), name));
}

void UnloadModule(void* module)
{
    FreeLibrary(static_cast<HMODULE>(module));
}

} // namespace maravel::host
