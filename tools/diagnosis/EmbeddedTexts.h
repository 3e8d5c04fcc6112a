// Text files that the build puts into the program.
#pragma once

namespace maravel::diagnosis {

extern const char kLogDocument[];     // docs/log.md
extern const char kCertifyDocument[]; // docs/certify.md

} // namespace maravel::diagnosis
