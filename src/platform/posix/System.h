// What the stand-ins share: the error number that GetLastError answers, one a thread, and the folder that
// stands for the machine.
#pragma once

#include "platform/Win32.h"

#include <string>

namespace maravel::posix {

void SetLastError(DWORD error);

// Sets the last error from errno's value.
void SetLastErrorFromErrno(int error);

// The folder that stands for the machine's shared state; empty when neither MARAVEL_PLATFORM_ROOT nor a home
// folder is known.
std::string PlatformRoot();

} // namespace maravel::posix
