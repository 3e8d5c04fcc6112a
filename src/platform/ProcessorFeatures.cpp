#include "platform/ProcessorFeatures.h"

#include <cstdint>
#include <immintrin.h>
#if defined(_MSC_VER)
#include <intrin.h>
#else
#include <cpuid.h>
#endif

namespace maravel {
namespace {

struct CpuidResult
{
    std::uint32_t eax = 0;
    std::uint32_t ebx = 0;
    std::uint32_t ecx = 0;
    std::uint32_t edx = 0;
};

CpuidResult Cpuid(std::uint32_t leaf) noexcept
{
    CpuidResult result;
#if defined(_MSC_VER)
    int registers[4];
    __cpuidex(registers, static_cast<int>(leaf), 0);
    result.eax = static_cast<std::uint32_t>(registers[0]);
    result.ebx = static_cast<std::uint32_t>(registers[1]);
    result.ecx = static_cast<std::uint32_t>(registers[2]);
    result.edx = static_cast<std::uint32_t>(registers[3]);
#else
    __cpuid_count(leaf, 0, result.eax, result.ebx, result.ecx, result.edx);
#endif
    return result;
}

constexpr bool HasAll(std::uint64_t value, std::uint64_t bits) noexcept
{
    return (value & bits) == bits;
}

constexpr std::uint32_t kLeaf1EcxSsse3 = 1U << 9;
constexpr std::uint32_t kLeaf1EcxOsxsave = 1U << 27;
constexpr std::uint32_t kLeaf7EbxAvx2 = 1U << 5;
constexpr std::uint32_t kLeaf7EbxAvx512FAndBw = (1U << 16) | (1U << 30);
constexpr std::uint32_t kLeaf7EcxVbmi = 1U << 1;
constexpr std::uint64_t kXcr0Ymm = 0x06; // XMM and the upper halves of YMM
constexpr std::uint64_t kXcr0Zmm = 0xE6; // and opmasks, upper halves of ZMM0-15, ZMM16-31

} // namespace

ProcessorFeatures DetectProcessorFeatures() noexcept
{
    ProcessorFeatures features;
    const std::uint32_t highestLeaf = Cpuid(0).eax;
    const std::uint32_t leaf1Ecx = Cpuid(1).ecx;
    features.ssse3 = HasAll(leaf1Ecx, kLeaf1EcxSsse3);
    if (highestLeaf < 7 || !HasAll(leaf1Ecx, kLeaf1EcxOsxsave)) {
        return features;
    }

    // A processor may have wide registers that the system does not save between threads.
    const std::uint64_t savedState = _xgetbv(0);
    const CpuidResult leaf7 = Cpuid(7);
    features.avx2 = HasAll(savedState, kXcr0Ymm) && HasAll(leaf7.ebx, kLeaf7EbxAvx2);
    features.avx512Vbmi = features.avx2 && HasAll(savedState, kXcr0Zmm) &&
                          HasAll(leaf7.ebx, kLeaf7EbxAvx512FAndBw) && HasAll(leaf7.ecx, kLeaf7EcxVbmi);
    return features;
}

} // namespace maravel
