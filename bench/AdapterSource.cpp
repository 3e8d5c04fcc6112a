#include "bench/ImageSource.h"

#include "AdapterLibrary.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace maravel::bench {
namespace {

// More than any camera has: the adapter takes the camera's maximum.
constexpr std::int32_t kWholeSensor = 1 << 30;

void Require(const host::Outcome& outcome, const char* what)
{
    if (!outcome) {
        throw std::runtime_error(std::string(what) + ": " + outcome.text);
    }
}

class AdapterSource : public ImageSource
{
public:
    AdapterSource(const std::filesystem::path& adapter, std::size_t cameraCount)
    {
        std::string reason;
        library_ = host::AdapterLibrary::Load(adapter.string(), &reason);
        if (!library_) {
            throw std::runtime_error(reason);
        }
        Require(library_->CollectChannels(&channels_), "the adapter did not start");
        if (channels_.size() != cameraCount) {
            throw std::runtime_error("the adapter has " + std::to_string(channels_.size()) + " channels");
        }
        CommonParams params = {};
        params.exposure = 10e-6;
        params.acqContinuous = 1;
        params.roiwidth = kWholeSensor;
        params.roiheight = kWholeSensor;
        for (const host::Channel& channel : channels_) {
            Require(channel.SetupCommonParams(params), "SetupCommonParams");
        }
    }

    void Start() override
    {
        for (const host::Channel& channel : channels_) {
            Require(channel.StartAcquisition(), "StartAcquisition");
        }
    }

    void Stop() override
    {
        for (const host::Channel& channel : channels_) {
            Require(channel.StopAcquisition(), "StopAcquisition");
        }
    }

    bool Fetch(std::size_t camera, std::uint8_t* image) override
    {
        const host::Channel& channel = channels_[camera];
        if (channel.QueryImageStatus() != ImageStatusReady) {
            return false;
        }
        std::uint32_t status = ImageStatusUnavailable;
        Require(channel.GetImage(image, &status), "GetImage");
        return status == ImageStatusReady;
    }

private:
    std::unique_ptr<host::AdapterLibrary> library_;
    std::vector<host::Channel> channels_;
};

} // namespace

std::unique_ptr<ImageSource> MakeAdapterSource(const std::filesystem::path& adapter, std::size_t cameraCount)
{
    return std::make_unique<AdapterSource>(adapter, cameraCount);
}

} // namespace maravel::bench
