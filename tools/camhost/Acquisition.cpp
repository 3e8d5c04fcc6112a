#include "Acquisition.h"

#include "Failure.h"
#include "Features.h"
#include "host/Utf8Path.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <filesystem>

namespace maravel::camhost {
namespace {

using host::Outcome;

constexpr std::size_t kMostIntervals = 8192;

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

void Check(const std::string& name, const Outcome& outcome)
{
    if (!outcome) {
        throw Failure(ExitRefused, name + ": " + ReasonOf(outcome));
    }
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
        if (static_cast<std::size_t>(count) >= enough) {
            return first[count / 2];
        }
    }
    return intervals[intervals.size() / 2];
}

} // namespace

std::string CameraName(const host::Channel& channel, const std::vector<host::Channel>& all)
{
    const std::string serial = channel.SerialNumber();
    const auto same = std::ranges::count(all, serial, &host::Channel::SerialNumber);
    if (!serial.empty() && same == 1) {
        return serial;
    }
    return (serial.empty() ? "camera" : serial) + "-channel" + std::to_string(channel.Index());
}

Acquisition::Acquisition(const host::Channel& channel, std::string name, const Options& options)
    : channel_(channel), name_(std::move(name)), options_(options)
{
    SetUp();
}

void Acquisition::SetUp()
{
    const host::Channel& channel = channel_;
    const Options& options = options_;
    // Whether the exposure of the common parameters counts is decided by this one, so it goes first.
    for (const auto& [feature, value] : options.assignments) {
        if (feature == "ExposureAuto") {
            WriteFeature(channel, feature, value);
        }
    }
    const CommonParams params = ParamsOf(channel, options);
    Check(name_, channel.SetupCommonParams(params));
    for (const auto& [feature, value] : options.assignments) {
        if (const std::string fault = WriteFeature(channel, feature, value); !fault.empty()) {
            throw Failure(ExitRefused, name_ + ": " + fault);
        }
    }
    if (options.exposure) {
        CheckExposure();
    }

    // A monochrome image comes with all that the camera sends along, which may be more than its pixels.
    std::string text;
    if (channel.ReadValue("PayloadSize", &text)) {
        std::from_chars(text.data(), text.data() + text.size(), payloadSize_);
    }
}

Acquisition::~Acquisition()
{
    Abandon();
}

void Acquisition::Abandon()
{
    if (started_) {
        channel_.StopAcquisition();
    }
    started_ = false;
}

void Acquisition::Start()
{
    StartOrTrigger();
}

void Acquisition::Resume(const host::Channel& channel)
{
    started_ = false; // the adapter's new start stopped it
    channel_ = channel;
    if (Done()) {
        return;
    }
    SetUp();
    resumed_ = taken_ > 0;
    StartOrTrigger();
}

// A camera that sets its exposure itself, or has none, takes the common parameters all the same.
void Acquisition::CheckExposure() const
{
    const std::vector<std::string> names = channel_.FeatureNames();
    const auto has = [&](const char* feature) { return std::ranges::find(names, feature) != names.end(); };
    const char* feature = has("ExposureTime") ? "ExposureTime" : "ExposureTimeAbs";
    std::string mode, now;
    if (has("ExposureAuto") && channel_.ReadValue("ExposureAuto", &mode) && mode != "Off") {
        throw Failure(ExitRefused, name_ + ": --exposure has no effect, ExposureAuto is " + mode +
                                       "; add --set ExposureAuto=Off");
    }
    if (!has(feature) || !channel_.ReadValue(feature, &now)) {
        throw Failure(ExitRefused, name_ + ": --exposure has no effect, the camera has no exposure time");
    }
    char asked[64];
    std::snprintf(asked, sizeof(asked), "%f", *options_.exposure * 1e6);
    if (const std::string fault = Difference(feature, asked, now); !fault.empty()) {
        throw Failure(ExitRefused, name_ + ": " + fault);
    }
}

// In the manual mode a start is also a trigger.
void Acquisition::StartOrTrigger()
{
    started_ = true; // also a failed start is stopped
    const Outcome outcome = channel_.StartAcquisition();
    Check(name_, outcome);
    startText_ = outcome.text;
    AwaitNext(Clock::now());
}

void Acquisition::AwaitNext(Clock::time_point now)
{
    deadline_ =
        now + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(options_.timeout));
}

void Acquisition::TriggerImage()
{
    StartOrTrigger();
}

void Acquisition::Stop()
{
    if (!started_) {
        return; // it was done before another camera had the adapter started anew
    }
    started_ = false;
    Check(name_, channel_.StopAcquisition());
}

void Acquisition::GiveUp() const
{
    char text[160];
    std::snprintf(text, sizeof(text), ": no image within %g s, %d of %d arrived", options_.timeout, taken_,
                  options_.frames);
    throw NoImage(channel_.Index(), name_ + text,
                  startText_.empty() ? "is the camera triggered, and --timeout long enough?" : startText_);
}

bool Acquisition::TakeImage(Image* image)
{
    std::uint32_t imageStatus = 0;
    Check(name_, channel_.GetImageAttributes(&image->attributes, &imageStatus));
    if (imageStatus != ImageStatusReady) {
        if (!options_.live && Clock::now() > deadline_) {
            GiveUp();
        }
        return false;
    }

    const ImageAttributes& now = image->attributes;
    if (now.width <= 0 || now.height <= 0) {
        throw Failure(ExitRefused, name_ + ": the adapter delivers an image without a size");
    }
    ImageAttributes colour = now;
    colour.pixelType = PixelTypeRgbPlanes;
    image->bytes.resize(std::max(payloadSize_, ImageBytes(colour)));
    Check(name_, channel_.GetImage(image->bytes.data(), &imageStatus));
    if (imageStatus != ImageStatusReady) {
        throw Failure(ExitRefused, name_ + ": the adapter announced an image and has none");
    }

    image->camera = name_;
    image->number = ++taken_;
    lastFile_ = ImageFileName(*image);
    if (resumed_) {
        ++interruptions_;
        gone_ += Clock::now() - end_;
        std::fprintf(stderr, "camhost: %s: back after %.1f s\n", name_.c_str(),
                     std::chrono::duration<double>(Clock::now() - end_).count());
    }
    end_ = Clock::now();
    if (taken_ == 1) {
        firstFile_ = lastFile_;
        first_ = end_;
        firstTimestamp_ = now.timestamp;
    }
    else if (!resumed_ && now.timestamp > last_.timestamp) {
        intervals_.push_back(now.timestamp - last_.timestamp);
        if (intervals_.size() == kMostIntervals) { // however long it goes on
            lostBefore_ = Lost();
            intervals_.clear();
        }
    }
    last_ = now;
    resumed_ = false;
    AwaitNext(end_);
    if (options_.trigger == Trigger::Manual && !options_.live && !Done()) {
        StartOrTrigger();
    }
    return true;
}

// Without the times when the camera was gone.
double Acquisition::Seconds() const
{
    return std::chrono::duration<double>(end_ - first_ - gone_).count();
}

double Acquisition::Rate() const
{
    return Seconds() > 0 ? (taken_ - 1) / Seconds() : 0;
}

std::uint64_t Acquisition::Lost() const
{
    if (options_.trigger != Trigger::Freerun || intervals_.empty()) {
        return lostBefore_;
    }
    const std::uint64_t usual = UsualInterval(intervals_);
    std::uint64_t sent = 0;
    for (const std::uint64_t interval : intervals_) {
        sent += (interval + usual / 2) / usual;
    }
    return lostBefore_ + (sent > intervals_.size() ? sent - intervals_.size() : 0);
}

std::string Acquisition::Progress() const
{
    char text[160];
    std::snprintf(text, sizeof(text), "%s: %d/%d, %.1f/s, %llu lost", name_.substr(0, 60).c_str(), taken_,
                  options_.frames, Rate(), static_cast<unsigned long long>(Lost()));
    return text;
}

std::set<OwnLog::Frame> Acquisition::Ends() const
{
    if (taken_ < 2) {
        return {};
    }
    return {{channel_.Index(), firstTimestamp_}, {channel_.Index(), last_.timestamp}};
}

// The rate is the camera's: from the first image to the last one, without the start of the stream.
GrabResult Acquisition::Result(const OwnLog& log) const
{
    GrabResult result = {.channel = channel_.Index(),
                         .camera = name_,
                         .images = taken_,
                         .width = last_.width,
                         .height = last_.height,
                         .seconds = Seconds(),
                         .rate = Rate(),
                         .interruptions = interruptions_,
                         .secondsGone = std::chrono::duration<double>(gone_).count(),
                         .firstFile = firstFile_,
                         .lastFile = lastFile_};
    if (options_.trigger != Trigger::Freerun) {
        return result;
    }
    // The camera's own numbers are exact; the interface does not hand them on, the log does. Time stamps are
    // a guess where much is lost.
    const auto first = log.NumberOf({channel_.Index(), firstTimestamp_});
    const auto last = log.NumberOf({channel_.Index(), last_.timestamp});
    const auto taken = static_cast<std::uint64_t>(taken_);
    result.byFrameNumbers =
        interruptions_ == 0 && first && last && *last >= *first && *last - *first + 1 >= taken;
    result.lost = result.byFrameNumbers ? *last - *first + 1 - taken : Lost();
    return result;
}

std::string Summary(const GrabResult& result, const Options& options)
{
    char numbers[160];
    std::snprintf(numbers, sizeof(numbers), ": %d image%s of %d x %d", result.images,
                  result.images == 1 ? "" : "s", result.width, result.height);
    std::string text = result.camera + numbers;
    if (result.images > 1) {
        std::snprintf(numbers, sizeof(numbers), " in %.2f s, %.1f/s", result.seconds, result.rate);
        text += numbers;
    }
    if (result.lost) {
        text += ", " + std::to_string(*result.lost) + " lost (by " +
                (result.byFrameNumbers ? "frame numbers)" : "time stamps)");
    }
    if (result.interruptions > 0) {
        std::snprintf(numbers, sizeof(numbers), ", gone %s for %.1f s in all",
                      result.interruptions == 1 ? "once"
                                                : (std::to_string(result.interruptions) + " times").c_str(),
                      result.secondsGone);
        text += numbers;
        if (result.lost) {
            text += " (about " + std::to_string(std::llround(result.secondsGone * result.rate)) + " images)";
        }
    }
    text += "; " + host::TextOf(host::PathOf(options.folder) / result.firstFile);
    if (result.lastFile != result.firstFile) {
        text += " to " + result.lastFile;
    }
    return text;
}

} // namespace maravel::camhost
