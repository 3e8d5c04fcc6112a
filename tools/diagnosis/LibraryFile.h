// What a library file is, told from its bytes: nothing of it is loaded or run.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace maravel::diagnosis {

enum class LibraryKind : std::uint8_t
{
    Missing,
    Folder,
    Unreadable,
    Empty,
    NoLibrary, // text, a cut or garbled file, a program of a third kind
    Windows,
    Linux
};

struct LibraryFile
{
    LibraryKind kind = LibraryKind::Missing;
    bool sixtyFour = false;         // x86-64, which is the only machine that the adapter runs on
    std::string machine;            // as people call it
    std::string detail;             // why it is no library
    std::vector<std::string> needs; // libraries that it asks for
};

LibraryFile InspectLibrary(const std::filesystem::path& path);

// What keeps a file from being loaded by a program of this system; empty: nothing that its bytes tell.
std::string ComplaintOf(const LibraryFile& file);

} // namespace maravel::diagnosis
