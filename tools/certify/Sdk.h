// The SDK's two libraries, bound as the adapter binds them.
#pragma once

#include "sdk/ImageTransformEntryPoints.h"
#include "sdk/RuntimeEntryPoints.h"

#include <filesystem>
#include <span>

namespace maravel::certify {

inline constexpr const char* kRuntimeFile = "ZvkC.dll";
inline constexpr const char* kTransformFile = "ZvkImageTransform.dll";

// Names in the order of the adapter's tables.
std::span<const char* const> RuntimeEntryNames();
std::span<const char* const> TransformEntryNames();

// One library of the SDK folder, loaded while the object lives. Throws Failed when it does not load.
class LoadedLibrary
{
public:
    explicit LoadedLibrary(const std::filesystem::path& file);
    ~LoadedLibrary();
    LoadedLibrary(const LoadedLibrary&) = delete;
    LoadedLibrary& operator=(const LoadedLibrary&) = delete;

    // Null when the library has none of that name.
    void* Find(const char* name) const;

private:
    void* module_;
};

// All 68 entry points by their names. Only those whose signature the SDK documents are called; the others are
// there because the adapter needs them to be found. Throws Failed when a library or an entry point is
// missing.
class Sdk
{
public:
    explicit Sdk(const std::filesystem::path& folder);

#define CERTIFY_POINTER(result, name, parameters) result(*name) parameters = nullptr;
    ZVK_RUNTIME_ENTRY_POINTS(CERTIFY_POINTER)
    ZVK_IMAGE_TRANSFORM_ENTRY_POINTS(CERTIFY_POINTER)
#undef CERTIFY_POINTER

private:
    LoadedLibrary transform_, runtime_;
};

} // namespace maravel::certify
