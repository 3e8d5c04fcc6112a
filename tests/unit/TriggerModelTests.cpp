#include "config/TriggerModel.h"

#include <gtest/gtest.h>

namespace maravel {

TEST(TriggerModel, NewFrom2_3_0_14)
{
    const std::pair<FileVersion, bool> rows[] = {
        {{2, 3, 0, 14}, true},    {{2, 3, 0, 13}, false},   {{2, 3, 1, 0}, true},     {{3, 0, 0, 0}, true},
        {{2, 4, 0, 0}, true},     {{2, 2, 99, 99}, false},  {{1, 99, 99, 99}, false}, {{0, 0, 0, 0}, false},
        {{2, 3, 0, 65535}, true}, {{65535, 0, 0, 0}, true},
    };
    for (const auto& [version, isNew] : rows) {
        EXPECT_EQ(UsesNewTriggerModel(version), isNew)
            << version[0] << '.' << version[1] << '.' << version[2] << '.' << version[3];
    }
}

TEST(TriggerModel, VersionsAreFourNumbersOf16Bits)
{
    EXPECT_EQ(UnpackFileVersion(0xFFFE0003, 0x0004FFF5), (FileVersion{0xFFFE, 3, 4, 0xFFF5}));
}

} // namespace maravel
