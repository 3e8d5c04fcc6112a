// The log file of this machine, and reading one of any size.
#pragma once

#include "Analysis.h"

#include <filesystem>
#include <functional>

namespace maravel::diagnosis {

// Where the adapter of this machine writes; empty when the system does not tell.
std::filesystem::path OwnLogFile();

// The switch in the registry.
struct LogSwitch
{
    bool keyExists = false;
    bool valueExists = false;
    std::uint32_t type = 0; // of the value
    std::uint32_t value = 0;

    bool On() const { return !keyExists || (valueExists && value != 0); }
};
LogSwitch ReadLogSwitch();

// What may be asked of this machine about the log. `own`: it is the machine's own, so that its registry and
// its SDK belong to it.
// `followed`: it is taken for granted that the file is still written to; to find out may be in the way of a
// program that opens it at that moment.
Circumstances CircumstancesOf(const std::filesystem::path& file, bool own, bool followed = false);

// Reads the file from where the last call ended. Throws std::system_error.
class LogTail
{
public:
    explicit LogTail(std::filesystem::path file) : file_(std::move(file)) {}

    // Whether the file is another one than was read: shorter, or with another beginning.
    bool WasEmptied() const;
    // Feeds what is new. True when there was something.
    bool ReadInto(Analysis& analysis);
    void Restart()
    {
        position_ = 0;
        head_.clear();
    }

private:
    std::filesystem::path file_;
    std::uint64_t position_ = 0;
    std::string head_; // the first bytes that were read
};

// The report of a whole file. Throws std::system_error.
LogReport ReadLog(const std::filesystem::path& file, bool own, Analysis::Observer observer = nullptr);
LogReport FinishReport(const Analysis& analysis, const std::filesystem::path& file,
                       const Circumstances& circumstances);

} // namespace maravel::diagnosis
