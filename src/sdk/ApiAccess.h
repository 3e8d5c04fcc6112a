// The bindings to the SDK's two libraries. Made and dropped under g_adapterMutex; read-only in between, so
// any thread may call through them.
#pragma once

#include "platform/Win32.h"
#include "sdk/ImageTransformEntryPoints.h"
#include "sdk/RuntimeEntryPoints.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace maravel {

// Printed as "V%d.%d.%d.%d".
struct ApiVersion
{
    std::int32_t major = 0;
    std::int32_t minor = 0;
    std::int32_t patch = 0;
    std::int32_t build = 0;
};

// Looks an entry point up by its name in a loaded library; null when it has none.
using EntryPointResolver = FARPROC (*)(HMODULE library, const char* name);

// One entry point of a table: its exported name and where in the table its pointer goes.
struct EntryPointSlot
{
    const char* name;
    std::size_t offset;
};

// Loads a library from the SDK folder's "bin", resolves every entry point of a list in order, stops at the
// first that is missing, unloads.
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

    // Loads the library from the folder's "bin". The object stays invalid when that fails or the path has no
    // narrow form.
    void LoadApiLibrary(const std::wstring& sdkFolder);

    // Resolves the slots of a library that loaded into the table that starts at `table`. Only the first
    // missing entry point is logged, with the operation's name; it and all later ones stay null and the
    // object is invalid.
    void ResolveEntryPoints(const char* operation, void* table, std::span<const EntryPointSlot> slots,
                            EntryPointResolver resolver);

    ApiVersion version_;

private:
    HMODULE library_ = nullptr;
    bool valid_ = false;
    std::string libraryFileName_;
    DWORD flags_;
};

#define ZVK_POINTER(result, name, parameters) result(*name) parameters = nullptr;

// The runtime library's entry points, each a pointer of its own name; null until resolved.
struct RuntimeEntryPoints
{
    ZVK_RUNTIME_ENTRY_POINTS(ZVK_POINTER)
};

static_assert(sizeof(RuntimeEntryPoints) == 56 * sizeof(void*));

// The image-transform library's.
struct ImageTransformEntryPoints
{
    ZVK_IMAGE_TRANSFORM_ENTRY_POINTS(ZVK_POINTER)
};
#undef ZVK_POINTER

static_assert(sizeof(ImageTransformEntryPoints) == 12 * sizeof(void*));

// "ZvkC.dll", one per start-up. A missing library or entry point makes the object invalid; it throws only
// std::bad_alloc.
class CZorvikAPIAccess : public SdkLibrary, public RuntimeEntryPoints
{
public:
    explicit CZorvikAPIAccess(const std::wstring& sdkFolder, EntryPointResolver resolver = &GetProcAddress);
};

// "ZvkImageTransform.dll", likewise.
class CHVNImageTransformAPIAccess : public SdkLibrary, public ImageTransformEntryPoints
{
public:
    explicit CHVNImageTransformAPIAccess(const std::wstring& sdkFolder,
                                         EntryPointResolver resolver = &GetProcAddress);
};

} // namespace maravel
