#include "Acquisition.h"

#include "Failure.h"
#include "Features.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <filesystem>

namespace maravel::camhost {
namespace {

using host::Outcome;

CommonParams ParamsOf(const host::Channel& channel, const Options& options)
{
    const VideoChannelDescriptor& camera = channel.Descriptor();
    const Region region = options.region.value_or(Region{0, 0, camera.width, camera.height});
    CommonParams params = {};
    const double exposure = camera.exposureTime; // a copy: the packed record's field may lie unaligned
    params.exposure = options.exposure.value_or(exposure);
    params.acqContinuous = options.trigger == Trigger::Freerun || options.trigger == Trigger::HardwareAuto;
    params.acqTriggered =
        options.trigger == Trigger::HardwareAuto || options.trigger == Trigger::HardwareSemiAuto;
    params.acqTriggerLowToHigh = options.risingEdge;
    params.roix = region.x;
    params.roiy = region.y;
    params.roiwidth = region.width;
    params.roiheight = region.height;
    return params;
}

void Check(const host::Channel& channel, const Outcome& outcome)
{
    if (!outcome)
        throw Failure(ExitRefused, channel.SerialNumber() + ": " + ReasonOf(outcome));
}

// A free-running camera sends at even intervals: twice the usual one is one image that did not arrive. One
// that was only late is followed by a short interval, which takes it back. The usual one is the shortest that
// a tenth of all have, and five at least: when many images are lost it is not the most frequent.
std::uint64_t UsualInterval(std::vector<std::uint64_t> intervals)
{
    std::ranges::sort(intervals);
    const std::size_t enough = std::max<std::size_t>(5, intervals.size() / 10);
    for (auto first = intervals.begin(); first != intervals.end(); ++first) {
        const auto last = std::ranges::upper_bound(first, intervals.end(), *first + *first / 10);
        const auto count = last - first;
        if (static_cast<std::size_t>(count) >= enough)
            return first[count / 2];
    }
    return intervals[intervals.size() / 2];
}

} // namespace

Acquisition::Acquisition(const host::Channel& channel, const Options& options)
    : channel_(channel), options_(options)
{
    const CommonParams params = ParamsOf(channel, options);
    Check(channel, channel.SetupCommonParams(params));
    for (const auto& [feature, value] : options.assignments)
        WriteFeature(channel, feature, value);

    // A monochrome image comes with all that the camera sends along, which may be more than its pixels.
    std::string text;
    if (channel.ReadValue("PayloadSize", &text))
        std::from_chars(text.data(), text.data() + text.size(), payloadSize_);
}

Acquisition::~Acquisition()
{
    if (started_)
        channel_.StopAcquisition();
}

void Acquisition::Start()
{
    StartOrTrigger();
    begin_ = end_ = Clock::now();
}

// In the manual mode a start is also a trigger.
void Acquisition::StartOrTrigger()
{
    started_ = true; // also a failed start is stopped
    Check(channel_, channel_.StartAcquisition());
    deadline_ = Clock::now() +
                std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(options_.timeout));
}

void Acquisition::Stop()
{
    started_ = false;
    Check(channel_, channel_.StopAcquisition());
}

std::string Acquisition::TimeoutText() const
{
    char text[160];
    std::snprintf(
        text, sizeof(text),
        ": no image within %g s, %d of %d arrived; is the camera triggered, and --timeout long enough?",
        options_.timeout, taken_, options_.frames);
    return channel_.SerialNumber() + text;
}

bool Acquisition::TakeImage(Image* image)
{
    std::uint32_t imageStatus = 0;
    Check(channel_, channel_.GetImageAttributes(&image->attributes, &imageStatus));
    if (imageStatus != ImageStatusReady) {
        if (Clock::now() > deadline_)
            throw Failure(ExitRefused, TimeoutText());
        return false;
    }

    const ImageAttributes& now = image->attributes;
    if (now.width <= 0 || now.height <= 0)
        throw Failure(ExitRefused,
                      channel_.SerialNumber() + ": the adapter delivers an image without a size");
    ImageAttributes colour = now;
    colour.pixelType = PixelTypeRgbPlanes;
    image->bytes.resize(std::max(payloadSize_, ImageBytes(colour)));
    Check(channel_, channel_.GetImage(image->bytes.data(), &imageStatus));
    if (imageStatus != ImageStatusReady)
        throw Failure(ExitRefused, channel_.SerialNumber() + ": the adapter announced an image and has none");

    image->serialNumber = channel_.SerialNumber();
    image->number = ++taken_;
    lastFile_ = ImageFileName(*image);
    if (taken_ == 1)
        firstFile_ = lastFile_;
    else if (now.timestamp > last_.timestamp)
        intervals_.push_back(now.timestamp - last_.timestamp);
    last_ = now;
    end_ = Clock::now();
    deadline_ =
        end_ + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(options_.timeout));
    if (options_.trigger == Trigger::Manual && !Done())
        StartOrTrigger();
    return true;
}

double Acquisition::Seconds() const
{
    return std::chrono::duration<double>(end_ - begin_).count();
}

double Acquisition::Rate() const
{
    return Seconds() > 0 ? taken_ / Seconds() : 0;
}

std::uint64_t Acquisition::Lost() const
{
    if (options_.trigger != Trigger::Freerun || intervals_.empty())
        return 0;
    const std::uint64_t usual = UsualInterval(intervals_);
    std::uint64_t sent = 0;
    for (const std::uint64_t interval : intervals_)
        sent += (interval + usual / 2) / usual;
    return sent > intervals_.size() ? sent - intervals_.size() : 0;
}

std::string Acquisition::Progress() const
{
    char text[160];
    std::snprintf(text, sizeof(text), "%s: %d/%d, %.1f/s, %llu lost",
                  channel_.SerialNumber().substr(0, 60).c_str(), taken_, options_.frames, Rate(),
                  static_cast<unsigned long long>(Lost()));
    return text;
}

std::string Acquisition::Summary() const
{
    char numbers[160];
    std::snprintf(numbers, sizeof(numbers), ": %d images of %d x %d in %.2f s, %.1f/s", taken_, last_.width,
                  last_.height, Seconds(), Rate());
    std::string text = channel_.SerialNumber() + numbers;
    if (options_.trigger == Trigger::Freerun)
        text += ", " + std::to_string(Lost()) + " lost (by time stamps)";
    const std::filesystem::path folder(options_.folder);
    text += "; " + (folder / firstFile_).string();
    if (lastFile_ != firstFile_)
        text += " to " + lastFile_;
    return text;
}

} // namespace maravel::camhost
