#include "bench/Arena.h"

#include <algorithm>
#include <cstring>

namespace maravel::bench {
namespace {

constexpr std::size_t kLine = 64;
constexpr std::size_t kArena = std::size_t{384}
                               << 20; // each for sources and targets: more than any cache holds
constexpr std::size_t kBytesPerTiming = std::size_t{96} << 20;
constexpr std::size_t kHeapOffset = 16; // of large blocks of the C heap in their cache lines

std::uint64_t SumOf(const std::uint8_t* bytes, std::size_t byteCount)
{
    std::uint64_t sums[4] = {};
    for (std::size_t at = 0; at + sizeof sums <= byteCount; at += sizeof sums) {
        std::uint64_t words[4];
        std::memcpy(words, bytes + at, sizeof words);
        for (int i = 0; i < 4; ++i) {
            sums[i] += words[i];
        }
    }
    return sums[0] + sums[1] + sums[2] + sums[3];
}

} // namespace

const char* AccessName(Access access)
{
    switch (access) {
    case Access::Hot:
        return "hot";
    case Access::ReadAtOnce:
        return "read at once";
    case Access::OneTarget:
        return "one target";
    case Access::Streaming:
        break;
    }
    return "streaming";
}

Arena::Arena() : memory_(new std::uint8_t[2 * kArena + kLine])
{
    const auto address = reinterpret_cast<std::uintptr_t>(memory_.get());
    base_ = memory_.get() + (kLine - address % kLine) % kLine;
    for (std::size_t i = 0; i < 2 * kArena; ++i) {
        base_[i] = static_cast<std::uint8_t>(i * 7 + i / 251);
    }
}

Subject Arena::MakeSubject(const std::string& name, std::size_t byteCount, std::size_t misalignment,
                           Access access,
                           std::function<void(const std::uint8_t* source, std::uint8_t* target)> work)
{
    const std::size_t slot = (byteCount + 3 * kLine - 1) / kLine * kLine;
    const std::size_t slots = access == Access::Streaming || access == Access::OneTarget ? kArena / slot : 1;
    return {name, [=, this, next = std::size_t{0}]() mutable {
                const std::size_t targetSlot = access == Access::OneTarget ? 0 : next;
                std::uint8_t* target = base_ + kArena + targetSlot * slot + misalignment;
                work(base_ + next * slot + (misalignment == 0 ? 0 : kHeapOffset), target);
                if (access == Access::ReadAtOnce) {
                    sum_ = sum_ + SumOf(target, byteCount);
                }
                next = (next + 1) % slots;
            }};
}

RoundSettings RoundsOf(const KernelBenchSettings& settings, std::size_t byteCount)
{
    RoundSettings round;
    round.rounds = settings.rounds;
    round.stopwatch = settings.stopwatch;
    round.repeats = std::max<std::size_t>(2, kBytesPerTiming / byteCount);
    round.warmUps = std::max<std::size_t>(1, round.repeats / 2);
    return round;
}

} // namespace maravel::bench
