// What a camera is and what it lets be read and written.
#include "CameraTest.h"

namespace maravel::test {
namespace {

class CameraFeatures : public CameraTest
{
};

INSTANTIATE_TEST_SUITE_P(On, CameraFeatures, testing::ValuesIn(BenchNames()), NameOfBench);

// What is listed can be used as it is described: a value that was read can be written again.
TEST_P(CameraFeatures, EveryListedFeatureAnswersAsItsAccessSays)
{
    Read("Width");
    int written = 0;
    for (const std::string& name : Channel().FeatureNames()) {
        std::int32_t type = 0;
        EXPECT_TRUE(Channel().GetFeatureType(name, &type));
        if (type == FeatureTypeCommand || !Channel().IsReadable(name)) {
            continue;
        }
        SCOPED_TRACE(name);
        const std::string value = Read(name);
        if (!Channel().IsWritable(name)) {
            continue;
        }
        Write(name, value);
        EXPECT_EQ(Read(name), value);
        ++written;
    }
    EXPECT_GT(written, 10);
    EXPECT_NE(Channel().Description("Width"), "");
}

TEST_P(CameraFeatures, NumbersAreClampedAndEntriesStay)
{
    Write("Width", "320");
    EXPECT_EQ(Read("Width"), "320");
    EXPECT_EQ(Read("PayloadSize"), std::to_string(320 * 512));
    Write("Width", "100000");
    EXPECT_EQ(Read("Width"), "2048");
    Write("PixelFormat", "RGB8");
    EXPECT_EQ(Read("PixelFormat"), "RGB8");
    EXPECT_EQ(Read("PayloadSize"), std::to_string(2048 * 512 * 3));
}

} // namespace
} // namespace maravel::test
