#include "ModuleLife.h"

#include "RuntimeRelease.h"

#include <string>
#include <windows.h>

// The system's own answer: modules that are told of the end before this one may still call. It stands in no
// header.
extern "C" NTSYSAPI BOOLEAN NTAPI RtlDllShutdownInProgress();

namespace maravel::backend {

bool ProcessIsEnding()
{
    return RtlDllShutdownInProgress() != FALSE;
}

std::filesystem::path LibraryFolder()
{
    HMODULE self = nullptr;
    const auto address = reinterpret_cast<LPCWSTR>(reinterpret_cast<void*>(&ProcessIsEnding));
    constexpr DWORD how =
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    if (!GetModuleHandleExW(how, address, &self)) {
        return {};
    }
    std::wstring name(1024, L'\0');
    const DWORD length = GetModuleFileNameW(self, name.data(), static_cast<DWORD>(name.size()));
    if (length == 0 || length == name.size()) {
        return {};
    }
    name.resize(length);
    return std::filesystem::path(name).parent_path();
}

// The system's: what a runtime library keeps is a copy from when the process began.
std::string EnvironmentText(const char* name)
{
    std::string text(1024, '\0');
    const DWORD length = GetEnvironmentVariableA(name, text.data(), static_cast<DWORD>(text.size()));
    text.resize(length < text.size() ? length : 0);
    return text;
}

} // namespace maravel::backend

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void* reserved)
{
    if (reason == DLL_PROCESS_DETACH && reserved == nullptr) {
        maravel::backend::ReleaseRuntimeMemory();
    }
    return TRUE;
}
