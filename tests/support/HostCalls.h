// A host's calls of the adapter, with guard bytes round all memory that it hands over.
#pragma once

#include "maravel/VideoChannel.h"
#include "support/Guarded.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace maravel::test {

// What the interface says about the text of an operation.
enum class TextRule
{
    WithFailure,    // a text with every failure, none with a success
    MayEndSilently, // a failure may also be the end of a list, which has no text
    MayWarn,        // a success may leave the text of something that failed on the way
    WithOpenResult, // hand-out: a success has a text when the camera did not open
};

struct Answer
{
    std::string operation;
    TextRule rule;
    std::int32_t status;
    std::int32_t detail;   // openResult, or the image status
    std::string text;      // empty: none was written
    bool isLogged = false; // for who notes it: the log was open

    bool operator==(const Answer&) const = default;
    // Whether the text is as the rule has it.
    bool IsConsistent() const;
};

// What SetupCommonParams takes for a trigger mode, with the whole sensor.
inline CommonParams Params(int acqContinuous, int acqTriggered = 0, double exposure = 0.01)
{
    CommonParams params = {};
    params.exposure = exposure;
    params.acqContinuous = acqContinuous;
    params.acqTriggered = acqTriggered;
    params.acqTriggerLowToHigh = 1;
    params.roiwidth = params.roiheight = 100'000;
    return params;
}

// Not for several threads at once. A channel is its index, whether or not it was handed out; verbs without
// another result return the operation's status.
class HostCalls
{
public:
    HostCalls() = default;
    HostCalls(GetVideoChannelFn getVideoChannel, const VideoChannelDescriptor& callbacks)
        : getVideoChannel_(getVideoChannel), callbacks_(callbacks)
    {
    }
    virtual ~HostCalls() = default;

    // The exported function itself; sets nothing in the descriptor.
    std::int32_t GetVideoChannel(std::int32_t index, VideoChannelDescriptor* descriptor);

    std::int32_t Configure(std::int64_t channel, const CommonParams& params)
    {
        return Call("SetupCommonParams", MayWarn, callbacks_.SetupCommonParams, channel, &params);
    }
    auto Start(std::int64_t id) { return Call("StartAcquisition", MayWarn, callbacks_.StartAcquisition, id); }
    auto Stop(std::int64_t id)
    {
        return Call("StopAcquisition", WithFailure, callbacks_.StopAcquisition, id);
    }
    // These leave an image status.
    std::int32_t Query(std::int64_t channel)
    {
        return Call("QueryImageStatus", WithFailure, callbacks_.QueryImageStatus, channel, NewStatus());
    }
    std::int32_t Attributes(std::int64_t channel, ImageAttributes* attributes)
    {
        return Call("GetImageAttributes", WithFailure, callbacks_.GetImageAttributes, channel, attributes,
                    NewStatus());
    }
    std::int32_t Fetch(std::int64_t channel, void* destination)
    {
        return Call("GetImage", MayWarn, callbacks_.GetImage, channel, destination, NewStatus());
    }
    std::uint32_t ImageStatus() const { return imageStatus_; }

    // These return a text, which is empty when they fail.
    std::string Read(std::int64_t channel, const std::string& feature)
    {
        return TextOf("ReadValue", WithFailure, callbacks_.ReadValue, channel, feature.c_str());
    }
    std::string Attribute(std::int64_t channel, const std::string& feature, std::uint32_t kind)
    {
        return TextOf("GetFeatureAttr", WithFailure, callbacks_.GetFeatureAttr, channel, feature.c_str(),
                      kind);
    }
    // The name of a feature.
    std::string Name(std::int64_t channel, std::int32_t index)
    {
        return TextOf("GetFeatureName", MayEndSilently, callbacks_.GetFeatureName, channel, index);
    }
    // An entry of an enumeration.
    std::string Entry(std::int64_t channel, const std::string& feature, std::uint32_t index)
    {
        return TextOf("GetValidEnum", MayEndSilently, callbacks_.GetValidEnum, channel, feature.c_str(),
                      index);
    }
    // Whether the last of them wrote nothing.
    bool IsTextUntouched() const { return value_.IsFilledWith(0xA5); }
    std::vector<std::string> Names(std::int64_t channel);
    std::vector<std::string> Entries(std::int64_t channel, const std::string& feature);
    std::int32_t Write(std::int64_t channel, const std::string& feature, const std::string& value)
    {
        return Call("WriteValue", WithFailure, callbacks_.WriteValue, channel, feature.c_str(),
                    value.c_str());
    }
    std::int32_t Execute(std::int64_t channel, const std::string& feature)
    {
        return Call("ExecuteCommand", WithFailure, callbacks_.ExecuteCommand, channel, feature.c_str());
    }
    // One of FeatureType...; FeatureTypeUnsupported when it failed.
    std::int32_t Type(std::int64_t channel, const std::string& feature);
    std::int32_t Release(std::int64_t channel)
    {
        return Call("ReleaseVideoChannel", WithFailure, callbacks_.ReleaseVideoChannel, channel);
    }

    // The status of the last call.
    std::int32_t Result() const { return status_; }
    // The host's error text, which is cleared before each of the calls above.
    char* text() { return text_.Text(); }
    std::string TextNow() const { return text_.AsText(); }
    void ClearText();

protected:
    using enum TextRule;

    // Called after each call.
    virtual void Note(const Answer&) {}

    GetVideoChannelFn getVideoChannel_ = nullptr;
    VideoChannelDescriptor callbacks_ = {}; // of any channel: they are the same for all

private:
    template <class... Parameters>
    std::int32_t Call(const char* operation, TextRule rule,
                      std::int32_t(MARAVEL_CALL* callback)(char*, std::int64_t, Parameters...),
                      std::int64_t channel, std::type_identity_t<Parameters>... arguments)
    {
        ClearText();
        status_ = callback(text(), channel, arguments...);
        const std::uint32_t detail = std::exchange(isImageStatusNew_, false) ? imageStatus_ : 0;
        Note({operation, rule, status_, static_cast<std::int32_t>(detail), TextNow()});
        return status_;
    }
    template <class Callback, class... Arguments>
    std::string TextOf(const char* operation, TextRule rule, Callback callback, std::int64_t channel,
                       Arguments... arguments)
    {
        std::memset(value_.Data(), 0xA5, value_.Size());
        return Call(operation, rule, callback, channel, arguments..., value_.Text()) == MARAVEL_SUCCESS
                   ? value_.AsText()
                   : "";
    }
    std::uint32_t* NewStatus();

    GuardedBuffer text_{MARAVEL_TEXT_SIZE, 0};
    GuardedBuffer value_{MARAVEL_TEXT_SIZE};
    std::int32_t status_ = MARAVEL_SUCCESS;
    std::uint32_t imageStatus_ = 0;
    bool isImageStatusNew_ = false;
};

} // namespace maravel::test
