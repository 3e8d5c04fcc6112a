// The SHA-256 sum of a file (FIPS 180-4).
#pragma once

#include <filesystem>
#include <string>

namespace maravel::certify {

// "SHA-256 " and 64 hexadecimal digits, or why the file cannot be read.
std::string SumOf(const std::filesystem::path& file);

} // namespace maravel::certify
