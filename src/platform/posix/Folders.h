#pragma once

#include <string>

namespace maravel::posix {

// The folder that stands for the machine's shared state; empty when neither MARAVEL_PLATFORM_ROOT nor a home
// folder is known.
std::string PlatformRoot();

} // namespace maravel::posix
