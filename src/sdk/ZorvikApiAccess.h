// The binding to the SDK's runtime library, "ZvkC.dll".
#pragma once

#include "sdk/RuntimeEntryPoints.h"
#include "sdk/SdkLibrary.h"

namespace maravel {

// The runtime's entry points, each a pointer of its own name; null until resolved.
struct RuntimeEntryPoints
{
#define ZVK_POINTER(result, name, parameters) result(*name) parameters = nullptr;
    ZVK_RUNTIME_ENTRY_POINTS(ZVK_POINTER)
#undef ZVK_POINTER
};

static_assert(sizeof(RuntimeEntryPoints) == 56 * sizeof(void*));

// One per start-up. Read-only once constructed, so any thread may call through it.
class CZorvikAPIAccess : public SdkLibrary, public RuntimeEntryPoints
{
public:
    // Loads the library from the folder's "bin" and resolves the table. A missing library or entry point
    // makes the object invalid; it throws only std::bad_alloc.
    explicit CZorvikAPIAccess(const std::wstring& sdkFolder, EntryPointResolver resolver = &GetProcAddress);

private:
    void AssignProcAddress(EntryPointResolver resolver);
};

} // namespace maravel
