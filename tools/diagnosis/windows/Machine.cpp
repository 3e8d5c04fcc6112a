#include "../Machine.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <windows.h>

#include <shlobj.h>

namespace maravel::diagnosis {

namespace fs = std::filesystem;

namespace {

std::string Narrow(const fs::path& path)
{
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

bool LastWriteOf(const fs::path& file, FILETIME* time)
{
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    if (GetFileAttributesExW(file.c_str(), GetFileExInfoStandard, &data) == FALSE) {
        return false;
    }
    *time = data.ftLastWriteTime;
    return true;
}

std::uint64_t TicksOf(const FILETIME& time)
{
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

SYSTEMTIME LocalTime(std::uint64_t ticks)
{
    const FILETIME time = {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
    SYSTEMTIME universal = {}, local = {};
    FileTimeToSystemTime(&time, &universal);
    SystemTimeToTzSpecificLocalTime(nullptr, &universal, &local);
    return local;
}

} // namespace

LibraryKind NativeLibraryKind()
{
    return LibraryKind::Windows;
}

fs::path DocumentsFolder()
{
    wchar_t path[MAX_PATH] = L"";
    return SHGetFolderPathW(nullptr, CSIDL_COMMON_DOCUMENTS, nullptr, 0, path) == S_OK ? fs::path(path)
                                                                                       : fs::path();
}

// The system does not name them; a file that cannot be had alone is another's.
std::vector<std::string> UsersOf(const fs::path& file)
{
    const HANDLE alone =
        CreateFileW(file.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (alone == INVALID_HANDLE_VALUE) {
        return GetLastError() == ERROR_SHARING_VIOLATION ? std::vector<std::string>{"another program"}
                                                         : std::vector<std::string>();
    }
    CloseHandle(alone);
    return {};
}

bool CanFindLibrary(const std::string& name, const fs::path& folder)
{
    if (name.starts_with("api-ms-") || name.starts_with("ext-ms-") || fs::exists(folder / name)) {
        return true;
    }
    const HMODULE found = LoadLibraryExW(fs::path(name).c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
    if (found != nullptr) {
        FreeLibrary(found);
    }
    return found != nullptr || GetModuleHandleW(fs::path(name).c_str()) != nullptr;
}

bool HasNarrowPath(const fs::path& file)
{
    BOOL replaced = FALSE;
    return GetACP() == CP_UTF8 || (WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, file.c_str(), -1,
                                                       nullptr, 0, nullptr, &replaced) > 0 &&
                                   replaced == FALSE);
}

std::string EnvironmentVariable(const std::string& name)
{
    const wchar_t* value = _wgetenv(fs::path(name).c_str());
    return value == nullptr ? "" : Narrow(value);
}

FileMoment LastChangeOf(const fs::path& file)
{
    FileMoment moment;
    FILETIME written = {}, now = {};
    if (!LastWriteOf(file, &written)) {
        return moment;
    }
    GetSystemTimeAsFileTime(&now);
    const SYSTEMTIME local = LocalTime(TicksOf(written));
    moment.timeOfDay =
        ((local.wHour * 60LL + local.wMinute) * 60 + local.wSecond) * 1000 + local.wMilliseconds;
    const auto ticksAgo =
        static_cast<std::int64_t>(TicksOf(now)) - static_cast<std::int64_t>(TicksOf(written));
    moment.secondsAgo = std::max<std::int64_t>(0, ticksAgo / 10'000'000);
    return moment;
}

std::string DayOf(const fs::path& file, int daysBefore)
{
    FILETIME written = {};
    if (!LastWriteOf(file, &written)) {
        return {};
    }
    constexpr std::uint64_t kDay = 864'000'000'000;
    const SYSTEMTIME local = LocalTime(TicksOf(written) - static_cast<std::uint64_t>(daysBefore) * kDay);
    char text[32];
    std::snprintf(text, sizeof(text), "%04d-%02d-%02d", local.wYear, local.wMonth, local.wDay);
    return text;
}

std::vector<MachineCheck> CheckNetwork()
{
    return {};
}

} // namespace maravel::diagnosis
