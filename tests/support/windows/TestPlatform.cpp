#include "support/TestPlatform.h"

#include "platform/Win32.h"

#include <filesystem>
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

} // namespace maravel::test
