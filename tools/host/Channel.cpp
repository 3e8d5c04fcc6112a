#include "Channel.h"

#include <array>
#include <cstring>

namespace maravel::host {
namespace {

// A text buffer as the interface has them, that never lacks its terminating null on our side.
class Text
{
public:
    char* Data() { return buffer_.data(); }
    std::string Get() const
    {
        const void* end = std::memchr(buffer_.data(), 0, MARAVEL_TEXT_SIZE);
        if (end == nullptr) {
            return std::string(buffer_.data(), MARAVEL_TEXT_SIZE);
        }
        return buffer_.data();
    }

private:
    std::array<char, MARAVEL_TEXT_SIZE> buffer_{};
};

template <class Callback, class... Arguments>
Outcome Call(Callback callback, std::int64_t channel, Arguments... arguments)
{
    Text error;
    const std::int32_t status = callback(error.Data(), channel, arguments...);
    return {status == MARAVEL_SUCCESS, error.Get()};
}

} // namespace

Outcome Channel::SetupCommonParams(const CommonParams& params) const
{
    return Call(descriptor_.SetupCommonParams, Index(), &params);
}

Outcome Channel::StartAcquisition() const
{
    return Call(descriptor_.StartAcquisition, Index());
}

Outcome Channel::StopAcquisition() const
{
    return Call(descriptor_.StopAcquisition, Index());
}

std::uint32_t Channel::QueryImageStatus() const
{
    std::uint32_t imageStatus = ImageStatusUnavailable;
    Call(descriptor_.QueryImageStatus, Index(), &imageStatus);
    return imageStatus;
}

Outcome Channel::GetImageAttributes(ImageAttributes* attributes, std::uint32_t* imageStatus) const
{
    *attributes = {};
    attributes->structSize = sizeof(*attributes);
    *imageStatus = ImageStatusUnavailable;
    return Call(descriptor_.GetImageAttributes, Index(), attributes, imageStatus);
}

Outcome Channel::GetImage(void* destination, std::uint32_t* imageStatus) const
{
    *imageStatus = ImageStatusUnavailable;
    return Call(descriptor_.GetImage, Index(), destination, imageStatus);
}

Outcome Channel::ReadValue(const std::string& feature, std::string* value) const
{
    Text text;
    Outcome outcome = Call(descriptor_.ReadValue, Index(), feature.c_str(), text.Data());
    *value = text.Get();
    return outcome;
}

Outcome Channel::WriteValue(const std::string& feature, const std::string& value) const
{
    return Call(descriptor_.WriteValue, Index(), feature.c_str(), value.c_str());
}

Outcome Channel::ExecuteCommand(const std::string& feature) const
{
    return Call(descriptor_.ExecuteCommand, Index(), feature.c_str());
}

std::vector<std::string> Channel::FeatureNames() const
{
    std::vector<std::string> names;
    for (std::int32_t i = 0;; ++i) {
        Text name;
        if (!Call(descriptor_.GetFeatureName, Index(), i, name.Data())) {
            return names;
        }
        names.push_back(name.Get());
    }
}

Outcome Channel::GetFeatureType(const std::string& feature, std::int32_t* type) const
{
    *type = FeatureTypeUnsupported;
    return Call(descriptor_.GetFeatureType, Index(), feature.c_str(), type);
}

std::vector<std::string> Channel::EnumEntries(const std::string& feature) const
{
    std::vector<std::string> entries;
    for (std::uint32_t i = 0;; ++i) {
        Text entry;
        if (!Call(descriptor_.GetValidEnum, Index(), feature.c_str(), i, entry.Data())) {
            return entries;
        }
        entries.push_back(entry.Get());
    }
}

std::string Channel::Attribute(const std::string& feature, std::uint32_t kind) const
{
    Text text;
    Call(descriptor_.GetFeatureAttr, Index(), feature.c_str(), kind, text.Data());
    return text.Get();
}

std::string Channel::Description(const std::string& feature) const
{
    return Attribute(feature, FeatureAttrDescription);
}

bool Channel::IsReadable(const std::string& feature) const
{
    return Attribute(feature, FeatureAttrReadable) == "True";
}

bool Channel::IsWritable(const std::string& feature) const
{
    return Attribute(feature, FeatureAttrWritable) == "True";
}

Outcome Channel::Release() const
{
    return Call(descriptor_.ReleaseVideoChannel, Index());
}

} // namespace maravel::host
