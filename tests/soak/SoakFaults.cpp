#include "soak/SoakFaults.h"

#include "support/SdkEntries.h"

#include <chrono>
#include <iterator>

namespace maravel::soak {

namespace {

constexpr std::int32_t kCodes[] = {-1, -3, -9, -12, -20, -27, 1};
constexpr std::chrono::milliseconds kBetweenFaults{10};
constexpr std::chrono::milliseconds kUnplugged{20};

} // namespace

SoakFaults::SoakFaults(test::SdkControl& sdk, std::uint32_t seed, std::uint32_t cameras)
    : sdk_(sdk), thread_([this, seed, cameras]() { Run(seed, cameras); })
{
}

SoakFaults::~SoakFaults()
{
    isOver_ = true;
    thread_.join();
}

void SoakFaults::Run(std::uint32_t seed, std::uint32_t cameras)
{
    std::mt19937 random(seed);
    while (!isOver_) {
        const std::int32_t code = kCodes[random() % std::size(kCodes)];
        const auto kind = random() % 20;
        if (kind == 0) {
            const auto camera = static_cast<std::uint32_t>(random() % cameras);
            sdk_.SimUnplug(camera, 1);
            std::this_thread::sleep_for(kUnplugged);
            sdk_.SimUnplug(camera, 0);
        }
        else if (kind == 1) {
            sdk_.SimTransformFailCall(nullptr, 1 + static_cast<std::uint32_t>(random() % 5), code, 0);
        }
        else {
            sdk_.SimFailCall(test::kSdkEntries[random() % std::size(test::kSdkEntries)],
                             1 + static_cast<std::uint32_t>(random() % 5), code, 0);
        }
        std::this_thread::sleep_for(kBetweenFaults);
    }
}

} // namespace maravel::soak
