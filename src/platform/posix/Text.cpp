#include "platform/posix/System.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>

using maravel::posix::Fail;
using maravel::posix::FailWithErrno;

namespace maravel::posix {

namespace {

constexpr char32_t kEscapedByte = 0xDC00;

bool IsEscapedByte(char32_t character)
{
    return character >= kEscapedByte + 0x80 && character <= kEscapedByte + 0xFF;
}

bool IsCharacter(char32_t character)
{
    return character <= 0x10FFFF && (character < 0xD800 || character > 0xDFFF);
}

// Length of the valid UTF-8 sequence at the start of the text, or 0.
std::size_t DecodeOne(std::string_view text, char32_t& character)
{
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(0);
    const std::size_t length = lead < 0x80   ? 1
                               : lead < 0xC2 ? 0
                               : lead < 0xE0 ? 2
                               : lead < 0xF0 ? 3
                               : lead < 0xF5 ? 4
                                             : 0;
    if (length == 0 || length > text.size()) {
        return 0;
    }
    character = length == 1 ? lead : lead & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0u) != 0x80u) {
            return 0;
        }
        character = (character << 6) | (byte(i) & 0x3Fu);
    }
    const bool overlong = (length == 3 && character < 0x800) || (length == 4 && character < 0x10000);
    return overlong || !IsCharacter(character) ? 0 : length;
}

} // namespace

std::wstring WideText(std::string_view narrow)
{
    std::wstring wide;
    wide.reserve(narrow.size());
    while (!narrow.empty()) {
        char32_t character = 0;
        std::size_t length = DecodeOne(narrow, character);
        if (length == 0) {
            character = kEscapedByte + static_cast<unsigned char>(narrow.front());
            length = 1;
        }
        wide.push_back(static_cast<wchar_t>(character));
        narrow.remove_prefix(length);
    }
    return wide;
}

bool IsText(std::wstring_view wide)
{
    return std::all_of(wide.begin(), wide.end(), [](wchar_t unit) {
        const auto character = static_cast<char32_t>(unit);
        return IsEscapedByte(character) || IsCharacter(character);
    });
}

std::string NarrowText(std::wstring_view wide)
{
    std::string narrow;
    narrow.reserve(wide.size());
    for (const wchar_t unit : wide) {
        const auto character = static_cast<char32_t>(unit);
        if (IsEscapedByte(character)) {
            narrow.push_back(static_cast<char>(character - kEscapedByte));
        }
        else {
            AppendUtf8(narrow, character);
        }
    }
    return narrow;
}

void AppendUtf8(std::string& text, char32_t character)
{
    if (!IsCharacter(character)) {
        character = 0xFFFD;
    }
    const int following = character < 0x80 ? 0 : character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
    constexpr unsigned kLeads[] = {0, 0xC0, 0xE0, 0xF0};
    text.push_back(static_cast<char>(kLeads[following] | character >> 6 * following));
    for (int i = following - 1; i >= 0; --i) {
        text.push_back(static_cast<char>(0x80 | (character >> 6 * i & 0x3F)));
    }
}

} // namespace maravel::posix

DWORD GetEnvironmentVariableW(const wchar_t* name, wchar_t* buffer, DWORD size)
{
    const char* value = std::getenv(maravel::posix::NarrowText(name).c_str());
    if (value == nullptr) {
        Fail(ERROR_ENVVAR_NOT_FOUND);
        return 0;
    }
    const std::wstring wide = maravel::posix::WideText(value);
    if (wide.size() >= size) {
        return static_cast<DWORD>(wide.size() + 1);
    }
    std::memcpy(buffer, wide.c_str(), (wide.size() + 1) * sizeof(wchar_t));
    Fail(ERROR_SUCCESS); // an empty value is none
    return static_cast<DWORD>(wide.size());
}

DWORD GetFullPathNameW(const wchar_t* path, DWORD size, wchar_t* buffer, wchar_t**)
{
    std::wstring full = path;
    if (*path != L'/') {
        std::error_code error;
        const std::filesystem::path folder = std::filesystem::current_path(error);
        if (error) {
            FailWithErrno(error.value());
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
        return Fail(ERROR_NO_UNICODE_TRANSLATION);
    }
    const std::string text = maravel::posix::NarrowText({wide, length});
    if (usedDefaultChar != nullptr) {
        *usedDefaultChar = FALSE;
    }
    if (narrowSize == 0) {
        return static_cast<int>(text.size());
    }
    if (text.size() > static_cast<std::size_t>(narrowSize)) {
        return Fail(ERROR_INSUFFICIENT_BUFFER);
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
