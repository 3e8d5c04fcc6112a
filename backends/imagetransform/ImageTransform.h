// The image-transform library behind its exported entry points: a conversion of every pixel format that the
// SDK names to 8-bit colour. No entry point keeps state; all may be called from any thread.
#pragma once

#include "sdk/ImageTransformEntryPoints.h"

namespace maravel::imagetransform {

struct ImageTransform
{
#define MARAVEL_DECLARE_ENTRY(result, name, parameters) static result name parameters;
    ZVK_IMAGE_TRANSFORM_ENTRY_POINTS(MARAVEL_DECLARE_ENTRY)
#undef MARAVEL_DECLARE_ENTRY
};

} // namespace maravel::imagetransform
