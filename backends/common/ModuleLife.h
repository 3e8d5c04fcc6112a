// The life of the library that this code is linked into, and its surroundings.
#pragma once

#include <filesystem>
#include <string>

namespace maravel::backend {

// True once the process is being torn down. Other threads have then been stopped wherever they stood, perhaps
// with a lock held, so nothing may be locked or waited for any more. Always false on POSIX systems, where
// threads live until the process is gone.
bool ProcessIsEnding();

// The folder that the library's own file lies in; empty when the system does not say.
std::filesystem::path LibraryFolder();

// The environment variable as it is now; empty when there is none.
std::string EnvironmentText(const char* name);

} // namespace maravel::backend
