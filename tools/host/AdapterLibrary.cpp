#include "AdapterLibrary.h"

#include "Module.h"
#include "Utf8Path.h"

#include <cstring>
#include <filesystem>
#include <system_error>

namespace maravel::host {
namespace {

bool IsTerminated(const char (&text)[MARAVEL_TEXT_SIZE])
{
    return std::memchr(text, 0, sizeof(text)) != nullptr;
}

// Null when the adapter filled the descriptor as the interface has it.
const char* FindFault(const VideoChannelDescriptor& d, std::int32_t index)
{
    if (d.channelID != index) {
        return "channelID is not the channel's index";
    }
    if (!d.SetupCommonParams || !d.GetImageAttributes || !d.QueryImageStatus || !d.GetImage ||
        !d.StartAcquisition || !d.StopAcquisition || !d.ExecuteCommand || !d.ReadValue || !d.WriteValue ||
        !d.GetFeatureName || !d.GetFeatureType || !d.GetValidEnum || !d.GetFeatureAttr ||
        !d.ReleaseVideoChannel) {
        return "a callback is missing";
    }
    if (!IsTerminated(d.label) || !IsTerminated(d.serialNumber)) {
        return "a text is not terminated";
    }
    return nullptr;
}

} // namespace

std::unique_ptr<AdapterLibrary> AdapterLibrary::Load(const std::string& path, std::string* reason)
{
    const std::filesystem::path file = PathOf(path);
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error)) {
        *reason = path + ": there is no such file";
        return nullptr;
    }
    // The loader's flags want an absolute path.
    void* module = LoadModule(std::filesystem::absolute(file, error), reason);
    if (module == nullptr) {
        reason->insert(0, path + " cannot be loaded: ");
        return nullptr;
    }
    void* function = FindFunction(module, "GetVideoChannel");
    if (function == nullptr) {
        *reason = path + " is no adapter: it has no function GetVideoChannel";
        UnloadModule(module);
        return nullptr;
    }
    return std::unique_ptr<AdapterLibrary>(
        new AdapterLibrary(module, reinterpret_cast<GetVideoChannelFn>(function)));
}

AdapterLibrary::~AdapterLibrary()
{
    UnloadModule(module_);
}

Outcome AdapterLibrary::GetVideoChannel(std::int32_t channelIndex, VideoChannelDescriptor* descriptor) const
{
    char error[MARAVEL_TEXT_SIZE] = {};
    const std::int32_t status = getVideoChannel_(error, channelIndex, descriptor);
    error[sizeof(error) - 1] = '\0';
    return {status == MARAVEL_SUCCESS, error};
}

Outcome AdapterLibrary::CollectChannels(std::vector<Channel>* channels) const
{
    std::string firstText;
    for (std::int32_t index = 0;; ++index) {
        VideoChannelDescriptor descriptor = {};
        descriptor.structSize = sizeof(descriptor);
        const Outcome outcome = GetVideoChannel(index, &descriptor);
        // The end of the list comes without a text.
        if (!outcome) {
            return outcome.text.empty() ? Outcome{true, firstText} : outcome;
        }
        if (const char* fault = FindFault(descriptor, index)) {
            return {false, "channel " + std::to_string(index) + " is not usable: " + fault};
        }
        if (firstText.empty() && descriptor.openResult != 0) {
            firstText = outcome.text;
        }
        channels->emplace_back(descriptor);
    }
}

} // namespace maravel::host
