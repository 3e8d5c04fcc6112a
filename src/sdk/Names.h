// The SDK's names of results and of PFNC pixel formats, for messages. Static texts; any thread.
#pragma once

#include "sdk/ZvkTypes.h"

namespace maravel {

// "Unknown Zorvik Error" for a code that has no name.
const char* ErrorCodeName(ZvkError_t error) noexcept;

// "Unknown pixel format" for a code that the SDK does not name.
const char* PixelFormatName(ZvkPixelFormat_t format) noexcept;

} // namespace maravel
