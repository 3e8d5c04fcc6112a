#include "sdk/SdkFolder.h"

#include "diag/Log.h"
#include "platform/Win32.h"

namespace maravel {

namespace {

// The code page in which the C runtime and the file functions take narrow paths.
UINT FileCodePage()
{
    if (___lc_codepage_func() == CP_UTF8) {
        return CP_UTF8;
    }
    return AreFileApisANSI() != FALSE ? CP_ACP : CP_OEMCP;
}

// Converts with '?' for what the code page lacks when lossy, and to an empty text when not.
std::string Narrow(const std::wstring& path, bool lossy)
{
    const UINT codePage = FileCodePage();
    const bool utf8 = codePage == CP_UTF8;
    const DWORD flags = lossy ? 0 : utf8 ? WC_ERR_INVALID_CHARS : WC_NO_BEST_FIT_CHARS;
    BOOL replaced = FALSE;
    BOOL* const replacedOut = utf8 ? nullptr : &replaced; // UTF-8 takes none
    const int wideLength = static_cast<int>(path.size());
    const int size =
        WideCharToMultiByte(codePage, flags, path.c_str(), wideLength, nullptr, 0, nullptr, replacedOut);
    if (size <= 0 || (replaced != FALSE && !lossy)) {
        return {};
    }
    std::string narrow(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(codePage, flags, path.c_str(), wideLength, narrow.data(), size, nullptr, nullptr);
    return narrow;
}

} // namespace

std::wstring GetZvkApiPath()
{
    std::wstring path;
    for (DWORD needed = MAX_PATH; needed > path.size();) {
        path.resize(needed);
        needed = GetEnvironmentVariableW(L"ZORVIK_HOME", path.data(), static_cast<DWORD>(path.size()));
        if (needed < path.size()) {
            path.resize(needed);
            break;
        }
    }
    if (IsExistingFolder(path)) {
        WriteLog(__LINE__, "%s: ZvkAPI path: %s\n", "GetZvkApiPath", Narrow(path, true).c_str());
    }
    else {
        WriteLog(__LINE__, "%s: ZvkAPI not found.\n", "GetZvkApiPath");
    }
    return path;
}

std::wstring FullPath(const std::wstring& path)
{
    const DWORD size = path.empty() ? 0 : GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    std::wstring full(size, L'\0');
    const DWORD length = size > 0 ? GetFullPathNameW(path.c_str(), size, full.data(), nullptr) : 0;
    if (length == 0 || length >= size) {
        return path;
    }
    full.resize(length);
    return full;
}

bool IsExistingFolder(const std::wstring& path)
{
    const HANDLE file = CreateFileW(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return false;
    }
    BY_HANDLE_FILE_INFORMATION information = {};
    const bool known = GetFileInformationByHandle(file, &information) != FALSE;
    CloseHandle(file);
    return known && (information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

std::string NarrowPath(const std::wstring& path)
{
    return Narrow(path, false);
}

} // namespace maravel
