// The binding to the SDK's image-transform library, "ZvkImageTransform.dll".
#pragma once

#include "sdk/ImageTransformEntryPoints.h"
#include "sdk/SdkLibrary.h"

namespace maravel {

// The library's entry points, each a pointer of its own name; null until resolved.
struct ImageTransformEntryPoints
{
#define ZVK_POINTER(result, name, parameters) result(*name) parameters = nullptr;
    ZVK_IMAGE_TRANSFORM_ENTRY_POINTS(ZVK_POINTER)
#undef ZVK_POINTER
};

static_assert(sizeof(ImageTransformEntryPoints) == 12 * sizeof(void*));

// One per start-up. Read-only once constructed, so any thread may call through it.
class CHVNImageTransformAPIAccess : public SdkLibrary, public ImageTransformEntryPoints
{
public:
    // Loads the library from the folder's "bin" and resolves the table. A missing library or entry point
    // makes the object invalid; it throws only std::bad_alloc.
    explicit CHVNImageTransformAPIAccess(const std::wstring& sdkFolder,
                                         EntryPointResolver resolver = &GetProcAddress);

private:
    void AssignProcAddress(EntryPointResolver resolver);
};

} // namespace maravel
