#include "sdk/ImageTransformApiAccess.h"

#include <iterator>

namespace maravel {

namespace {

constexpr EntryPointSlot kSlots[] = {
#define ZVK_SLOT(result, name, parameters) {#name, offsetof(ImageTransformEntryPoints, name)},
    ZVK_IMAGE_TRANSFORM_ENTRY_POINTS(ZVK_SLOT)
#undef ZVK_SLOT
};

static_assert(std::size(kSlots) == 12);

} // namespace

CHVNImageTransformAPIAccess::CHVNImageTransformAPIAccess(const std::wstring& sdkFolder,
                                                         EntryPointResolver resolver)
    : SdkLibrary("ZvkImageTransform.dll", 0)
{
    if (!LoadApiLibrary(sdkFolder)) {
        return;
    }
    AssignProcAddress(resolver);
    if (ZvkGetImageTransformVersion != nullptr) {
        std::uint32_t packed = 0;
        ZvkGetImageTransformVersion(&packed);
        version_ = {packed >> 24, packed >> 16 & 0xFF, packed >> 8 & 0xFF, packed & 0xFF};
    }
}

void CHVNImageTransformAPIAccess::AssignProcAddress(EntryPointResolver resolver)
{
    ResolveEntryPoints("CHVNImageTransformAPIAccess::AssignProcAddress",
                       static_cast<ImageTransformEntryPoints*>(this), kSlots, std::size(kSlots), resolver);
}

} // namespace maravel
