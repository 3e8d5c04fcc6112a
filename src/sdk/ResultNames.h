#pragma once

#include "sdk/ZvkTypes.h"

namespace maravel {

// The SDK's name of a result, "Unknown Zorvik Error" for a code that has none. Static text; any thread.
const char* ErrorCodeName(ZvkError_t error) noexcept;

} // namespace maravel
