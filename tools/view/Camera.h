// One camera of the live view: a thread of its own takes the images and does what pages ask for in between,
// so that nobody who looks on delays it.
#pragma once

#include "camhost/Acquisition.h"
#include "camhost/CommandLine.h"
#include "host/Channel.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace maravel::view {

// An image that was fetched; shared by all who look at it.
struct Frame
{
    camhost::Image image;
    std::uint64_t sequence = 0; // images fetched from the channel so far
};
using FramePointer = std::shared_ptr<const Frame>;

// Frames that nobody looks at any more. Viewers give theirs back on threads of their own, maybe after the
// camera's end.
struct FramePool
{
    FramePool() { frames.reserve(kMostFrames); }

    static constexpr std::size_t kMostFrames = 6; // the newest one, and those that viewers still read
    std::mutex mutex;
    std::vector<std::unique_ptr<Frame>> frames;
};

struct FeatureFacts
{
    std::string name, description;
    std::int32_t type = -1;
};

struct CameraStatus
{
    std::string state; // "running", "stopped", "lost" or "failed"
    std::string text;  // why it is not running, or what the adapter had to report
    std::string trigger;
    bool risingEdge = true;
    std::uint64_t fetched = 0;
    std::uint64_t lostByTime = 0;
    std::uint64_t triggers = 0;         // by the button
    std::uint64_t imagesOfTriggers = 0; // in the manual mode
    double rate = 0;                    // images fetched a second
    double cameraRate = 0;              // by the camera's own time stamps
    int width = 0, height = 0;          // of the last image
    std::int32_t pixelType = -1;
};

// How a start is to be made; what is not given stays as it is.
struct StartSettings
{
    std::optional<camhost::Trigger> trigger;
    std::optional<bool> risingEdge;
    std::optional<double> exposure; // seconds
    std::optional<camhost::Region> region;
};

class Camera
{
public:
    // `onFrame` is called on the camera's thread with each new image; it must not wait.
    Camera(const host::Channel& channel, std::string name, std::function<void()> onFrame);
    ~Camera();
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

    const host::Channel& Channel() const { return channel_; }
    const std::string& Name() const { return name_; }

    // Any thread. The newest image; null: none came yet.
    FramePointer Last() const;
    CameraStatus Status() const;

    // Has the camera's thread do it, in order. False when too much waits already.
    bool Post(std::function<void()> job);

    // For jobs only. An outcome that failed tells why; Start stops first.
    host::Outcome Start(const StartSettings& settings);
    host::Outcome Stop();
    host::Outcome TriggerImage();
    const std::vector<FeatureFacts>& Features();
    const FeatureFacts* FindFeature(const std::string& name);
    bool Running() const { return acquisition_.has_value(); }

private:
    using Clock = std::chrono::steady_clock;

    void Run();
    bool RunJob();
    bool TakeImage();
    void Account(const ImageAttributes& attributes);
    void LookWhetherGone();
    void Fail(const char* state, const std::string& text);
    void KeepSettings(camhost::Options* options);
    bool ReadIfThere(const char* feature, std::string* value);
    std::optional<double> NumberOf(const char* feature);
    std::shared_ptr<Frame> FreeFrame(); // a used one, or a new one

    const host::Channel channel_;
    const std::string name_;
    const std::function<void()> onFrame_;

    // The camera's thread alone.
    camhost::Options options_;
    std::optional<camhost::Acquisition> acquisition_;
    std::vector<FeatureFacts> features_;
    const std::shared_ptr<FramePool> pool_ = std::make_shared<FramePool>();
    Clock::time_point lastImage_{}, lastLook_{};
    struct Arrival
    {
        Clock::time_point time;
        std::uint64_t timestamp;
    };
    std::deque<Arrival> arrivals_; // of the latest second or two
    std::uint64_t lostBefore_ = 0; // in earlier starts
    double ticks_ = 1;             // of the camera's clock in a second

    mutable std::mutex mutex_; // guards the fields below
    std::condition_variable changed_;
    std::deque<std::function<void()>> jobs_;
    FramePointer last_;
    CameraStatus status_;
    bool ending_ = false;

    std::thread thread_;
};

} // namespace maravel::view
