#include "platform/posix/RegistryFile.h"

#include "platform/posix/System.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace maravel::posix {

namespace {

constexpr std::string_view kRootName = "HKEY_LOCAL_MACHINE";

// Deeper keys than Windows itself allows are not built, so that no text can exhaust the stack.
constexpr int kMaxDepth = 512;

char LowerAscii(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool SameName(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return LowerAscii(x) == LowerAscii(y); });
}

// Cuts the first name off a path of names separated by backslashes.
std::string_view TakeName(std::string_view& path)
{
    const std::size_t end = path.find('\\');
    const std::string_view name = path.substr(0, end);
    path.remove_prefix(end == std::string_view::npos ? path.size() : end + 1);
    return name;
}

std::string_view Trimmed(std::string_view text)
{
    constexpr const char* kBlanks = " \t\r";
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

std::string Utf8OfUtf16(std::string_view bytes, bool bigEndian)
{
    std::string text;
    const auto unit = [&](std::size_t i) {
        const auto first = static_cast<unsigned char>(bytes[i]);
        const auto second = static_cast<unsigned char>(bytes[i + 1]);
        return static_cast<char32_t>(bigEndian ? first << 8 | second : second << 8 | first);
    };
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        char32_t character = unit(i);
        const bool high = character >= 0xD800 && character < 0xDC00;
        if (high && i + 3 < bytes.size() && unit(i + 2) >= 0xDC00 && unit(i + 2) < 0xE000) {
            character = 0x10000 + ((character - 0xD800) << 10) + (unit(i + 2) - 0xDC00);
            i += 2;
        }
        AppendUtf8(text, character);
    }
    return text;
}

std::string Utf8Of(std::string_view bytes)
{
    if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) {
        return Utf8OfUtf16(bytes.substr(2), bytes[0] == '\xFE');
    }
    if (bytes.starts_with("\xEF\xBB\xBF")) {
        bytes.remove_prefix(3);
    }
    return std::string(bytes);
}

// Reads a quoted text with \\ and \" escapes off the front; nothing when it does not end.
std::optional<std::string> TakeQuoted(std::string_view& text)
{
    if (!text.starts_with('"')) {
        return std::nullopt;
    }
    std::string value;
    for (std::size_t i = 1; i < text.size(); ++i) {
        if (text[i] == '"') {
            text.remove_prefix(i + 1);
            return value;
        }
        if (text[i] == '\\' && i + 1 < text.size()) {
            ++i;
        }
        value.push_back(text[i]);
    }
    return std::nullopt;
}

std::optional<std::uint32_t> HexNumber(std::string_view text)
{
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, 16);
    return error == std::errc{} && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

// "hex:" or "hex(type):", then bytes separated by commas.
std::optional<RegistryValue> HexValue(std::string_view text)
{
    RegistryValue value;
    value.type = REG_BINARY;
    std::size_t begin = std::string_view("hex:").size();
    if (text.starts_with("hex(")) {
        const std::size_t close = text.find(')');
        if (close == std::string_view::npos || !text.substr(close).starts_with("):")) {
            return std::nullopt;
        }
        const auto type = HexNumber(text.substr(4, close - 4));
        if (!type) {
            return std::nullopt;
        }
        value.type = *type;
        begin = close + 2;
    }
    text.remove_prefix(begin);
    while (!Trimmed(text).empty()) {
        const std::size_t comma = text.find(',');
        const auto byte = HexNumber(Trimmed(text.substr(0, comma)));
        if (!byte || *byte > 0xFF) {
            return std::nullopt;
        }
        value.data.push_back(static_cast<std::uint8_t>(*byte));
        text.remove_prefix(comma == std::string_view::npos ? text.size() : comma + 1);
    }
    return value;
}

std::optional<RegistryValue> ParseData(std::string_view text)
{
    RegistryValue value;
    if (text.starts_with('"')) {
        const auto quoted = TakeQuoted(text);
        if (!quoted) {
            return std::nullopt;
        }
        value.type = REG_SZ;
        value.data.assign(quoted->c_str(), quoted->c_str() + quoted->size() + 1);
        return value;
    }
    if (text.starts_with("dword:")) {
        const auto number = HexNumber(text.substr(6));
        if (!number) {
            return std::nullopt;
        }
        value.type = REG_DWORD;
        for (int shift = 0; shift < 32; shift += 8) {
            value.data.push_back(static_cast<std::uint8_t>(*number >> shift));
        }
        return value;
    }
    if (text.starts_with("hex:") || text.starts_with("hex(")) {
        return HexValue(text);
    }
    return std::nullopt;
}

// The key's own subkey of that name; null when there is none.
RegistryKey* SubKeyOf(const RegistryKey& key, std::string_view name)
{
    const auto found = std::find_if(key.subKeys.begin(), key.subKeys.end(),
                                    [&](const auto& subKey) { return SameName(subKey->name, name); });
    return found == key.subKeys.end() ? nullptr : found->get();
}

// The key at the path under root, made with its parents when it is new; null when it lies too deep.
RegistryKey* MakeKey(RegistryKey& root, std::string_view path)
{
    RegistryKey* key = &root;
    for (int depth = 0; !path.empty(); ++depth) {
        const std::string_view name = TakeName(path);
        if (name.empty() || depth == kMaxDepth) {
            return nullptr;
        }
        RegistryKey* subKey = SubKeyOf(*key, name);
        if (subKey == nullptr) {
            subKey = key->subKeys.emplace_back(std::make_unique<RegistryKey>()).get();
            subKey->name = name;
        }
        key = subKey;
    }
    return key;
}

void ParseValueLine(RegistryKey& key, std::string_view line)
{
    std::string name;
    if (line.starts_with('@')) {
        line.remove_prefix(1);
    }
    else if (auto quoted = TakeQuoted(line)) {
        name = std::move(*quoted);
    }
    else {
        return;
    }
    line = Trimmed(line);
    if (!line.starts_with('=')) {
        return;
    }
    if (auto value = ParseData(Trimmed(line.substr(1)))) {
        value->name = name;
        std::erase_if(key.values, [&](const RegistryValue& old) { return SameName(old.name, name); });
        key.values.push_back(std::move(*value));
    }
}

// The key that a line in brackets opens; null for another root.
RegistryKey* OpenSection(RegistryKey& root, std::string_view line)
{
    if (!line.ends_with(']')) {
        return nullptr;
    }
    line.remove_prefix(1);
    line.remove_suffix(1);
    return SameName(TakeName(line), kRootName) ? MakeKey(root, line) : nullptr;
}

// The next line, with those that a trailing backslash continues.
std::string TakeLine(std::string_view& text)
{
    std::string line;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        const std::string_view part = Trimmed(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        line += part;
        if (!part.ends_with('\\')) {
            break;
        }
        line.pop_back();
    }
    return line;
}

} // namespace

const RegistryKey* RegistryKey::Find(std::string_view path) const
{
    const RegistryKey* key = this;
    while (key != nullptr && !path.empty()) {
        key = SubKeyOf(*key, TakeName(path));
    }
    return key;
}

const RegistryValue* RegistryKey::FindValue(std::string_view valueName) const
{
    const auto found = std::find_if(values.begin(), values.end(), [&](const RegistryValue& value) {
        return SameName(value.name, valueName);
    });
    return found == values.end() ? nullptr : &*found;
}

std::unique_ptr<RegistryKey> ParseRegistryText(std::string_view bytes)
{
    auto root = std::make_unique<RegistryKey>();
    RegistryKey* key = nullptr;
    const std::string text = Utf8Of(bytes);
    for (std::string_view rest = text; !rest.empty();) {
        const std::string line = TakeLine(rest);
        if (line.starts_with('[')) {
            key = OpenSection(*root, line);
        }
        else if (key != nullptr) {
            ParseValueLine(*key, line);
        }
    }
    return root;
}

} // namespace maravel::posix
