// The built ZvkC.dll, loaded and resolved as the adapter does it, with its control interface.
#pragma once

#include "backends/simulated/SimulationControl.h"
#include "platform/Win32.h"
#include "sdk/RuntimeEntryPoints.h"

#include <stdexcept>
#include <string>

namespace maravel::test {

// The folder that holds the running program.
inline std::string ProgramFolder()
{
    char program[1024];
    DWORD size = sizeof(program);
    QueryFullProcessImageNameA(GetCurrentProcess(), 0, program, &size);
    return std::string(program, std::string(program, size).find_last_of("/\\"));
}

struct SimulatedLibrary
{
#define DECLARE_POINTER(result, name, parameters) result(*name) parameters = nullptr;
    ZVK_RUNTIME_ENTRY_POINTS(DECLARE_POINTER)
    SIM_CONTROL_FUNCTIONS(DECLARE_POINTER)
#undef DECLARE_POINTER

    SimulatedLibrary()
    {
        const std::string path = ProgramFolder() + "/../sdk/bin/ZvkC.dll";
        module = LoadLibraryA(path.c_str());
        if (module == nullptr)
            throw std::runtime_error("cannot load " + path);
#define RESOLVE(result, name, parameters) Resolve(name, #name);
        ZVK_RUNTIME_ENTRY_POINTS(RESOLVE)
        SIM_CONTROL_FUNCTIONS(RESOLVE)
#undef RESOLVE
    }
    ~SimulatedLibrary()
    {
        if (module != nullptr)
            FreeLibrary(module);
    }
    SimulatedLibrary(const SimulatedLibrary&) = delete;
    SimulatedLibrary& operator=(const SimulatedLibrary&) = delete;

    HMODULE module = nullptr; // null it to leave the library loaded

private:
    template <class Function>
    void Resolve(Function& function, const char* name)
    {
        function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
        if (function == nullptr)
            throw std::runtime_error(std::string("no entry point ") + name);
    }
};

} // namespace maravel::test
