#include "../Module.h"

#include <dlfcn.h>

namespace maravel::host {

void* LoadModule(const std::filesystem::path& path, std::string* reason)
{
    void* module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        *reason = dlerror();
    }
    return module;
}

void* FindFunction(void* module, const char* name)
{
    return dlsym(module, name);
}

void UnloadModule(void* module)
{
    dlclose(module);
}

} // namespace maravel::host
