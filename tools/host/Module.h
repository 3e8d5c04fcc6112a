// Loading a library file by its full path.
#pragma once

#include <filesystem>
#include <string>

namespace maravel::host {

// Null when it does not load; `reason` then holds the system's own words, in one line.
void* LoadModule(const std::filesystem::path& path, std::string* reason);
void* FindFunction(void* module, const char* name);
void UnloadModule(void* module);

} // namespace maravel::host
