// A host that calls anything with anything.
#pragma once

#include "support/HostCalls.h"
#include "support/Input.h"

#include <random>

namespace maravel::test {

// Who draws; each weighs the calls in a way of its own.
enum class Drawing
{
    Fuzzer,
    Threads, // many at once
    Soak     // nothing that changes what a channel does: of that it keeps books
};

// Makes one of all host calls; which one, and with which arguments, says the input. No camera's payload may
// be larger than that.
void CallAnything(HostCalls& host, Drawing drawing, std::int64_t channel, std::size_t largestPayload,
                  Input& input);
void CallAnything(HostCalls& host, Drawing drawing, std::int64_t channel, std::size_t largestPayload,
                  std::mt19937& random);

} // namespace maravel::test
