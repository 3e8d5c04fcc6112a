#include "ProcessUse.h"

#include <filesystem>
#include <iterator>
#include <malloc.h>

namespace maravel::test {
namespace {

std::uint64_t CountFiles(const char* folder)
{
    return static_cast<std::uint64_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

} // namespace

ProcessUse MeasureProcess()
{
    return {CountFiles("/proc/self/fd"), CountFiles("/proc/self/task"), mallinfo2().uordblks};
}

} // namespace maravel::test
