#include "platform/posix/System.h"
#include "platform/posix/Utf8.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>

using maravel::posix::SetLastError;
using maravel::posix::SetLastErrorFromErrno;

DWORD GetEnvironmentVariableW(const wchar_t* name, wchar_t* buffer, DWORD size)
{
    const char* value = std::getenv(maravel::posix::NarrowText(name).c_str());
    if (value == nullptr) {
        SetLastError(ERROR_ENVVAR_NOT_FOUND);
        return 0;
    }
    const std::wstring wide = maravel::posix::WideText(value);
    if (wide.size() >= size) {
        return static_cast<DWORD>(wide.size() + 1);
    }
    std::memcpy(buffer, wide.c_str(), (wide.size() + 1) * sizeof(wchar_t));
    SetLastError(ERROR_SUCCESS);
    return static_cast<DWORD>(wide.size());
}

DWORD GetFullPathNameW(const wchar_t* path, DWORD size, wchar_t* buffer, wchar_t**)
{
    std::wstring full = path;
    if (*path != L'/') {
        std::error_code error;
        const std::filesystem::path folder = std::filesystem::current_path(error);
        if (error) {
            SetLastErrorFromErrno(error.value());
            return 0;
        }
        full = maravel::posix::WideText(folder.native()) + L'/' + full;
    }
    if (full.size() >= size) {
        return static_cast<DWORD>(full.size() + 1);
    }
    std::memcpy(buffer, full.c_str(), (full.size() + 1) * sizeof(wchar_t));
    return static_cast<DWORD>(full.size());
}

int WideCharToMultiByte(UINT, DWORD flags, const wchar_t* wide, int wideLength, char* narrow, int narrowSize,
                        const char*, BOOL* usedDefaultChar)
{
    const std::size_t length = wideLength < 0 ? std::wcslen(wide) + 1 : static_cast<std::size_t>(wideLength);
    if ((flags & WC_ERR_INVALID_CHARS) != 0 && !maravel::posix::IsText({wide, length})) {
        SetLastError(ERROR_NO_UNICODE_TRANSLATION);
        return 0;
    }
    const std::string text = maravel::posix::NarrowText({wide, length});
    if (usedDefaultChar != nullptr) {
        *usedDefaultChar = FALSE;
    }
    if (narrowSize == 0) {
        return static_cast<int>(text.size());
    }
    if (text.size() > static_cast<std::size_t>(narrowSize)) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    std::memcpy(narrow, text.data(), text.size());
    return static_cast<int>(text.size());
}

BOOL AreFileApisANSI()
{
    return TRUE;
}

unsigned int ___lc_codepage_func()
{
    return CP_UTF8;
}

std::uint64_t _strtoui64(const char* text, char** end, int radix)
{
    return std::strtoull(text, end, radix);
}

_locale_t _create_locale(int, const char* name)
{
    return newlocale(LC_ALL_MASK, name, nullptr);
}

void _free_locale(_locale_t locale)
{
    freelocale(locale);
}

double _atof_l(const char* text, _locale_t locale)
{
    return strtod_l(text, nullptr, locale);
}
