// The system's command interpreter.
#pragma once

#include <filesystem>
#include <random>
#include <string>

namespace maravel::test {

// Runs a line (UTF-8) and returns its exit code.
int Shell(const std::string& line);

// A place for a test's folder that no other run of it has; there are blanks in its name.
inline std::filesystem::path OwnFolder(const std::string& name)
{
    return std::filesystem::temp_directory_path() /
           ("camhost " + name + " " + std::to_string(std::random_device()()));
}

} // namespace maravel::test
