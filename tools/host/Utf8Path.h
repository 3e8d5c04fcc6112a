// Texts of the tools are UTF-8 on every system; a path is made of one, or turned into one, here.
#pragma once

#include <filesystem>
#include <string>

namespace maravel::host {

inline std::filesystem::path PathOf(const std::string& text)
{
    return {std::u8string(text.begin(), text.end())};
}

// With the system's own separators throughout.
inline std::string TextOf(std::filesystem::path path)
{
    const std::u8string text = path.make_preferred().u8string();
    return {text.begin(), text.end()};
}

} // namespace maravel::host
