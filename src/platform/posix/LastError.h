// The error number that GetLastError answers, one a thread.
#pragma once

#include "platform/Win32.h"

namespace maravel::posix {

void SetLastError(DWORD error);

// Sets the last error from errno's value.
void SetLastErrorFromErrno(int error);

} // namespace maravel::posix
