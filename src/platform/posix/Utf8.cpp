#include "platform/posix/Utf8.h"

#include <algorithm>
#include <cstddef>

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
    const auto put = [&](char32_t byte) {
        text.push_back(static_cast<char>(static_cast<unsigned char>(byte)));
    };
    if (character < 0x80) {
        put(character);
    }
    else if (character < 0x800) {
        put(0xC0 | (character >> 6));
        put(0x80 | (character & 0x3F));
    }
    else if (character < 0x10000) {
        put(0xE0 | (character >> 12));
        put(0x80 | ((character >> 6) & 0x3F));
        put(0x80 | (character & 0x3F));
    }
    else {
        put(0xF0 | (character >> 18));
        put(0x80 | ((character >> 12) & 0x3F));
        put(0x80 | ((character >> 6) & 0x3F));
        put(0x80 | (character & 0x3F));
    }
}

} // namespace maravel::posix
