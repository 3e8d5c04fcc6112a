#include "Images.h"

#include <algorithm>
#include <cstdlib>
#include <thread>

namespace maravel::certify {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// What GetImage writes. Monochrome images come as the camera sent them, with whatever follows the pixels.
std::size_t BytesOf(const ImageAttributes& image, std::size_t payload)
{
    const auto pixels = static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height);
    switch (image.pixelType) {
    case PixelTypeMono8:
        return std::max(payload, pixels);
    case PixelTypeRgbPlanes:
        return 3 * pixels;
    case PixelTypeMono12Packed:
        return std::max(payload, (3 * pixels + 1) / 2);
    case PixelTypeMono10:
    case PixelTypeMono12:
    case PixelTypeMono14:
    case PixelTypeMono16:
        return std::max(payload, 2 * pixels);
    default:
        throw Failed{"an image has the unknown pixel type " + std::to_string(image.pixelType)};
    }
}

} // namespace

CommonParams FreeRun(const host::Channel& channel)
{
    CommonParams params{};
    params.exposure = channel.Descriptor().exposureTime;
    params.acqContinuous = 1;
    params.roiwidth = channel.Descriptor().width;
    params.roiheight = channel.Descriptor().height;
    return params;
}

std::string Read(const host::Channel& channel, const std::string& name)
{
    std::string value;
    const host::Outcome outcome = channel.ReadValue(name, &value);
    CERTIFY(outcome.ok, "reading " << name << " is refused: " << outcome.text);
    return value;
}

Acquisition::Acquisition(const Session& session) : Acquisition(session, FreeRun(session.Channel())) {}

Acquisition::Acquisition(const Session& session, const CommonParams& params)
    : session_(session), channel_(session.Channel())
{
    const host::Outcome setup = channel_.SetupCommonParams(params);
    CERTIFY(setup.ok, "the set-up is refused: " << setup.text);
    std::string payload;
    if (channel_.ReadValue("PayloadSize", &payload)) {
        payload_ = std::strtoull(payload.c_str(), nullptr, 10);
    }
    const host::Outcome start = channel_.StartAcquisition();
    CERTIFY(start.ok, "the start is refused: " << start.text);
    running_ = true;
}

Acquisition::~Acquisition()
{
    if (running_) {
        channel_.StopAcquisition();
    }
}

milliseconds Acquisition::Patience() const
{
    return session_.FramePatience(channel_.Descriptor().exposureTime);
}

bool Acquisition::Comes(milliseconds time) const
{
    const auto end = Clock::now() + time;
    while (channel_.QueryImageStatus() != ImageStatusReady) {
        if (Clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(milliseconds(1));
    }
    return true;
}

Image Acquisition::Next()
{
    CERTIFY(Comes(Patience()), "no image comes");
    Image image;
    std::uint32_t status = ImageStatusUnavailable;
    const host::Outcome told = channel_.GetImageAttributes(&image.attributes, &status);
    CERTIFY(told.ok && status == ImageStatusReady, "GetImageAttributes fails: " << told.text);
    CERTIFY(image.attributes.width > 0 && image.attributes.height > 0, "an image has no size");
    Memory memory(BytesOf(image.attributes, payload_));
    const host::Outcome taken = channel_.GetImage(memory.Data(), &status);
    CERTIFY(taken.ok && status == ImageStatusReady, "GetImage fails: " << taken.text);
    CERTIFY(memory.WallsStand(), "GetImage wrote outside the image's " << memory.Size() << " bytes");
    image.bytes.assign(memory.Data(), memory.Data() + memory.Size());
    return image;
}

void Acquisition::Stop()
{
    const host::Outcome stop = channel_.StopAcquisition();
    CERTIFY(stop.ok, "the stop is refused: " << stop.text);
    running_ = false;
}

} // namespace maravel::certify
