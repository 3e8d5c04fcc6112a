#include "platform/posix/System.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using maravel::posix::FailWithErrno;

namespace {

constexpr HRESULT kOk = 0;
constexpr HRESULT kFail = static_cast<HRESULT>(0x80004005);

// Handles of open files are their descriptors, moved up so that none is null or a pseudo handle.
constexpr std::intptr_t kFirstFileHandle = 0x1000;

HANDLE HandleOfDescriptor(int descriptor)
{
    return reinterpret_cast<HANDLE>(kFirstFileHandle + descriptor);
}

int DescriptorOfHandle(HANDLE handle)
{
    return static_cast<int>(reinterpret_cast<std::intptr_t>(handle) - kFirstFileHandle);
}

DWORD AttributesOf(const struct stat& status)
{
    return S_ISDIR(status.st_mode) ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_NORMAL;
}

} // namespace

HRESULT SHGetFolderPathA(HWND, int folder, HANDLE, DWORD, char* path)
{
    const std::string root = maravel::posix::PlatformRoot();
    const std::string documents = root + "/Documents";
    if (folder != CSIDL_COMMON_DOCUMENTS || root.empty() || documents.size() >= MAX_PATH) {
        return kFail;
    }
    std::memcpy(path, documents.c_str(), documents.size() + 1);
    return kOk;
}

DWORD GetFileAttributesA(const char* path)
{
    struct stat status = {};
    if (stat(path, &status) != 0) {
        FailWithErrno(errno);
        return INVALID_FILE_ATTRIBUTES;
    }
    return AttributesOf(status);
}

BOOL CreateDirectoryA(const char* path, void*)
{
    return mkdir(path, 0777) == 0 ? TRUE : FailWithErrno(errno);
}

HANDLE CreateFileW(const wchar_t* path, DWORD, DWORD, void*, DWORD, DWORD, HANDLE)
{
    const int descriptor = open(maravel::posix::NarrowText(path).c_str(), O_PATH | O_CLOEXEC);
    if (descriptor < 0) {
        FailWithErrno(errno);
        return INVALID_HANDLE_VALUE;
    }
    return HandleOfDescriptor(descriptor);
}

BOOL GetFileInformationByHandle(HANDLE file, BY_HANDLE_FILE_INFORMATION* information)
{
    struct stat status = {};
    if (fstat(DescriptorOfHandle(file), &status) != 0) {
        return FailWithErrno(errno);
    }
    information->dwFileAttributes = AttributesOf(status);
    return TRUE;
}

BOOL CloseHandle(HANDLE handle)
{
    if (reinterpret_cast<std::intptr_t>(handle) < kFirstFileHandle) {
        return TRUE; // a pseudo handle of a process or token: nothing is held
    }
    return close(DescriptorOfHandle(handle)) == 0 ? TRUE : FALSE;
}

std::FILE* _fsopen(const char* path, const char* mode, int)
{
    return std::fopen(path, mode);
}

int _fileno(std::FILE* stream)
{
    return fileno(stream);
}

int _write(int file, const void* data, unsigned int size)
{
    const char* bytes = static_cast<const char*>(data);
    unsigned int written = 0;
    while (written < size) {
        const ssize_t step = write(file, bytes + written, size - written);
        if (step < 0 && errno == EINTR) {
            continue;
        }
        if (step <= 0) {
            return written > 0 ? static_cast<int>(written) : -1;
        }
        written += static_cast<unsigned int>(step);
    }
    return static_cast<int>(written);
}
