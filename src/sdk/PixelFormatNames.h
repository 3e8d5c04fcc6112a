#pragma once

#include "sdk/ZvkTypes.h"

namespace maravel {

// The SDK's name of a PFNC pixel format, "Unknown pixel format" for a code that it does not name. Static
// text; any thread.
const char* PixelFormatName(ZvkPixelFormat_t format) noexcept;

} // namespace maravel
