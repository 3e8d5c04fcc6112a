#include "support/TestPlatform.h"

#include "platform/Win32.h"

#include <clocale>
#include <filesystem>
#include <fstream>
#include <psapi.h>

namespace maravel::test {

namespace fs = std::filesystem;

namespace {

constexpr char kPrivateRoot[] = "Software\\MaravelAdapterTest";

} // namespace

void SetEnvironment(const std::string& name, const std::string& value)
{
    SetEnvironmentVariableA(name.c_str(), value.empty() ? nullptr : value.c_str());
}

std::string ExecutableFolder()
{
    char path[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, path, MAX_PATH);
    return fs::path(path).parent_path().string();
}

bool IsModuleLoaded(const std::string& fileName)
{
    return GetModuleHandleA(fileName.c_str()) != nullptr;
}

std::uint64_t MemoryInUse()
{
    PROCESS_MEMORY_COUNTERS counters = {};
    GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    return counters.WorkingSetSize;
}

std::uint32_t HandlesInUse()
{
    DWORD count = 0;
    GetProcessHandleCount(GetCurrentProcess(), &count);
    return count;
}

PrivateMachine::PrivateMachine() : root_(kPrivateRoot)
{
    char documents[MAX_PATH] = "";
    SHGetFolderPathA(nullptr, CSIDL_COMMON_DOCUMENTS, nullptr, 0, documents);
    logFolder_ = std::string(documents) + "\\Halvane\\AdapterZorvik";
    std::error_code ignored;
    fs::remove_all(logFolder_, ignored);
    SetRegistry({});
}

PrivateMachine::~PrivateMachine()
{
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    RegDeleteTreeA(HKEY_CURRENT_USER, root_.c_str());
}

std::string PrivateMachine::LogFile() const
{
    return logFolder_ + "\\MaravelAdapterZorvik.log";
}

void PrivateMachine::SetRegistry(const std::vector<RegistryEntry>& entries)
{
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    RegDeleteTreeA(HKEY_CURRENT_USER, root_.c_str());
    HKEY machine = nullptr;
    RegCreateKeyA(HKEY_CURRENT_USER, root_.c_str(), &machine);
    for (const RegistryEntry& entry : entries) {
        HKEY key = nullptr;
        RegCreateKeyA(machine, entry.key.c_str(), &key);
        if (!entry.value.empty()) {
            RegSetValueExA(key, entry.value.c_str(), 0, entry.type, entry.data.data(),
                           static_cast<DWORD>(entry.data.size()));
        }
        RegCloseKey(key);
    }
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, machine);
    RegCloseKey(machine);
}

void PrivateMachine::RemoveLogFolder()
{
    std::error_code ignored; // an open file may keep it
    fs::remove_all(logFolder_, ignored);
}

std::function<void()> StallLog(const PrivateMachine&)
{
    return {};
}

std::vector<LogObstacle> LogObstacles()
{
    return {
        {"a file that another program holds",
         [](const PrivateMachine& machine) -> std::function<void()> {
             fs::create_directories(machine.LogFolder());
             const HANDLE file = CreateFileA(machine.LogFile().c_str(), GENERIC_READ | GENERIC_WRITE, 0,
                                             nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
             return [file] { CloseHandle(file); };
         }},
        {"a folder where the file should be",
         [](const PrivateMachine& machine) -> std::function<void()> {
             std::error_code ignored;
             fs::remove(machine.LogFile(), ignored);
             fs::create_directories(machine.LogFile());
             return [file = machine.LogFile()] { fs::remove(file); };
         }},
        {"a folder that cannot be made",
         [](const PrivateMachine& machine) -> std::function<void()> {
             fs::remove_all(machine.LogFolder());
             std::ofstream(machine.LogFolder()) << "in the way";
             return [folder = machine.LogFolder()] { fs::remove(folder); };
         }},
        {"a file that is read-only",
         [](const PrivateMachine& machine) -> std::function<void()> {
             fs::create_directories(machine.LogFolder());
             std::ofstream(machine.LogFile()) << "old";
             SetFileAttributesA(machine.LogFile().c_str(), FILE_ATTRIBUTE_READONLY);
             return [file = machine.LogFile()] { SetFileAttributesA(file.c_str(), FILE_ATTRIBUTE_NORMAL); };
         }},
    };
}

bool ClaimProgramVersion(const std::string&)
{
    return false;
}

bool UseDecimalComma()
{
    return std::setlocale(LC_ALL, "German_Germany.1252") != nullptr;
}

int RunProgram(const std::string& program, const std::vector<std::string>& arguments)
{
    std::string line = '"' + program + '"';
    for (const std::string& argument : arguments) {
        line += " \"" + argument + '"';
    }
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                       &process) == FALSE) {
        return 127;
    }
    DWORD code = static_cast<DWORD>(-1);
    if (WaitForSingleObject(process.hProcess, 60'000) == WAIT_OBJECT_0) {
        GetExitCodeProcess(process.hProcess, &code);
    }
    else {
        TerminateProcess(process.hProcess, code);
    }
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return static_cast<int>(code);
}

bool ThreadsEndWhileUnloading()
{
    return false; // each would wait for the loader, which the unloading holds
}

std::uint64_t MemoryTolerance()
{
    return std::uint64_t{4} << 20;
}

} // namespace maravel::test
