// Where the SDK is installed. Host threads under g_adapterMutex.
#pragma once

#include <string>

namespace maravel {

// The folder that the environment variable ZORVIK_HOME names, unchanged; may be empty or name nothing. Logs
// whether it is there.
std::wstring GetZvkApiPath();

// The path against the current folder, so that it means the same to whoever looks it up; as it is when empty
// or when the system refuses.
std::wstring FullPath(const std::wstring& path);

// True for an existing folder, links followed; whatever keeps the question from being answered makes it
// false.
bool IsExistingFolder(const std::wstring& path);

// The path as the loader takes it: in the code page that the file functions use. Empty when a character of it
// has no place there.
std::string NarrowPath(const std::wstring& path);

} // namespace maravel
