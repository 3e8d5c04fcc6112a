#pragma once

#include "adapter/AdapterData.h"

namespace maravel {

// The first record of the channel's feature list whose name equals the given one byte for byte; null when
// there is none.
inline const ZvkFeatureInfo_t* FindFeature(const VideoChannelData& channel, const char* featureName)
{
    const std::size_t position = channel.featureNames.Find(featureName);
    return position == FeatureNameIndex::NotFound ? nullptr : &channel.featureInfo[position];
}

} // namespace maravel
