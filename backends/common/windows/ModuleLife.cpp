#include "ModuleLife.h"

#include "RuntimeRelease.h"

#include <atomic>
#include <windows.h>

namespace maravel::backend {
namespace {

constinit std::atomic<bool> g_processIsEnding{false};

} // namespace

bool ProcessIsEnding()
{
    return g_processIsEnding.load(std::memory_order_acquire);
}

} // namespace maravel::backend

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void* reserved)
{
    if (reason == DLL_PROCESS_DETACH) {
        if (reserved != nullptr)
            maravel::backend::g_processIsEnding.store(true, std::memory_order_release);
        else
            maravel::backend::ReleaseRuntimeMemory();
    }
    return TRUE;
}
