// What tests of whole programs need: the system's command interpreter, folders, files.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

namespace maravel::test {

// Runs a line (UTF-8) and returns its exit code.
int Shell(const std::string& line);

// A folder that no other run of a test has, for as long as the object lives; there are blanks in its name.
class OwnFolder
{
public:
    explicit OwnFolder(const std::string& name)
        : path_(std::filesystem::temp_directory_path() /
                ("camhost " + name + " " + std::to_string(std::random_device()())))
    {
        std::filesystem::create_directories(path_);
    }
    ~OwnFolder()
    {
        std::error_code error;
        std::filesystem::remove_all(path_, error);
    }
    OwnFolder(const OwnFolder&) = delete;
    OwnFolder& operator=(const OwnFolder&) = delete;

    const std::filesystem::path& Path() const { return path_; }

private:
    const std::filesystem::path path_;
};

inline std::string ReadFile(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace maravel::test
