// Where the SDK is installed.
#pragma once

#include <string>

namespace maravel {

// The folder that the environment variable ZORVIK_HOME names, unchanged; may be empty or name nothing. Logs
// whether it is there.
std::wstring GetZvkApiPath();

// True for an existing folder, links followed; whatever keeps the question from being answered makes it
// false.
bool IsExistingFolder(const std::wstring& path);

// The path as the loader takes it: in the code page that the file functions use. Empty when a character of it
// has no place there.
std::string NarrowPath(const std::wstring& path);

} // namespace maravel
