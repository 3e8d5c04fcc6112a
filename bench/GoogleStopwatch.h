// Google Benchmark as the stopwatch of the rounds.
#pragma once

#include "bench/Rounds.h"

namespace maravel::bench {

// See Stopwatch.
double GoogleStopwatch(const std::string& name, std::size_t repeats, const std::function<void()>& operation);

} // namespace maravel::bench
