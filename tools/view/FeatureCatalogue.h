// Where a feature belongs: the host interface gives no category, no unit and no visibility.
#pragma once

#include <string>
#include <string_view>

namespace maravel::view {

struct FeaturePlace
{
    std::string category = "Other";
    std::string unit;
    std::string visibility = "Beginner"; // or Expert, Guru
};

// The table is sfnc.txt, which the build puts into the program.
FeaturePlace PlaceOf(std::string_view feature);

} // namespace maravel::view
