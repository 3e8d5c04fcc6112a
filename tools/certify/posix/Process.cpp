#include "../Process.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <spawn.h>
#include <stdexcept>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ; // POSIX declares it nowhere

namespace maravel::certify {
namespace {

std::uint64_t CountIn(const char* folder)
{
    std::uint64_t count = 0;
    std::error_code error;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        ++count;
    }
    return count;
}

} // namespace

struct ChildProcess::Parts
{
    pid_t process = -1;
    FILE* output = nullptr;
};

ChildProcess::ChildProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments)
    : parts_(std::make_unique<Parts>())
{
    std::vector<std::string> words{program.string()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);

    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) {
        throw std::runtime_error(std::string("cannot make a pipe: ") + std::strerror(errno));
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, ends[0]);
    posix_spawn_file_actions_addclose(&actions, ends[1]);
    const int error =
        posix_spawn(&parts_->process, words[0].c_str(), &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    if (error != 0) {
        close(ends[0]);
        throw std::runtime_error("cannot start " + words[0] + ": " + std::strerror(error));
    }
    parts_->output = fdopen(ends[0], "r");
}

ChildProcess::~ChildProcess()
{
    if (parts_->process > 0) {
        kill(parts_->process, SIGKILL);
        waitpid(parts_->process, nullptr, 0);
    }
    if (parts_->output != nullptr) {
        std::fclose(parts_->output);
    }
}

bool ChildProcess::ReadLine(std::string* line)
{
    line->clear();
    for (int c = 0; parts_->output != nullptr && (c = std::fgetc(parts_->output)) != EOF;) {
        if (c == '\n') {
            return true;
        }
        line->push_back(static_cast<char>(c));
    }
    return !line->empty();
}

std::string ChildProcess::Wait()
{
    int status = 0;
    while (waitpid(parts_->process, &status, 0) < 0 && errno == EINTR) {
    }
    parts_->process = -1;
    if (WIFSIGNALED(status)) {
        return "signal " + std::to_string(WTERMSIG(status)) + " (" + strsignal(WTERMSIG(status)) + ")";
    }
    return WEXITSTATUS(status) == 0 ? "" : "exit code " + std::to_string(WEXITSTATUS(status));
}

std::uint64_t MemoryInUse()
{
    std::uint64_t pages = 0;
    std::uint64_t resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    return resident * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

std::uint64_t ThreadsInUse()
{
    return CountIn("/proc/self/task");
}

std::uint64_t HandlesInUse()
{
    return CountIn("/proc/self/fd");
}

std::string SystemName()
{
    utsname names{};
    uname(&names);
    return std::string(names.sysname) + " " + names.release + " " + names.machine;
}

void EndOnCrash() {}

} // namespace maravel::certify
