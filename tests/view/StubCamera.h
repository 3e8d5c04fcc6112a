// A camera that needs no SDK: a few features, and no images.
#pragma once

#include "host/Channel.h"

#include <cstring>
#include <string>

namespace maravel::test {

template <class... Arguments>
std::int32_t MARAVEL_CALL Succeed(char*, Arguments...)
{
    return MARAVEL_SUCCESS;
}

inline host::Channel StubChannel()
{
    struct Stub
    {
        static std::int32_t MARAVEL_CALL Name(char*, std::int64_t, std::int32_t index, char* name)
        {
            static constexpr const char* kNames[] = {"Gain", "PixelFormat", "TriggerSoftware"};
            if (index < 0 || index > 2) {
                return MARAVEL_FAILURE;
            }
            std::strcpy(name, kNames[index]);
            return MARAVEL_SUCCESS;
        }
        static std::int32_t MARAVEL_CALL Type(char*, std::int64_t, const char* name, std::int32_t* type)
        {
            *type = *name == 'G' ? FeatureTypeFloat : *name == 'P' ? FeatureTypeEnum : FeatureTypeCommand;
            return MARAVEL_SUCCESS;
        }
        static std::int32_t MARAVEL_CALL Entry(char*, std::int64_t, const char*, std::uint32_t index,
                                               char* entry)
        {
            std::strcpy(entry, "Mono8");
            return index == 0 ? MARAVEL_SUCCESS : MARAVEL_FAILURE;
        }
        static std::int32_t MARAVEL_CALL Attribute(char*, std::int64_t, const char*, std::uint32_t,
                                                   char* text)
        {
            std::strcpy(text, "True");
            return MARAVEL_SUCCESS;
        }
        static std::int32_t MARAVEL_CALL Read(char*, std::int64_t, const char* name, char* value)
        {
            std::strcpy(value, *name == 'G' ? "1.5" : "Mono8");
            return MARAVEL_SUCCESS;
        }
        static std::int32_t MARAVEL_CALL Attributes(char*, std::int64_t, ImageAttributes*,
                                                    std::uint32_t* status)
        {
            *status = ImageStatusPending;
            return MARAVEL_SUCCESS;
        }
    };
    VideoChannelDescriptor d = {};
    d.GetFeatureName = Stub::Name;
    d.GetFeatureType = Stub::Type;
    d.GetValidEnum = Stub::Entry;
    d.GetFeatureAttr = Stub::Attribute;
    d.ReadValue = Stub::Read;
    d.WriteValue = Succeed;
    d.ExecuteCommand = Succeed;
    d.SetupCommonParams = Succeed;
    d.StartAcquisition = Succeed;
    d.StopAcquisition = Succeed;
    d.GetImageAttributes = Stub::Attributes;
    return host::Channel(d);
}

} // namespace maravel::test
