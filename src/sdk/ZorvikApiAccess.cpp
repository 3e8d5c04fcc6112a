#include "sdk/ZorvikApiAccess.h"

#include <iterator>

namespace maravel {

namespace {

constexpr EntryPointSlot kSlots[] = {
#define ZVK_SLOT(result, name, parameters) {#name, offsetof(RuntimeEntryPoints, name)},
    ZVK_RUNTIME_ENTRY_POINTS(ZVK_SLOT)
#undef ZVK_SLOT
};

static_assert(std::size(kSlots) == 56);

} // namespace

CZorvikAPIAccess::CZorvikAPIAccess(const std::wstring& sdkFolder, EntryPointResolver resolver)
    : SdkLibrary("ZvkC.dll", LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS)
{
    if (!LoadApiLibrary(sdkFolder)) {
        return;
    }
    AssignProcAddress(resolver);
    if (ZvkVersionQuery != nullptr) {
        ZvkVersionInfo_t info = {};
        ZvkVersionQuery(&info, sizeof info);
        version_ = {info.major, info.minor, info.patch, 0};
    }
}

void CZorvikAPIAccess::AssignProcAddress(EntryPointResolver resolver)
{
    ResolveEntryPoints("CZorvikAPIAccess::AssignProcAddress", static_cast<RuntimeEntryPoints*>(this), kSlots,
                       std::size(kSlots), resolver);
}

} // namespace maravel
