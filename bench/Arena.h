// Memory for the images of a measurement, and how they are visited.
#pragma once

#include "bench/KernelBench.h"
#include "bench/Rounds.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace maravel::bench {

enum class Access
{
    Streaming, // every image in other memory than the last ones
    OneTarget, // the same, but the target is always the same one
    Hot,       // one image again and again
    ReadAtOnce // the same, and the host reads the result before the next one
};

const char* AccessName(Access access);

// Memory for sources and targets, touched once, given out slot by slot in a circle.
class Arena
{
public:
    Arena();

    // An operation on the next slot at every call. Source and target have `byteCount` bytes each.
    Subject MakeSubject(const std::string& name, std::size_t byteCount, std::size_t misalignment,
                        Access access,
                        std::function<void(const std::uint8_t* source, std::uint8_t* target)> work);

private:
    std::unique_ptr<std::uint8_t[]> memory_;
    std::uint8_t* base_;
    volatile std::uint64_t sum_ = 0; // so that the reading is not optimised away
};

// As many repeats as make a timing long enough.
RoundSettings RoundsOf(const KernelBenchSettings& settings, std::size_t byteCount);

} // namespace maravel::bench
