// What the run asks of the system: other processes, and what this one holds.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace maravel::certify {

// A program with arguments (UTF-8) whose standard output is read here.
class ChildProcess
{
public:
    // Throws std::runtime_error when it does not start.
    ChildProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments);
    ~ChildProcess(); // ends it when it still runs
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // False at the end of what it prints.
    bool ReadLine(std::string* line);
    // How it ended: empty for exit code 0, else such as "exit code 3" or "signal 11 (Segmentation fault)".
    std::string Wait();

private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
    std::string rest_;
};

// Of this process. 0 where the system does not tell.
std::uint64_t MemoryInUse(); // bytes
std::uint64_t ThreadsInUse();
std::uint64_t HandlesInUse(); // files, handles

// "Linux 6.1.0 x86_64"
std::string SystemName();

// Crashes of this process end it at once, without a dialogue.
void EndOnCrash();

} // namespace maravel::certify
