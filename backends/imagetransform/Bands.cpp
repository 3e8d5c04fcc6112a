#include "imagetransform/Bands.h"

#include "imagetransform/Configuration.h"

#include "common/HelperThreads.h"

#include <algorithm>
#include <atomic>

namespace maravel::imagetransform {
namespace {

// Below, a helper takes longer to wake than it saves.
constexpr std::size_t kWorthHelp = 1'000'000; // pixels

// More bands than threads, so that one that is held up does not hold up all.
constexpr std::size_t kBandsPerThread = 4;

constinit backend::HelperThreads g_helpers;
constinit std::atomic<unsigned> g_threads{0};

struct Work
{
    const Conversion& conversion;
    std::size_t bands;
    std::atomic<std::size_t> next{0};

    std::size_t FirstRow(std::size_t band) const { return conversion.height * band / bands; }

    static void Share(void* work)
    {
        auto& self = *static_cast<Work*>(work);
        for (std::size_t band = self.next++; band < self.bands; band = self.next++) {
            const std::size_t first = self.FirstRow(band);
            ConvertRows(self.conversion, first, self.FirstRow(band + 1) - first);
        }
    }
};

unsigned ThreadsFor(const Conversion& conversion)
{
    const unsigned wanted = g_threads.load(std::memory_order_relaxed);
    if (wanted > 0) {
        return wanted;
    }
    return conversion.width * conversion.height < kWorthHelp ? 1 : ConfiguredThreads();
}

} // namespace

void Convert(const Conversion& conversion)
{
    const unsigned threads = ThreadsFor(conversion);
    if (threads == 1) {
        return ConvertRows(conversion, 0, conversion.height);
    }
    Work work = {.conversion = conversion, .bands = std::min(conversion.height, threads * kBandsPerThread)};
    g_helpers.Run(threads - 1, &Work::Share, &work);
}

void UseThreads(unsigned threads)
{
    g_threads.store(threads, std::memory_order_relaxed);
}

} // namespace maravel::imagetransform
