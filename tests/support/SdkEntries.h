// The names of the runtime library's entry points, to draw from.
#pragma once

#include "sdk/RuntimeEntryPoints.h"

namespace maravel::test {

#define MARAVEL_ENTRY_NAME(result, name, parameters) #name,
inline constexpr const char* kSdkEntries[] = {ZVK_RUNTIME_ENTRY_POINTS(MARAVEL_ENTRY_NAME)};
#undef MARAVEL_ENTRY_NAME

} // namespace maravel::test
