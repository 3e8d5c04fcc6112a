#include "System.h"

#include <chrono>

namespace maravel::camhost {
namespace {

using Clock = std::chrono::steady_clock;

const Clock::time_point g_start = Clock::now();

} // namespace

std::filesystem::path ProgramFolder()
{
    return ProgramFile().parent_path();
}

std::int64_t SecondsSinceStart()
{
    return std::chrono::ceil<std::chrono::seconds>(Clock::now() - g_start).count();
}

} // namespace maravel::camhost
