// What the diagnosis asks of the system.
#pragma once

#include "LibraryFile.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace maravel::diagnosis {

LibraryKind NativeLibraryKind();

// The all-users documents folder; empty when the system does not tell.
std::filesystem::path DocumentsFolder();

// Programs that have the file open, this one not counted: their names with their numbers, as far as they can
// be told.
std::vector<std::string> UsersOf(const std::filesystem::path& file);

// Whether the system finds a library of that name that one in the folder asks for.
bool CanFindLibrary(const std::string& name, const std::filesystem::path& folder);

// Whether the adapter, which loads by narrow paths, can name the file: on Windows only characters of the code
// page.
bool HasNarrowPath(const std::filesystem::path& file);

// A variable of the environment as UTF-8; empty when it is not set.
std::string EnvironmentVariable(const std::string& name);

// Local time of a file's last change: milliseconds since midnight, and the day as YYYY-MM-DD `daysBefore` it.
struct FileMoment
{
    std::int64_t timeOfDay = -1;
    std::int64_t secondsAgo = -1;
};
FileMoment LastChangeOf(const std::filesystem::path& file);
std::string DayOf(const std::filesystem::path& file, int daysBefore);

// Of this machine's network and USB, where a program can look at them; the Linux page of real cameras in
// rows.
struct MachineCheck
{
    std::string id;
    bool good = true;
    std::string text;
    std::string advice;
};
std::vector<MachineCheck> CheckNetwork();

} // namespace maravel::diagnosis
