// A loaded adapter library.
#pragma once

#include "Channel.h"

#include <memory>
#include <string>
#include <vector>

namespace maravel::host {

// Keeps the library loaded for as long as the object lives; unloading it closes every camera. The environment
// variable ZORVIK_HOME must name the SDK folder before channels are collected.
class AdapterLibrary
{
public:
    // The path is UTF-8. Null when the file cannot be loaded or is no adapter; `reason` then says why, in one
    // line.
    static std::unique_ptr<AdapterLibrary> Load(const std::string& path, std::string* reason);

    ~AdapterLibrary();
    AdapterLibrary(const AdapterLibrary&) = delete;
    AdapterLibrary& operator=(const AdapterLibrary&) = delete;

    // The exported function itself, with a cleared text buffer. Sets nothing in the descriptor.
    Outcome GetVideoChannel(std::int32_t channelIndex, VideoChannelDescriptor* descriptor) const;

    // Starts the adapter and appends its channels until there is no further one. A channel whose camera could
    // not be opened is among them (Channel::Opened); the adapter's text for the first such one is the
    // outcome's. Fails when the adapter did not start, or when a descriptor is not filled as the interface
    // has it.
    Outcome CollectChannels(std::vector<Channel>* channels) const;

private:
    AdapterLibrary(void* module, GetVideoChannelFn getVideoChannel)
        : module_(module), getVideoChannel_(getVideoChannel)
    {
    }

    void* const module_;
    const GetVideoChannelFn getVideoChannel_;
};

} // namespace maravel::host
