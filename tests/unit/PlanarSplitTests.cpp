#include "pixels/ImageWriting.h"
#include "pixels/Kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace maravel {
namespace {

constexpr std::uint8_t kGuard = 0xA5;
constexpr std::size_t kGuardSize = 192; // more than the widest step writes

// No period of the pattern divides a vector's width, and colours and neighbours differ.
std::uint8_t Sample(std::size_t pixel, std::size_t colour)
{
    return static_cast<std::uint8_t>(pixel * 7 + pixel / 251 + colour * 83);
}

// Exactly as large as the pixels, so that the address sanitizer sees a read beyond them.
std::vector<std::uint8_t> MakeRgb(std::size_t pixelCount, std::size_t offset)
{
    std::vector<std::uint8_t> rgb(offset + 3 * pixelCount);
    for (std::size_t i = 0; i < pixelCount; ++i) {
        for (std::size_t colour = 0; colour < 3; ++colour) {
            rgb[offset + 3 * i + colour] = Sample(i, colour);
        }
    }
    return rgb;
}

// Planes at a chosen distance from a cache line, between guards.
class Target
{
public:
    Target(std::size_t pixelCount, std::size_t offset)
        : pixelCount_(pixelCount), bytes_(3 * pixelCount + 2 * kGuardSize + 2 * 64, kGuard)
    {
        const auto address = reinterpret_cast<std::uintptr_t>(bytes_.data()) + kGuardSize;
        begin_ = kGuardSize + (64 - address % 64) % 64 + offset;
    }

    std::uint8_t* planes() { return bytes_.data() + begin_; }
    SplitTarget split() { return {planes(), planes() + pixelCount_, planes() + 2 * pixelCount_}; }

    std::string Fault() const
    {
        const std::size_t end = begin_ + 3 * pixelCount_;
        for (std::size_t i = 0; i < bytes_.size(); ++i) {
            const std::size_t at = i - begin_;
            const std::uint8_t expected =
                i < begin_ || i >= end ? kGuard : Sample(at % pixelCount_, at / pixelCount_);
            if (bytes_[i] != expected) {
                return "byte " + std::to_string(static_cast<std::ptrdiff_t>(at)) + " is " +
                       std::to_string(bytes_[i]) + " instead of " + std::to_string(expected);
            }
        }
        return {};
    }

private:
    std::size_t pixelCount_;
    std::vector<std::uint8_t> bytes_;
    std::size_t begin_;
};

struct KernelCase
{
    const char* name;
    InstructionSet set;
};

class PlanarSplitTest : public testing::TestWithParam<KernelCase>
{
protected:
    void SetUp() override
    {
        if (!InstructionSetUsable(GetParam().set)) {
            GTEST_SKIP() << "this machine has no " << GetParam().name;
        }
    }

    void Check(std::size_t pixelCount, std::size_t sourceOffset, std::size_t targetOffset)
    {
        const std::vector<std::uint8_t> rgb = MakeRgb(pixelCount, sourceOffset);
        for (const StoreKind stores : {StoreKind::Cached, StoreKind::Streaming}) {
            Target target(pixelCount, targetOffset);
            SplitBy(GetParam().set, rgb.data() + sourceOffset, pixelCount, target.split(), stores);
            ASSERT_EQ(target.Fault(), "")
                << pixelCount << " pixels, source offset " << sourceOffset << ", target offset "
                << targetOffset << (stores == StoreKind::Streaming ? ", streaming" : ", cached");
        }
    }
};

// Green and blue begin where red ends, so the lengths bring every combination of alignments with them.
TEST_P(PlanarSplitTest, EveryLengthAtEveryAlignmentOfThePlanes)
{
    for (std::size_t pixelCount = 0; pixelCount <= 300; ++pixelCount) {
        for (std::size_t offset = 0; offset < 64; ++offset) {
            Check(pixelCount, 0, offset);
        }
        if (HasFatalFailure()) {
            return;
        }
    }
}

TEST_P(PlanarSplitTest, EveryAlignmentOfTheSource)
{
    for (std::size_t offset = 0; offset < 64; ++offset) {
        for (const std::size_t pixelCount : {64U, 191U, 512U, 1001U}) {
            Check(pixelCount, offset, offset % 5);
        }
    }
}

TEST_P(PlanarSplitTest, TheAdapterSplitsWithTheForcedKernel)
{
    const InstructionSet before = CurrentInstructionSet();
    ASSERT_TRUE(ForceInstructionSet(GetParam().set));
    for (const std::size_t pixelCount : {std::size_t{640 * 480}, std::size_t{2592 * 1944 + 1}}) {
        const std::vector<std::uint8_t> rgb = MakeRgb(pixelCount, 0);
        Target target(pixelCount, 0);
        for (const char* stores : {"first time, streaming", "again, cached"}) {
            SplitRgb8IntoPlanes(rgb.data(), pixelCount, target.planes());
            EXPECT_EQ(target.Fault(), "") << pixelCount << " pixels, " << stores;
            std::fill_n(target.planes(), 3 * pixelCount, kGuard);
        }
    }
    ForceInstructionSet(before);
}

INSTANTIATE_TEST_SUITE_P(Kernels, PlanarSplitTest,
                         testing::Values(KernelCase{"plain", InstructionSet::Plain},
                                         KernelCase{"ssse3", InstructionSet::Ssse3},
                                         KernelCase{"avx2", InstructionSet::Avx2},
                                         KernelCase{"avx512vbmi", InstructionSet::Avx512Vbmi}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(InstructionSetTest, AnUnknownOrMissingNameMeansTheFastest)
{
    const InstructionSet fastest = ChooseInstructionSet(nullptr);
    EXPECT_EQ(ChooseInstructionSet("sse9"), fastest);
    EXPECT_EQ(ChooseInstructionSet(""), fastest);
    for (const InstructionSet set : kInstructionSets) {
        EXPECT_EQ(ChooseInstructionSet(InstructionSetName(set)), InstructionSetUsable(set) ? set : fastest);
        EXPECT_TRUE(!InstructionSetUsable(set) || set <= fastest);
    }
}

} // namespace
} // namespace maravel
