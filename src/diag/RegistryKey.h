// A registry key that is closed by itself. Host threads under g_adapterMutex.
#pragma once

#include "platform/Win32.h"

namespace maravel {

// An open registry key; closed when it goes out of scope.
class RegistryKey
{
public:
    RegistryKey() = default;
    RegistryKey(const RegistryKey&) = delete;
    RegistryKey& operator=(const RegistryKey&) = delete;
    ~RegistryKey()
    {
        if (key_ != nullptr) {
            RegCloseKey(key_);
        }
    }

    // Opens subKey under parent for reading, in the process's own registry view; returns the Win32 status.
    // Once an object.
    LSTATUS Open(HKEY parent, const char* subKey)
    {
        return RegOpenKeyExA(parent, subKey, 0, KEY_READ, &key_);
    }

    HKEY Get() const { return key_; }

private:
    HKEY key_ = nullptr;
};

} // namespace maravel
