// One channel of a loaded adapter, with the interface's callbacks as plain verbs.
#pragma once

#include "maravel/VideoChannel.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace maravel::host {

// What a call of the adapter came to. The text is the adapter's own: why it failed, or, after a success, the
// last thing that it had to report; empty when it wrote nothing.
struct Outcome
{
    bool ok = false;
    std::string text;

    explicit operator bool() const { return ok; }
};

// A copy of the descriptor; the library that it came from must stay loaded. Calls may be made from any
// thread; the adapter serves them one at a time. The texts that are returned are at most 255 characters long.
class Channel
{
public:
    explicit Channel(const VideoChannelDescriptor& descriptor) : descriptor_(descriptor) {}

    const VideoChannelDescriptor& Descriptor() const { return descriptor_; }
    std::int64_t Index() const { return descriptor_.channelID; }
    std::string Label() const { return descriptor_.label; }
    std::string SerialNumber() const { return descriptor_.serialNumber; }
    bool Opened() const { return descriptor_.openResult == 0; }

    // Acquisition. A status is one of ImageStatus...; it is ImageStatusUnavailable when the adapter wrote
    // none.
    Outcome SetupCommonParams(const CommonParams& params) const;
    Outcome StartAcquisition() const;
    Outcome StopAcquisition() const;
    std::uint32_t QueryImageStatus() const;
    Outcome GetImageAttributes(ImageAttributes* attributes, std::uint32_t* imageStatus) const;
    Outcome GetImage(void* destination, std::uint32_t* imageStatus) const;

    // Features, by name. Reading and writing a value and running a command open a closed camera; the entries
    // of an enumeration and the access are answered for an open camera only.
    Outcome ReadValue(const std::string& feature, std::string* value) const;
    Outcome WriteValue(const std::string& feature, const std::string& value) const;
    Outcome ExecuteCommand(const std::string& feature) const;
    std::vector<std::string> FeatureNames() const;
    Outcome GetFeatureType(const std::string& feature, std::int32_t* type) const;
    std::vector<std::string> EnumEntries(const std::string& feature) const;
    std::string Description(const std::string& feature) const;
    bool IsReadable(const std::string& feature) const;
    bool IsWritable(const std::string& feature) const;

    // Closes the camera. The adapter shuts down when no other camera is open: then every channel is gone, and
    // AdapterLibrary::CollectChannels starts it anew.
    Outcome Release() const;

private:
    std::string Attribute(const std::string& feature, std::uint32_t kind) const;

    VideoChannelDescriptor descriptor_;
};

} // namespace maravel::host
