#include "core/FeatureNameIndex.h"
#include "core/FrameFifo.h"

#include <array>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace maravel {

TEST(FrameFifo, KeepsOrderRoundTheRing)
{
    std::array<ZvkFrame_t, MaxFramesPerChannel + 1> frames = {};
    FrameFifo fifo;
    fifo.RemoveOldest(); // nothing to remove
    std::size_t next = 0;
    std::size_t oldest = 0;
    for (int round = 0; round < 50; ++round) {
        while (fifo.Count() < MaxFramesPerChannel) {
            fifo.Append(&frames[next++ % MaxFramesPerChannel]);
        }
        EXPECT_EQ(fifo.Count(), MaxFramesPerChannel);
        EXPECT_FALSE(fifo.Contains(&frames[MaxFramesPerChannel]));
        for (int i = 0; i < 1 + round % 16; ++i) {
            EXPECT_EQ(fifo.Oldest(), &frames[oldest % MaxFramesPerChannel]);
            EXPECT_TRUE(fifo.Contains(fifo.Oldest()));
            fifo.RemoveOldest();
            ++oldest;
        }
    }
    fifo.Clear();
    EXPECT_TRUE(fifo.IsEmpty());
    EXPECT_FALSE(fifo.Contains(&frames[0]));
}

TEST(FeatureNameIndex, AnswersLikeAWalkThroughTheList)
{
    std::vector<std::string> names;
    for (int i = 0; i < 500; ++i) {
        names.push_back("Feature" + std::to_string(i % 400)); // a hundred come twice
    }
    names.insert(names.end(), {"", "feature1", "Feature1 ", "A"});
    std::vector<ZvkFeatureInfo_t> features(names.size() + 1); // the last one has no name
    for (std::size_t i = 0; i < names.size(); ++i) {
        features[i].name = names[i].c_str();
    }
    FeatureNameIndex index;
    index.Build(features.data(), features.size());
    names.insert(names.end(), {"Missing", "FEATURE1", "Feature"});
    for (const std::string& name : names) {
        std::size_t expected = FeatureNameIndex::NotFound;
        for (std::size_t i = 0; i + 1 < features.size(); ++i) {
            if (name == features[i].name) {
                expected = i;
                break;
            }
        }
        EXPECT_EQ(index.Find(name), expected) << name;
    }
    index.Build(features.data(), 1);
    EXPECT_EQ(index.Find("Feature0"), 0u);
    EXPECT_EQ(index.Find("Feature1"), FeatureNameIndex::NotFound);
    index.Clear();
    EXPECT_EQ(index.Find("Feature0"), FeatureNameIndex::NotFound);
}

} // namespace maravel
