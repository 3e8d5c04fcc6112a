#include "imagetransform/ThreadsInUse.h"

#include <filesystem>

namespace maravel::test {

std::uint32_t ThreadsInUse()
{
    std::uint32_t count = 0;
    for ([[maybe_unused]] const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        ++count;
    }
    return count;
}

} // namespace maravel::test
