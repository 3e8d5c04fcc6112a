#include "Groups.h"

#include "Runner.h"

namespace maravel::certify {

std::span<const Group> Groups()
{
    static const Group groups[] = {
        folder::kGroup,   life::kGroup,     enumeration::kGroup,  opening::kGroup,  feature_list::kGroup,
        integers::kGroup, floats::kGroup,   enumerations::kGroup, texts::kGroup,    standard::kGroup,
        region::kGroup,   buffer::kGroup,   streaming::kGroup,    triggers::kGroup, transform::kGroup,
        adapter::kGroup,  delivery::kGroup, robustness::kGroup,
    };
    return groups;
}

} // namespace maravel::certify
