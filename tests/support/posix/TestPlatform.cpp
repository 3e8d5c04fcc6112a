#include "support/TestPlatform.h"

#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <map>
#include <sstream>
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

} // namespace maravel::test
