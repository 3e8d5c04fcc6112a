// The built ZvkImageTransform.dll, loaded and resolved as the adapter does it.
#pragma once

#include "backends/imagetransform/TransformControl.h"
#include "platform/Win32.h"
#include "sdk/ImageTransformEntryPoints.h"

#include <stdexcept>
#include <string>

namespace maravel::test {

struct TransformLibrary
{
#define DECLARE_POINTER(result, name, parameters) result(*name) parameters = nullptr;
    ZVK_IMAGE_TRANSFORM_ENTRY_POINTS(DECLARE_POINTER)
    SIM_TRANSFORM_FUNCTIONS(DECLARE_POINTER)
#undef DECLARE_POINTER

    TransformLibrary()
    {
        char program[1024];
        DWORD size = sizeof(program);
        QueryFullProcessImageNameA(GetCurrentProcess(), 0, program, &size);
        const std::string folder(program, std::string(program, size).find_last_of("/\\"));
        const std::string path = folder + "/../sdk/bin/ZvkImageTransform.dll";
        module_ = LoadLibraryA(path.c_str());
        if (module_ == nullptr)
            throw std::runtime_error("cannot load " + path);
#define RESOLVE(result, name, parameters) Resolve(name, #name);
        ZVK_IMAGE_TRANSFORM_ENTRY_POINTS(RESOLVE)
        SIM_TRANSFORM_FUNCTIONS(RESOLVE)
#undef RESOLVE
    }
    ~TransformLibrary()
    {
        FreeLibrary(module_);
    }
    TransformLibrary(const TransformLibrary&) = delete;
    TransformLibrary& operator=(const TransformLibrary&) = delete;

private:
    template <class Function>
    void Resolve(Function& function, const char* name)
    {
        function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module_, name)));
        if (function == nullptr)
            throw std::runtime_error(std::string("no entry point ") + name);
    }

    HMODULE module_ = nullptr;
};

} // namespace maravel::test
