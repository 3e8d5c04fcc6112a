#include "platform/posix/System.h"

#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <unistd.h>

using maravel::posix::Fail;
using maravel::posix::FailWithErrno;

// The two names behind every module's exit list (Itanium C++ ABI, 3.3.6). atexit leads to the same list, but
// a thread sanitizer takes it for the process's own.
extern "C" {
extern void* __dso_handle;
int __cxa_atexit(void (*routine)(void*), void* argument, void* module);
}

namespace {

// Pseudo handles: nothing is opened for them, and CloseHandle accepts them.
const HANDLE kCurrentProcess = reinterpret_cast<HANDLE>(std::intptr_t{-1});
const HANDLE kProcessToken = reinterpret_cast<HANDLE>(std::intptr_t{-4});

// In the threads' own block from their start: the leak sanitizer cannot look into one that is made when it is
// first used.
thread_local DWORD threadId __attribute__((tls_model("initial-exec"))) = 0;

bool ReadProgramVersion(VS_FIXEDFILEINFO& version)
{
    const char* text = std::getenv("MARAVEL_PROGRAM_VERSION");
    unsigned numbers[4];
    if (text == nullptr ||
        std::sscanf(text, "%u.%u.%u.%u", &numbers[0], &numbers[1], &numbers[2], &numbers[3]) != 4) {
        return false;
    }
    version = {0xFEEF04BD, 0x10000, numbers[0] << 16 | numbers[1], numbers[2] << 16 | numbers[3]};
    return true;
}

} // namespace

void GetLocalTime(SYSTEMTIME* time)
{
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    std::tm local = {};
    localtime_r(&now.tv_sec, &local);
    time->wYear = static_cast<WORD>(local.tm_year + 1900);
    time->wMonth = static_cast<WORD>(local.tm_mon + 1);
    time->wDayOfWeek = static_cast<WORD>(local.tm_wday);
    time->wDay = static_cast<WORD>(local.tm_mday);
    time->wHour = static_cast<WORD>(local.tm_hour);
    time->wMinute = static_cast<WORD>(local.tm_min);
    time->wSecond = static_cast<WORD>(local.tm_sec);
    time->wMilliseconds = static_cast<WORD>(now.tv_nsec / 1000000);
}

void Sleep(DWORD milliseconds)
{
    timespec left = {static_cast<time_t>(milliseconds / 1000),
                     static_cast<long>(milliseconds % 1000) * 1000000};
    while (nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}

int AtModuleExit(void (*routine)())
{
    const auto run = [](void* argument) { std::bit_cast<void (*)()>(argument)(); };
    return __cxa_atexit(run, std::bit_cast<void*>(routine), &__dso_handle);
}

DWORD GetCurrentThreadId()
{
    if (threadId == 0) {
        threadId = static_cast<DWORD>(gettid());
    }
    return threadId;
}

HANDLE GetCurrentProcess()
{
    return kCurrentProcess;
}

BOOL OpenProcessToken(HANDLE, DWORD, HANDLE* token)
{
    *token = kProcessToken;
    return TRUE;
}

BOOL GetTokenInformation(HANDLE token, TOKEN_INFORMATION_CLASS informationClass, void* information,
                         DWORD size, DWORD* sizeNeeded)
{
    *sizeNeeded = sizeof(TOKEN_ELEVATION);
    if (token != kProcessToken || informationClass != TokenElevation || size < sizeof(TOKEN_ELEVATION)) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    static_cast<TOKEN_ELEVATION*>(information)->TokenIsElevated = geteuid() == 0 ? 1 : 0;
    return TRUE;
}

BOOL QueryFullProcessImageNameA(HANDLE, DWORD, char* path, DWORD* size)
{
    const ssize_t length = *size == 0 ? 0 : readlink("/proc/self/exe", path, *size);
    if (length < 0) {
        return FailWithErrno(errno);
    }
    if (static_cast<DWORD>(length) >= *size) {
        return Fail(ERROR_INSUFFICIENT_BUFFER);
    }
    path[length] = '\0';
    *size = static_cast<DWORD>(length);
    return TRUE;
}

// Programs here have no version resource; MARAVEL_PROGRAM_VERSION, four numbers with points between them,
// stands for one.
DWORD GetFileVersionInfoSizeA(const char*, DWORD* handle)
{
    *handle = 0;
    VS_FIXEDFILEINFO ignored;
    if (!ReadProgramVersion(ignored)) {
        Fail(ERROR_FILE_NOT_FOUND);
        return 0;
    }
    return sizeof ignored;
}

BOOL GetFileVersionInfoA(const char*, DWORD, DWORD size, void* data)
{
    VS_FIXEDFILEINFO version;
    if (size < sizeof version || !ReadProgramVersion(version)) {
        return FALSE;
    }
    std::memcpy(data, &version, sizeof version);
    return TRUE;
}

BOOL VerQueryValueA(const void* block, const char* subBlock, void** buffer, UINT* size)
{
    if (std::strcmp(subBlock, "\\") != 0) {
        return FALSE;
    }
    *buffer = const_cast<void*>(block);
    *size = sizeof(VS_FIXEDFILEINFO);
    return TRUE;
}
