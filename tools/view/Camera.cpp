#include "Camera.h"

#include "camhost/Features.h"

#include <charconv>
#include <cstdlib>

namespace maravel::view {
namespace {

using camhost::Failure;
using camhost::Trigger;
using host::Outcome;

constexpr std::size_t kMostJobs = 64;
constexpr double kTicks = 1e9; // in a second, of a camera that does not tell

const char* TriggerName(Trigger trigger)
{
    switch (trigger) {
    case Trigger::Manual:
        return "manual";
    case Trigger::HardwareAuto:
        return "hardware-auto";
    case Trigger::HardwareSemiAuto:
        return "hardware-semi-auto";
    default:
        return "freerun";
    }
}

} // namespace

Camera::Camera(const host::Channel& channel, std::string name, std::function<void()> onFrame)
    : channel_(channel), name_(std::move(name)), onFrame_(std::move(onFrame))
{
    options_.live = true;
    status_.state = channel.Opened() ? "stopped" : "failed";
    if (!channel.Opened()) {
        status_.text = "The camera could not be opened";
    }
    thread_ = std::thread([this] { Run(); });
}

Camera::~Camera()
{
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

FramePointer Camera::Last() const
{
    const std::lock_guard lock(mutex_);
    return last_;
}

CameraStatus Camera::Status() const
{
    const std::lock_guard lock(mutex_);
    return status_;
}

bool Camera::Post(std::function<void()> job)
{
    {
        const std::lock_guard lock(mutex_);
        if (jobs_.size() >= kMostJobs) {
            return false;
        }
        jobs_.push_back(std::move(job));
    }
    changed_.notify_all();
    return true;
}

// An image first, then at most one of the jobs: a page that asks for much does not hold images up.
void Camera::Run()
{
    for (;;) {
        const bool took = acquisition_.has_value() && TakeImage();
        const bool worked = RunJob();
        std::unique_lock lock(mutex_);
        if (ending_) {
            break;
        }
        if (took || worked) {
            continue;
        }
        const auto due = [this] { return ending_ || !jobs_.empty(); };
        if (acquisition_) {
            changed_.wait_for(lock, std::chrono::milliseconds(1), due);
        }
        else {
            changed_.wait(lock, due);
        }
    }
    acquisition_.reset();
}

bool Camera::RunJob()
{
    std::function<void()> job;
    {
        const std::lock_guard lock(mutex_);
        if (jobs_.empty()) {
            return false;
        }
        job = std::move(jobs_.front());
        jobs_.pop_front();
    }
    job();
    return true;
}

std::shared_ptr<Frame> Camera::FreeFrame()
{
    std::unique_ptr<Frame> frame;
    {
        const std::lock_guard lock(pool_->mutex);
        if (!pool_->frames.empty()) {
            frame = std::move(pool_->frames.back());
            pool_->frames.pop_back();
        }
    }
    if (frame == nullptr) {
        frame = std::make_unique<Frame>();
    }
    return {frame.release(), [pool = pool_](Frame* used) {
                std::unique_ptr<Frame> owner(used);
                const std::lock_guard lock(pool->mutex);
                if (pool->frames.size() < FramePool::kMostFrames) {
                    pool->frames.push_back(std::move(owner));
                }
            }};
}

bool Camera::TakeImage()
try {
    const std::shared_ptr<Frame> frame = FreeFrame();
    if (!acquisition_->TakeImage(&frame->image)) {
        LookWhetherGone();
        return false;
    }
    Account(frame->image.attributes);
    {
        const std::lock_guard lock(mutex_);
        frame->sequence = ++status_.fetched;
        if (options_.trigger == Trigger::Manual) {
            ++status_.imagesOfTriggers;
        }
        last_ = frame;
    }
    onFrame_();
    return true;
}
catch (const Failure& failure) {
    Fail("failed", failure.what());
    return false;
}

void Camera::Account(const ImageAttributes& attributes)
{
    lastImage_ = Clock::now();
    arrivals_.push_back({lastImage_, attributes.timestamp});
    while (arrivals_.size() > 2 && (lastImage_ - arrivals_.front().time > std::chrono::seconds(2))) {
        arrivals_.pop_front();
    }
    if (arrivals_.size() > 2 && attributes.timestamp <= arrivals_.front().timestamp) {
        arrivals_.erase(arrivals_.begin(), arrivals_.end() - 1);
    }
    const Arrival& first = arrivals_.front();
    const double seconds = std::chrono::duration<double>(lastImage_ - first.time).count();
    const double device = static_cast<double>(attributes.timestamp - first.timestamp) / ticks_;
    const auto count = static_cast<double>(arrivals_.size() - 1);
    // The gaps are counted anew over thousands of intervals, so not with every image.
    const bool look = arrivals_.size() < 3 || lastImage_ - lastLook_ > std::chrono::milliseconds(500);
    const std::uint64_t lost = look ? lostBefore_ + acquisition_->Lost() : 0;
    if (look) {
        lastLook_ = lastImage_;
    }
    const std::lock_guard lock(mutex_);
    status_.rate = seconds > 0 ? count / seconds : 0;
    status_.cameraRate = device > 0 ? count / device : 0;
    if (look) {
        status_.lostByTime = lost;
    }
    status_.width = attributes.width;
    status_.height = attributes.height;
    status_.pixelType = attributes.pixelType;
}

// The interface does not tell that a camera was unplugged: a free-running one that fell silent is asked for a
// feature, and stopped when it does not answer, which the adapter then reports in its log.
void Camera::LookWhetherGone()
{
    const auto now = Clock::now();
    if (now - lastImage_ < std::chrono::milliseconds(1200) || now - lastLook_ < std::chrono::seconds(1)) {
        return;
    }
    lastLook_ = now;
    {
        const std::lock_guard lock(mutex_);
        status_.rate = status_.cameraRate = 0;
    }
    std::string value;
    if (!ReadIfThere("PayloadSize", &value) && !ReadIfThere("Width", &value)) {
        Fail("lost", "The camera does not answer any more");
    }
}

void Camera::Fail(const char* state, const std::string& text)
{
    acquisition_.reset(); // stops it, whatever comes of that
    const std::lock_guard lock(mutex_);
    status_.state = state;
    status_.text = text;
    status_.rate = status_.cameraRate = 0;
}

// The adapter takes the question for a feature that the camera lacks for a fault of the host.
bool Camera::ReadIfThere(const char* feature, std::string* value)
{
    return FindFeature(feature) != nullptr && channel_.ReadValue(feature, value);
}

std::optional<double> Camera::NumberOf(const char* feature)
{
    std::string text;
    if (!ReadIfThere(feature, &text)) {
        return std::nullopt;
    }
    double value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc() ? std::optional(value) : std::nullopt;
}

// The common parameters hold an exposure and a region, whether anybody wants to set them or not: they are
// given what the camera has.
void Camera::KeepSettings(camhost::Options* options)
{
    std::string automatic;
    if (!options->exposure && (!ReadIfThere("ExposureAuto", &automatic) || automatic == "Off")) {
        auto now = NumberOf("ExposureTime");
        if (!now) {
            now = NumberOf("ExposureTimeAbs");
        }
        if (now) {
            options->exposure = *now * 1e-6;
        }
    }
    if (!options->region) {
        const auto x = NumberOf("OffsetX"), y = NumberOf("OffsetY");
        const auto width = NumberOf("Width"), height = NumberOf("Height");
        if (width && height) {
            options->region = {static_cast<int>(x.value_or(0)), static_cast<int>(y.value_or(0)),
                               static_cast<int>(*width), static_cast<int>(*height)};
        }
    }
}

Outcome Camera::Start(const StartSettings& settings)
try {
    std::string automatic;
    if (settings.exposure && ReadIfThere("ExposureAuto", &automatic) && automatic != "Off") {
        return {false, "The camera sets its exposure itself (ExposureAuto is " + automatic +
                           "); set ExposureAuto to Off first"};
    }
    if (const Outcome stopped = Stop(); !stopped) {
        return stopped;
    }
    options_.trigger = settings.trigger.value_or(options_.trigger);
    options_.risingEdge = settings.risingEdge.value_or(options_.risingEdge);
    options_.exposure = settings.exposure;
    options_.region = settings.region;
    KeepSettings(&options_);
    const double ticks = NumberOf("GevTimestampTickFrequency").value_or(0);
    ticks_ = ticks > 0 ? ticks : kTicks;
    acquisition_.emplace(channel_, name_, options_);
    // In the manual mode a start is a trigger, so the first one is left to the button.
    if (options_.trigger != Trigger::Manual) {
        acquisition_->Start();
    }
    arrivals_.clear();
    lastImage_ = lastLook_ = Clock::now();
    const std::lock_guard lock(mutex_);
    lostBefore_ = status_.lostByTime;
    status_.state = "running";
    status_.text.clear();
    status_.trigger = TriggerName(options_.trigger);
    status_.risingEdge = options_.risingEdge;
    status_.triggers = status_.imagesOfTriggers = 0;
    return {true, ""};
}
catch (const Failure& failure) {
    Fail("failed", failure.what());
    return {false, failure.what()};
}

Outcome Camera::Stop()
{
    Outcome outcome{true, ""};
    if (!acquisition_) {
        return outcome;
    }
    try {
        for (int i = 0; i < 64 && acquisition_ && TakeImage(); ++i) { // what waits is shown still
            ;
        }
        if (!acquisition_) {
            return {false, Status().text};
        }
        acquisition_->Stop();
    }
    catch (const Failure& failure) {
        outcome = {false, failure.what()};
    }
    acquisition_.reset();
    const std::lock_guard lock(mutex_);
    status_.state = outcome ? "stopped" : "failed";
    status_.text = outcome.text;
    status_.rate = status_.cameraRate = 0;
    return outcome;
}

Outcome Camera::TriggerImage()
try {
    if (!acquisition_ || options_.trigger != Trigger::Manual) {
        return {false, "The trigger mode is not manual, or the camera is stopped"};
    }
    acquisition_->TriggerImage();
    const std::lock_guard lock(mutex_);
    ++status_.triggers;
    return {true, ""};
}
catch (const Failure& failure) {
    return {false, failure.what()};
}

const std::vector<FeatureFacts>& Camera::Features()
{
    if (features_.empty()) {
        for (const std::string& name : channel_.FeatureNames()) {
            FeatureFacts facts;
            facts.name = name;
            facts.description = channel_.Description(name);
            channel_.GetFeatureType(name, &facts.type);
            features_.push_back(std::move(facts));
        }
    }
    return features_;
}

const FeatureFacts* Camera::FindFeature(const std::string& name)
{
    for (const FeatureFacts& facts : Features()) {
        if (facts.name == name) {
            return &facts;
        }
    }
    return nullptr;
}

} // namespace maravel::view
