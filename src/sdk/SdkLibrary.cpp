#include "sdk/SdkLibrary.h"

#include "diag/Log.h"
#include "sdk/SdkFolder.h"

#include <cstring>

namespace maravel {

SdkLibrary::~SdkLibrary()
{
    if (library_ != nullptr) {
        FreeLibrary(library_);
    }
}

bool SdkLibrary::LoadApiLibrary(const std::wstring& sdkFolder)
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
    return valid_;
}

void SdkLibrary::ResolveEntryPoints(const char* operation, void* table, const EntryPointSlot* slots,
                                    std::size_t count, EntryPointResolver resolver)
{
    for (std::size_t i = 0; i < count && valid_; ++i) {
        const FARPROC entry = resolver(library_, slots[i].name);
        if (entry == nullptr) {
            WriteLog(__LINE__, "%s: Could not find %s\n", operation, slots[i].name);
            valid_ = false;
            return;
        }
        std::memcpy(static_cast<char*>(table) + slots[i].offset, &entry, sizeof entry);
    }
}

} // namespace maravel
