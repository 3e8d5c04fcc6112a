// What the two SDK bindings share: load a library from the SDK folder's "bin", resolve every entry point of a
// list in order, stop at the first that is missing, unload.
#pragma once

#include "platform/Win32.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace maravel {

struct ApiVersion
{
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    std::uint32_t patch = 0;
    std::uint32_t build = 0;
};

// Looks an entry point up by its name in a loaded library; null when it has none.
using EntryPointResolver = FARPROC (*)(HMODULE library, const char* name);

// One entry point of a table: its exported name and where in the table its pointer goes.
struct EntryPointSlot
{
    const char* name;
    std::size_t offset;
};

class SdkLibrary
{
public:
    SdkLibrary(const SdkLibrary&) = delete;
    SdkLibrary& operator=(const SdkLibrary&) = delete;

    // True when the library loaded and has every entry point of its list.
    bool IsValid() const noexcept { return valid_; }

    ApiVersion GetVersion() const noexcept { return version_; }

protected:
    // flags are those of LoadLibraryExA; 0 loads with LoadLibraryA's plain search rules.
    SdkLibrary(const char* libraryFileName, DWORD flags) : libraryFileName_(libraryFileName), flags_(flags) {}
    ~SdkLibrary();

    // Loads the library from the folder's "bin"; false when that fails or the path has no narrow form.
    bool LoadApiLibrary(const std::wstring& sdkFolder);

    // Resolves the slots into the table that starts at `table`. Only the first missing entry point is logged,
    // with the operation's name; it and all later ones stay null and the object is invalid.
    void ResolveEntryPoints(const char* operation, void* table, const EntryPointSlot* slots,
                            std::size_t count, EntryPointResolver resolver);

    ApiVersion version_;

private:
    HMODULE library_ = nullptr;
    bool valid_ = false;
    std::string libraryFileName_;
    DWORD flags_;
};

} // namespace maravel
