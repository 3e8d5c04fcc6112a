// What a camera is and what it lets be read and written.
#include "CameraTest.h"

#include <algorithm>

namespace maravel::test {
namespace {

class CameraFeatures : public CameraTest
{
};

INSTANTIATE_TEST_SUITE_P(On, CameraFeatures, testing::ValuesIn(BenchNames()), NameOfBench);

TEST_P(CameraFeatures, ListTellsWhichCamerasThereAre)
{
    for (std::size_t i = 0; i < bench->CameraCount(); ++i) {
        const host::Channel& channel = Channel(i);
        EXPECT_TRUE(channel.Opened());
        EXPECT_EQ(channel.SerialNumber(), bench->Serial(i));
        EXPECT_EQ(channel.Label(), "Zorvik/Other: Fake");
        // Copies: the record's fields are packed.
        EXPECT_EQ(std::int32_t{channel.Descriptor().width}, 512);
        EXPECT_EQ(std::int32_t{channel.Descriptor().height}, 512);
        EXPECT_DOUBLE_EQ(double{channel.Descriptor().exposureTime}, 0.01);
        EXPECT_GE(double{channel.Descriptor().exposureTimeMin}, 0.0);
    }
}

TEST_P(CameraFeatures, EveryTypeIsDescribed)
{
    struct Expected
    {
        const char* name;
        std::int32_t type;
        bool readable;
        bool writable;
    };
    constexpr Expected expected[] = {
        {"Width", FeatureTypeInt, true, true},
        {"PayloadSize", FeatureTypeInt, true, false},
        {"PixelFormat", FeatureTypeEnum, true, true},
        {"DeviceModelName", FeatureTypeString, true, false},
        {"AcquisitionStart", FeatureTypeCommand, false, true},
        {"TriggerSoftware", FeatureTypeCommand, false, true},
    };
    Read("Width"); // access is answered for an open camera only
    const std::vector<std::string> names = Channel().FeatureNames();
    EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end()) << "a feature is listed twice";
    for (const Expected& feature : expected) {
        EXPECT_EQ(std::ranges::count(names, feature.name), 1) << feature.name;
        std::int32_t type = 0;
        EXPECT_TRUE(Channel().GetFeatureType(feature.name, &type));
        EXPECT_EQ(type, feature.type) << feature.name;
        EXPECT_EQ(Channel().IsReadable(feature.name), feature.readable) << feature.name;
        EXPECT_EQ(Channel().IsWritable(feature.name), feature.writable) << feature.name;
    }
    EXPECT_NE(Channel().Description("Width"), "");
    const std::vector<std::string> formats = Channel().EnumEntries("PixelFormat");
    for (const char* format : {"Mono8", "BayerRG8", "RGB8"})
        EXPECT_EQ(std::ranges::count(formats, format), 1) << format;
}

// What is listed can be used as it is described: a value that was read can be written again.
TEST_P(CameraFeatures, EveryListedFeatureAnswersAsItsAccessSays)
{
    Read("Width");
    int written = 0;
    for (const std::string& name : Channel().FeatureNames()) {
        std::int32_t type = 0;
        EXPECT_TRUE(Channel().GetFeatureType(name, &type));
        if (type == FeatureTypeCommand || !Channel().IsReadable(name))
            continue;
        SCOPED_TRACE(name);
        const std::string value = Read(name);
        if (!Channel().IsWritable(name))
            continue;
        Write(name, value);
        EXPECT_EQ(Read(name), value);
        ++written;
    }
    EXPECT_GT(written, 10);
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

TEST_P(CameraFeatures, RefusalsSayWhy)
{
    struct Refusal
    {
        const char* feature;
        const char* value; // null: run as a command
        const char* reason;
    };
    constexpr Refusal refusals[] = {
        {"PixelFormat", "Mono7", "ZvkErrorInvalidValue (-11)"},
        {"PayloadSize", "1", "ZvkErrorInvalidAccess (-6)"},
        {"DeviceModelName", "Other", "ZvkErrorInvalidAccess (-6)"},
        {"Width", nullptr, "ZvkErrorWrongType (-10)"},
        {"Nothing", "1", "not found"},
        {"Nothing", nullptr, "not found"},
    };
    for (const Refusal& refusal : refusals) {
        const host::Outcome outcome = refusal.value == nullptr
                                          ? Channel().ExecuteCommand(refusal.feature)
                                          : Channel().WriteValue(refusal.feature, refusal.value);
        EXPECT_FALSE(outcome) << refusal.feature;
        EXPECT_NE(outcome.text.find(refusal.reason), std::string::npos) << outcome.text;
    }
}

} // namespace
} // namespace maravel::test
