#include "sdk/ApiAccess.h"

#include "diag/Log.h"
#include "sdk/SdkFolder.h"

#include <cstring>
#include <iterator>

namespace maravel {

namespace {

constexpr EntryPointSlot kRuntimeSlots[] = {
#define ZVK_SLOT(result, name, parameters) {#name, offsetof(RuntimeEntryPoints, name)},
    ZVK_RUNTIME_ENTRY_POINTS(ZVK_SLOT)
#undef ZVK_SLOT
};

constexpr EntryPointSlot kImageTransformSlots[] = {
#define ZVK_SLOT(result, name, parameters) {#name, offsetof(ImageTransformEntryPoints, name)},
    ZVK_IMAGE_TRANSFORM_ENTRY_POINTS(ZVK_SLOT)
#undef ZVK_SLOT
};

static_assert(std::size(kRuntimeSlots) == 56 && std::size(kImageTransformSlots) == 12);

} // namespace

SdkLibrary::~SdkLibrary()
{
    if (library_ != nullptr) {
        FreeLibrary(library_);
    }
}

void SdkLibrary::LoadApiLibrary(const std::wstring& sdkFolder)
{
    std::wstring path = sdkFolder;
    if (!path.ends_with(WidePathSeparator)) {
        path += WidePathSeparator;
    }
    path.append(L"bin").append(1, WidePathSeparator);
    path.append(libraryFileName_.begin(), libraryFileName_.end());
    if (const std::string narrowPath = NarrowPath(path); !narrowPath.empty()) {
        library_ = flags_ != 0 ? LoadLibraryExA(narrowPath.c_str(), nullptr, flags_)
                               : LoadLibraryA(narrowPath.c_str());
    }
    valid_ = library_ != nullptr;
}

void SdkLibrary::ResolveEntryPoints(const char* operation, void* table, std::span<const EntryPointSlot> slots,
                                    EntryPointResolver resolver)
{
    for (auto slot = slots.begin(); valid_ && slot != slots.end(); ++slot) {
        const FARPROC entry = resolver(library_, slot->name);
        std::memcpy(static_cast<char*>(table) + slot->offset, &entry, sizeof entry);
        valid_ = entry != nullptr;
        if (!valid_) {
            WriteLog(__LINE__, "%s: Could not find %s\n", operation, slot->name);
        }
    }
}

CZorvikAPIAccess::CZorvikAPIAccess(const std::wstring& sdkFolder, EntryPointResolver resolver)
    : SdkLibrary("ZvkC.dll", LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS)
{
    LoadApiLibrary(sdkFolder);
    ResolveEntryPoints("CZorvikAPIAccess::AssignProcAddress", static_cast<RuntimeEntryPoints*>(this),
                       kRuntimeSlots, resolver);
    if (ZvkVersionQuery != nullptr) {
        ZvkVersionInfo_t info = {};
        ZvkVersionQuery(&info, sizeof info);
        version_ = {static_cast<std::int32_t>(info.major), static_cast<std::int32_t>(info.minor),
                    static_cast<std::int32_t>(info.patch), 0};
    }
}

CHVNImageTransformAPIAccess::CHVNImageTransformAPIAccess(const std::wstring& sdkFolder,
                                                         EntryPointResolver resolver)
    : SdkLibrary("ZvkImageTransform.dll", 0)
{
    LoadApiLibrary(sdkFolder);
    ResolveEntryPoints("CHVNImageTransformAPIAccess::AssignProcAddress",
                       static_cast<ImageTransformEntryPoints*>(this), kImageTransformSlots, resolver);
    if (ZvkGetImageTransformVersion != nullptr) {
        std::uint32_t packed = 0;
        ZvkGetImageTransformVersion(&packed);
        const auto byte = [packed](int shift) { return static_cast<std::int32_t>(packed >> shift & 0xFF); };
        version_ = {byte(24), byte(16), byte(8), byte(0)};
    }
}

} // namespace maravel
