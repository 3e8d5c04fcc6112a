#include "platform/posix/LastError.h"

#include <cerrno>

namespace {
thread_local DWORD lastError = ERROR_SUCCESS;
}

DWORD GetLastError()
{
    return lastError;
}

namespace maravel::posix {

void SetLastError(DWORD error)
{
    lastError = error;
}

void SetLastErrorFromErrno(int error)
{
    switch (error) {
    case ENOENT:
        return SetLastError(ERROR_FILE_NOT_FOUND);
    case ENOTDIR:
        return SetLastError(ERROR_PATH_NOT_FOUND);
    case EEXIST:
        return SetLastError(ERROR_ALREADY_EXISTS);
    case EBADF:
        return SetLastError(ERROR_INVALID_HANDLE);
    default:
        return SetLastError(ERROR_ACCESS_DENIED);
    }
}

} // namespace maravel::posix
