#include "core/Callbacks.h"

namespace maravel {

namespace {

// Hosts whose record is no larger know only the nine basic callbacks.
constexpr std::int32_t kBasicStructSize = 608;

} // namespace

void FillCallbacks(VideoChannelDescriptor& descriptor) noexcept
{
    descriptor.SetupCommonParams = &maravel::SetupCommonParams;
    descriptor.GetImageAttributes = &maravel::GetImageAttributes;
    descriptor.QueryImageStatus = &maravel::QueryImageStatus;
    descriptor.GetImage = &maravel::GetImage;
    descriptor.StartAcquisition = &maravel::StartAcquisition;
    descriptor.StopAcquisition = &maravel::StopAcquisition;
    descriptor.ExecuteCommand = &maravel::ExecuteCommand;
    descriptor.ReadValue = &maravel::ReadValue;
    descriptor.WriteValue = &maravel::WriteValue;
    if (descriptor.structSize > kBasicStructSize) {
        descriptor.GetFeatureName = &maravel::GetFeatureName;
        descriptor.GetFeatureType = &maravel::GetFeatureType;
        descriptor.GetValidEnum = &maravel::GetValidEnum;
        descriptor.GetFeatureAttr = &maravel::GetFeatureAttr;
        descriptor.ReleaseVideoChannel = &maravel::ReleaseVideoChannel;
    }
}

} // namespace maravel
