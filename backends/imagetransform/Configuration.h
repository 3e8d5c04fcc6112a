// What an installation may settle: the file imagetransform.toml in the SDK folder, and the environment.
#pragma once

namespace maravel::imagetransform {

// How many threads convert a large picture, the caller's included: the environment variable
// MARAVEL_TRANSFORM_THREADS, otherwise the entry "threads" of the file, otherwise as many as there are
// processors. 1 leaves it to the caller's thread. A wrong value is reported to stderr and counts as 1. Read
// at the first call.
unsigned ConfiguredThreads();

} // namespace maravel::imagetransform
