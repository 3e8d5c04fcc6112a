// Text files that the build puts into the program.
#pragma once

namespace maravel::diagnosis {

extern const char kLogDocument[]; // docs/log.md

} // namespace maravel::diagnosis
