// Files that appear whole or not at all.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>

namespace maravel::camhost {

// Writes the bytes under a temporary name beside the path, then renames; replaces an existing file. Makes
// missing folders. Throws Failure, and leaves nothing behind, when the file cannot be written.
void WriteWholeFile(const std::filesystem::path& path, std::span<const std::uint8_t> bytes);

} // namespace maravel::camhost
