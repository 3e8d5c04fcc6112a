#include "Groups.h"

#include "Runner.h"

namespace maravel::certify {

std::span<const Group> Groups()
{
    static const Group groups[] = {
        kFolderGroup,   kLifeGroup,     kEnumerationGroup,  kOpeningGroup,  kFeatureListGroup,
        kIntegersGroup, kFloatsGroup,   kEnumerationsGroup, kTextsGroup,    kStandardGroup,
        kRegionGroup,   kBufferGroup,   kStreamGroup,       kTriggersGroup, kTransformGroup,
        kAdapterGroup,  kDeliveryGroup, kRobustnessGroup,
    };
    return groups;
}

} // namespace maravel::certify
