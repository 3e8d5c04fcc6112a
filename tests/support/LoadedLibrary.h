// A library that stays loaded for as long as the object lives.
#pragma once

#include "platform/Win32.h"

#include <stdexcept>
#include <string>

namespace maravel::test {

class LoadedLibrary
{
public:
    explicit LoadedLibrary(const std::string& path) : module(LoadLibraryA(path.c_str()))
    {
        if (module == nullptr) {
            throw std::runtime_error("cannot load " + path);
        }
    }
    ~LoadedLibrary()
    {
        if (module != nullptr) {
            FreeLibrary(module);
        }
    }
    LoadedLibrary(const LoadedLibrary&) = delete;
    LoadedLibrary& operator=(const LoadedLibrary&) = delete;

    template <class Function>
    Function Find(const char* name) const
    {
        const FARPROC address = GetProcAddress(module, name);
        if (address == nullptr) {
            throw std::runtime_error(std::string("no entry point ") + name);
        }
        return reinterpret_cast<Function>(reinterpret_cast<void*>(address));
    }

    HMODULE module; // null it to leave the library loaded
};

} // namespace maravel::test
