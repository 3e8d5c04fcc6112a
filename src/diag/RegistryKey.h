// A registry key that is closed by itself. Host threads under g_adapterMutex.
#pragma once

#include "platform/Win32.h"

#include <memory>
#include <type_traits>

namespace maravel {

struct KeyCloser
{
    void operator()(HKEY key) const { RegCloseKey(key); }
};

using RegistryKey = std::unique_ptr<std::remove_pointer_t<HKEY>, KeyCloser>;

// Opens subKey under parent for reading, in the process's own registry view; returns the Win32 status.
inline LSTATUS OpenKey(HKEY parent, const char* subKey, RegistryKey& key)
{
    HKEY opened = nullptr;
    const LSTATUS status = RegOpenKeyExA(parent, subKey, 0, KEY_READ, &opened);
    key.reset(opened);
    return status;
}

} // namespace maravel
