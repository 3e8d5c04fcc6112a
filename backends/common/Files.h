// Whole files and their names. Plain C streams and the system's conversion of texts: what C++ has for both
// brings up its locales, and those leave memory behind when a library that has them linked in is unloaded on
// Windows.
#pragma once

#include <cstdio>
#include <filesystem>
#include <string>

namespace maravel::backend {

bool ReadWholeFile(const std::filesystem::path& path, std::string* bytes);
bool WriteWholeFile(const std::filesystem::path& path, const std::string& bytes);

// The path that a UTF-8 text names.
std::filesystem::path PathFromUtf8(const std::string& text);

// One of the two systems' ways to open a file by any name.
std::FILE* OpenFile(const std::filesystem::path& path, bool forWriting);

} // namespace maravel::backend
