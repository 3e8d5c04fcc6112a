// The SDK folder, looked at from outside.
#pragma once

#include "Analysis.h"

#include <filesystem>
#include <string>
#include <vector>

namespace maravel::diagnosis {

inline constexpr const char* kRuntimeLibrary = "ZvkC.dll";
inline constexpr const char* kTransformLibrary = "ZvkImageTransform.dll";

struct LibraryCheck
{
    std::string complaint;            // empty: it loads and has all entry points
    bool tooOld = false;              // it loads, and entry points are missing
    std::vector<std::string> missing; // entry points
    std::size_t entryPoints = 0;      // that it should have
};

// Loads the library for a moment when its bytes allow that.
LibraryCheck CheckLibrary(const std::filesystem::path& sdkFolder, const char* name);

// Which library keeps the SDK from loading, for the analysis of a log of this machine.
LibraryVerdict InspectSdk(const std::string& sdkFolder);

} // namespace maravel::diagnosis
