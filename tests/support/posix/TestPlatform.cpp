#include "support/TestPlatform.h"

#include <clocale>
#include <csignal>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <map>
#include <memory>
#include <sstream>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace maravel::test {

namespace fs = std::filesystem;

void SetEnvironment(const std::string& name, const std::string& value)
{
    if (value.empty()) {
        unsetenv(name.c_str());
    }
    else {
        setenv(name.c_str(), value.c_str(), 1);
    }
}

std::string ExecutableFolder()
{
    return fs::read_symlink("/proc/self/exe").parent_path().string();
}

bool IsModuleLoaded(const std::string& fileName)
{
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.ends_with("/" + fileName)) {
            return true;
        }
    }
    return false;
}

std::uint64_t MemoryInUse()
{
    std::ifstream statm("/proc/self/statm");
    std::uint64_t total = 0;
    std::uint64_t resident = 0;
    statm >> total >> resident;
    return resident * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

std::uint32_t HandlesInUse()
{
    std::uint32_t count = 0;
    for ([[maybe_unused]] const auto& entry : fs::directory_iterator("/proc/self/fd")) {
        ++count;
    }
    return count;
}

PrivateMachine::PrivateMachine()
{
    std::string name = (fs::temp_directory_path() / "maravel-test-XXXXXX").string();
    root_ = mkdtemp(name.data());
    logFolder_ = root_ + "/Documents/Halvane/AdapterZorvik";
    SetEnvironment("MARAVEL_PLATFORM_ROOT", root_);
}

PrivateMachine::~PrivateMachine()
{
    SetEnvironment("MARAVEL_PLATFORM_ROOT", "");
    std::error_code ignored;
    fs::remove_all(root_, ignored);
}

std::string PrivateMachine::LogFile() const
{
    return logFolder_ + "/MaravelAdapterZorvik.log";
}

void PrivateMachine::SetRegistry(const std::vector<RegistryEntry>& entries)
{
    std::map<std::string, std::string> keys;
    for (const RegistryEntry& entry : entries) {
        std::string& lines = keys[entry.key];
        if (entry.value.empty()) {
            continue;
        }
        std::ostringstream line;
        line << '"' << entry.value << "\"=hex(" << std::hex << entry.type << "):";
        for (std::size_t i = 0; i < entry.data.size(); ++i) {
            line << (i > 0 ? "," : "") << std::setw(2) << std::setfill('0')
                 << static_cast<unsigned>(entry.data[i]);
        }
        lines += line.str() + "\n";
    }
    std::ofstream file(root_ + "/registry.reg");
    file << "Windows Registry Editor Version 5.00\n";
    for (const auto& [key, lines] : keys) {
        file << "\n[HKEY_LOCAL_MACHINE\\" << key << "]\n" << lines;
    }
}

void PrivateMachine::RemoveLogFolder()
{
    fs::remove_all(logFolder_);
}

std::function<void()> StallLog(const PrivateMachine& machine)
{
    fs::remove_all(machine.LogFolder());
    fs::create_directories(machine.LogFolder());
    if (mkfifo(machine.LogFile().c_str(), 0600) != 0) {
        return {};
    }
    return [pipe = std::make_shared<std::ifstream>(), file = machine.LogFile()] {
        pipe->open(file, std::ios::binary);
        for (int lines = 0; lines < 100; ++lines) {
            std::string line;
            std::getline(*pipe, line);
        }
    };
}

std::vector<LogObstacle> LogObstacles()
{
    const auto linkLog = [](const PrivateMachine& machine, const char* target) -> std::function<void()> {
        fs::remove_all(machine.LogFolder());
        fs::create_directories(machine.LogFolder());
        fs::create_symlink(target, machine.LogFile());
        return [file = machine.LogFile()] { fs::remove(file); };
    };
    return {
        {"a disk that is full", [=](const PrivateMachine& machine) { return linkLog(machine, "/dev/full"); }},
        {"a file that cannot be opened",
         [=](const PrivateMachine& machine) { return linkLog(machine, "/nowhere/at/all"); }},
        {"a folder that cannot be made",
         [](const PrivateMachine& machine) -> std::function<void()> {
             fs::remove_all(machine.LogFolder());
             fs::create_directories(fs::path(machine.LogFolder()).parent_path());
             std::ofstream(machine.LogFolder()) << "in the way";
             return [folder = machine.LogFolder()] { fs::remove(folder); };
         }},
        {"a limit on the size of files",
         [](const PrivateMachine&) -> std::function<void()> {
             std::signal(SIGXFSZ, SIG_IGN);
             rlimit old = {};
             getrlimit(RLIMIT_FSIZE, &old);
             const rlimit small = {2000, old.rlim_max};
             setrlimit(RLIMIT_FSIZE, &small);
             return [old] { setrlimit(RLIMIT_FSIZE, &old); };
         }},
    };
}

bool ClaimProgramVersion(const std::string& version)
{
    SetEnvironment("MARAVEL_PROGRAM_VERSION", version);
    return true;
}

bool UseDecimalComma()
{
    // The build makes one, for the many systems that are set up without.
    setenv("LOCPATH", MARAVEL_LOCALES, 1);
    return std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr;
}

int RunProgram(const std::string& program, const std::vector<std::string>& arguments)
{
    std::vector<std::string> texts = {program};
    texts.insert(texts.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        execv(program.c_str(), pointers.data());
        _exit(127);
    }
    for (int i = 0; i < 6000; ++i) {
        int status = 0;
        if (waitpid(child, &status, WNOHANG) == child) {
            return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    return -1;
}

bool ThreadsEndWhileUnloading()
{
    return true;
}

std::uint64_t MemoryTolerance()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return std::uint64_t{512} << 20; // what was freed is kept for a while, and so is the history of accesses
#else
    return std::uint64_t{2} << 20;
#endif
}

} // namespace maravel::test
