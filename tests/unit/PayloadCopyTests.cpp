#include "pixels/ImageWriting.h"
#include "pixels/InstructionSet.h"
#include "pixels/Kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace maravel {
namespace {

constexpr std::uint8_t kGuard = 0xA5;
constexpr std::size_t kGuardSize = 256;
constexpr std::size_t kFrame = std::size_t{1} << 20; // large enough for the copy past the caches

class PayloadCopyTest : public testing::TestWithParam<InstructionSet>
{
protected:
    void SetUp() override
    {
        if (!InstructionSetUsable(GetParam())) {
            GTEST_SKIP() << "this machine has no " << InstructionSetName(GetParam());
        }
        before_ = CurrentInstructionSet();
        ASSERT_TRUE(ForceInstructionSet(GetParam()));
    }
    void TearDown() override { ForceInstructionSet(before_); }

private:
    InstructionSet before_ = InstructionSet::Plain;
};

TEST_P(PayloadCopyTest, CopiesExactlyTheBytesAtAnySizeAndAlignment)
{
    struct
    {
        std::size_t byteCount;
        std::size_t sourceOffset;
        std::size_t targetOffset;
    } const cases[] = {
        {0, 0, 0},           {1, 0, 0},      {4097, 3, 5},           {307'200, 0, 0},      {kFrame, 0, 0},
        {kFrame + 1, 0, 1},  {kFrame, 1, 0}, {kFrame + 127, 5, 127}, {kFrame - 1, 63, 64}, {kFrame, 17, 113},
        {kFrame + 65, 0, 16}};
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::Message()
                     << row.byteCount << " bytes from " << row.sourceOffset << " to " << row.targetOffset);
        std::vector<std::uint8_t> source(row.sourceOffset + row.byteCount);
        for (std::size_t i = 0; i < source.size(); ++i) {
            source[i] = static_cast<std::uint8_t>(i * 13 + i / 253);
        }
        std::vector<std::uint8_t> target(2 * kGuardSize + row.targetOffset + row.byteCount, kGuard);
        const auto begin = target.begin() + static_cast<std::ptrdiff_t>(kGuardSize + row.targetOffset);
        const auto end = begin + static_cast<std::ptrdiff_t>(row.byteCount);

        for (const char* stores : {"first time, streaming", "again, cached"}) {
            SCOPED_TRACE(stores);
            std::fill(begin, end, kGuard);
            CopyPayload(target.data() + kGuardSize + row.targetOffset, source.data() + row.sourceOffset,
                        row.byteCount);
            const auto isGuard = [](std::uint8_t byte) { return byte == kGuard; };
            EXPECT_TRUE(
                std::equal(begin, end, source.begin() + static_cast<std::ptrdiff_t>(row.sourceOffset)));
            EXPECT_TRUE(std::all_of(target.begin(), begin, isGuard)) << "wrote before the destination";
            EXPECT_TRUE(std::all_of(end, target.end(), isGuard)) << "wrote behind the destination";
        }
    }
}

INSTANTIATE_TEST_SUITE_P(InstructionSets, PayloadCopyTest, testing::ValuesIn(kInstructionSets),
                         [](const auto& row) { return std::string(InstructionSetName(row.param)); });

TEST(StoreChoiceTest, AnImageGoesPastTheCachesUnlessItsTargetIsStillInThem)
{
    constexpr std::size_t kMegabyte = std::size_t{1} << 20;
    static const std::uint8_t targets[3] = {};
    struct
    {
        const char* what;
        int target;
        std::size_t byteCount;
        StoreKind expected;
    } const steps[] = {
        {"a new target", 0, 6 * kMegabyte, StoreKind::Streaming},
        {"the same again", 0, 6 * kMegabyte, StoreKind::Cached},
        {"another one", 1, 6 * kMegabyte, StoreKind::Streaming},
        {"the first, 12 MB after", 0, 6 * kMegabyte, StoreKind::Cached},
        {"a third", 2, 11 * kMegabyte, StoreKind::Streaming},
        {"the first, 17 MB after", 0, 6 * kMegabyte, StoreKind::Streaming},
        {"a target larger than the caches", 1, 17 * kMegabyte, StoreKind::Streaming},
        {"the same again", 1, 17 * kMegabyte, StoreKind::Streaming},
        {"a small image", 2, kMegabyte / 8, StoreKind::Cached},
    };
    for (const auto& step : steps) {
        EXPECT_EQ(ChooseStores(&targets[step.target], step.byteCount), step.expected) << step.what;
    }
}

} // namespace
} // namespace maravel
