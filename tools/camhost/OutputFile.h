// Files that appear whole or not at all.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <span>

namespace maravel::camhost {

// Written under a temporary name beside the path and renamed when it is whole; replaces an existing file.
// Makes missing folders. All throw Failure, and nothing is left behind, when the file cannot be written.
class OutputFile
{
public:
    explicit OutputFile(std::filesystem::path path);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    std::ostream& Stream() { return stream_; }
    void Commit();

private:
    const std::filesystem::path path_;
    std::filesystem::path target_, temporary_;
    std::ofstream stream_;
};

void WriteWholeFile(const std::filesystem::path& path, std::span<const std::uint8_t> bytes);

} // namespace maravel::camhost
