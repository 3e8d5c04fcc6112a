// The module entry of the Windows library.

#include "platform/Win32.h"

// Threads come and go in a host; the adapter keeps nothing for any of them.
extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID)
{
    if (reason == DLL_PROCESS_ATTACH) {
        DisableThreadLibraryCalls(module);
    }
    return TRUE;
}
