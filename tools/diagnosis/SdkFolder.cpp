#include "SdkFolder.h"

#include "LibraryFile.h"
#include "Machine.h"
#include "host/Module.h"
#include "host/Utf8Path.h"
#include "sdk/ImageTransformEntryPoints.h"
#include "sdk/RuntimeEntryPoints.h"

#include <span>
#include <string_view>
#include <system_error>

namespace maravel::diagnosis {
namespace {

namespace fs = std::filesystem;

#define MARAVEL_NAME(result, name, parameters) #name,
constexpr const char* kRuntimeEntries[] = {ZVK_RUNTIME_ENTRY_POINTS(MARAVEL_NAME)};
constexpr const char* kTransformEntries[] = {ZVK_IMAGE_TRANSFORM_ENTRY_POINTS(MARAVEL_NAME)};
#undef MARAVEL_NAME

std::span<const char* const> EntriesOf(std::string_view name)
{
    if (name == kTransformLibrary) {
        return kTransformEntries;
    }
    return kRuntimeEntries;
}

} // namespace

LibraryCheck CheckLibrary(const fs::path& sdkFolder, const char* name)
{
    LibraryCheck check;
    const fs::path path = sdkFolder / "bin" / name;
    const LibraryFile file = InspectLibrary(path);
    check.complaint = ComplaintOf(file);
    std::error_code error;
    if (file.kind == LibraryKind::Missing && fs::exists(sdkFolder / name, error)) {
        check.complaint += "; ZORVIK_HOME names the folder 'bin' itself, name the one above it";
    }
    for (const std::string& needed : file.needs) {
        if (check.complaint.empty() && !CanFindLibrary(needed, path.parent_path())) {
            check.complaint = "the library " + needed + ", which it needs, is missing";
        }
    }
    if (!check.complaint.empty()) {
        return check;
    }
    std::string reason;
    void* module = host::LoadModule(fs::absolute(path, error), &reason);
    if (module == nullptr) {
        check.complaint = "it does not load: " + reason;
        return check;
    }
    const auto entries = EntriesOf(name);
    check.entryPoints = entries.size();
    for (const char* entry : entries) {
        if (host::FindFunction(module, entry) == nullptr) {
            check.missing.push_back(entry);
        }
    }
    host::UnloadModule(module);
    if (!check.missing.empty()) {
        check.tooOld = true;
        check.complaint = std::to_string(check.missing.size()) + " of " + std::to_string(entries.size()) +
                          " functions are missing, such as " + check.missing.front();
    }
    return check;
}

LibraryVerdict InspectSdk(const std::string& sdkFolder)
{
    const fs::path folder = host::PathOf(sdkFolder);
    std::error_code error;
    if (!fs::is_directory(folder, error)) {
        return {.text = {}};
    }
    for (const char* name : {kRuntimeLibrary, kTransformLibrary}) {
        if (const LibraryCheck check = CheckLibrary(folder, name); !check.complaint.empty()) {
            return {.transform = name == kTransformLibrary, .text = check.complaint};
        }
    }
    return {.good = true, .text = "the file is well now"};
}

} // namespace maravel::diagnosis
