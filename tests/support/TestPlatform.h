// What the tests need of the system that they run on.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace maravel::test {

// Sets an environment variable as the adapter sees it; an empty value removes it.
void SetEnvironment(const std::string& name, const std::string& value);

// The folder of the running program, without a separator at its end.
std::string ExecutableFolder();

// An SDK folder beside that one.
std::string SdkFolder(const std::string& name = "sdk");

// The adapter that is built into the folder of the program.
std::string AdapterFile();

// Whether a library of that file name is loaded into this process.
bool IsModuleLoaded(const std::string& fileName);

// Resident memory of this process, in bytes.
std::uint64_t MemoryInUse();

// Handles or file descriptors that this process holds.
std::uint32_t HandlesInUse();

struct RegistryEntry
{
    std::string key;   // below HKEY_LOCAL_MACHINE
    std::string value; // empty: the key alone
    std::uint32_t type = 0;
    std::vector<std::uint8_t> data;
};

RegistryEntry RegistryKeyOnly(const std::string& key);
RegistryEntry RegistryNumber(const std::string& key, const std::string& value, std::uint32_t number);
RegistryEntry RegistryText(const std::string& key, const std::string& value, const std::string& text);
RegistryEntry RegistryBinary(const std::string& key, const std::string& value,
                             std::vector<std::uint8_t> data);

// A machine of the test's own: a private HKEY_LOCAL_MACHINE, and the place where the log goes. The state is
// the process's: one at a time.
class PrivateMachine
{
public:
    PrivateMachine();
    ~PrivateMachine();
    PrivateMachine(const PrivateMachine&) = delete;
    PrivateMachine& operator=(const PrivateMachine&) = delete;

    // Replaces everything below HKEY_LOCAL_MACHINE.
    void SetRegistry(const std::vector<RegistryEntry>& entries);

    std::string LogFolder() const { return logFolder_; }

    // As another program would, also while the log is open.
    void RemoveLogFolder();
    std::string LogFile() const;
    // What stands in it from that byte on; lines end in '\n' whatever the system.
    std::string LogText(std::size_t from = 0) const;

private:
    std::string logFolder_;
    std::string root_; // what stands for the machine on disk or in the registry
};

// Something that keeps the log from being written: puts itself in the way and returns what takes it away
// again.
struct LogObstacle
{
    std::string name;
    std::function<std::function<void()>(const PrivateMachine&)> put;
};
std::vector<LogObstacle> LogObstacles();

// Has a log that is opened next take a few lines only, until the returned function reads them; none where
// that cannot be.
std::function<void()> StallLog(const PrivateMachine& machine);

// Has this program appear in that version, in none when empty; false where that cannot be.
bool ClaimProgramVersion(const std::string& version);

// Gives this process a locale that writes numbers with a decimal comma; false where there is none.
bool UseDecimalComma();

// Runs a program of this folder to its end and returns its exit code; -1 when it was ended by a signal or did
// not end within a minute.
int RunProgram(const std::string& program, const std::vector<std::string>& arguments);

// Whether a thread can end while a library is being unloaded.
bool ThreadsEndWhileUnloading();

// How much of the memory in use may differ between two moments without anything having been kept.
std::uint64_t MemoryTolerance();

} // namespace maravel::test
