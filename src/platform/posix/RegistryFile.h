// The text form in which Windows exports the registry, as far as a program that only reads needs it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace maravel::posix {

struct RegistryValue
{
    std::string name; // empty: the key's default value
    std::uint32_t type = 0;
    std::vector<std::uint8_t> data; // a text's data holds its terminating null
};

// A key with its values in the file's order and its subkeys in the order of their first mention.
struct RegistryKey
{
    std::string name;
    std::vector<RegistryValue> values;
    std::vector<std::unique_ptr<RegistryKey>> subKeys;

    // Looks down a path of names separated by backslashes; names match without regard to ASCII case. Null
    // when there is no such key.
    const RegistryKey* Find(std::string_view path) const;

    const RegistryValue* FindValue(std::string_view valueName) const;
};

// Reads a registry text: ASCII, UTF-8 or UTF-16 (with its mark), either line end. Returns HKEY_LOCAL_MACHINE;
// lines that make no sense are skipped, as are keys of other roots. Never fails.
std::unique_ptr<RegistryKey> ParseRegistryText(std::string_view bytes);

} // namespace maravel::posix
