// The acquisition of one channel, from its set-up to its stop.
#pragma once

#include "CommandLine.h"
#include "Failure.h"
#include "Image.h"
#include "OwnLog.h"
#include "host/Channel.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace maravel::camhost {

// No image came in time.
class NoImage : public Failure
{
public:
    NoImage(std::int64_t channel, const std::string& text, const std::string& guess)
        : Failure(ExitRefused, text + "; " + guess), channel_(channel), short_(text)
    {
    }

    std::int64_t Channel() const { return channel_; }
    const std::string& Short() const { return short_; } // without the guess at the cause

private:
    std::int64_t channel_;
    std::string short_;
};

// What distinguishes a camera from all the others: its serial number, unless it has none or another has the
// same.
std::string CameraName(const host::Channel& channel, const std::vector<host::Channel>& all);

// What came of an acquisition.
struct GrabResult
{
    std::int64_t channel = 0;
    std::string camera;
    int images = 0, width = 0, height = 0;
    double seconds = 0, rate = 0; // from the first image to the last one, without the times when it was gone
    std::optional<std::uint64_t> lost = {}; // of a free-running camera
    bool byFrameNumbers = false;            // `lost` is exact; else a guess from the time stamps
    int interruptions = 0;
    double secondsGone = 0;
    std::string firstFile, lastFile; // in the folder
};

// All may throw Failure with the adapter's text. The camera is stopped at the latest when the object goes.
class Acquisition
{
public:
    // Applies the common parameters, then the single features. `name` distinguishes the camera from the
    // others in texts and file names. Fails when the camera does not hold what was asked for.
    Acquisition(const host::Channel& channel, std::string name, const Options& options);
    ~Acquisition();
    Acquisition(const Acquisition&) = delete;
    Acquisition& operator=(const Acquisition&) = delete;

    void Start();
    void TriggerImage(); // in the manual mode, where images are triggered one by one
    void Stop();
    void Abandon(); // stops it whatever comes of that

    // After the adapter was started anew: writes all settings again and goes on with the next image.
    void Resume(const host::Channel& channel);
    const std::string& Name() const { return name_; }

    // False when no image waits yet. Fails when none came within the time allowed since the one before, and
    // triggers the next image in the manual mode; a live view does neither.
    bool TakeImage(Image* image);

    bool Done() const { return !options_.live && taken_ >= options_.frames; }

    std::uint64_t Lost() const; // by gaps in the time stamps

    std::string Progress() const; // short, for one of several on a line
    // `log`: of this run, after the stop.
    GrabResult Result(const OwnLog& log) const;

    // The first image and the last one; none when there are not two.
    std::set<OwnLog::Frame> Ends() const;

private:
    using Clock = std::chrono::steady_clock;

    void SetUp();
    void StartOrTrigger();
    void AwaitNext(std::chrono::steady_clock::time_point now);
    void CheckExposure() const;
    [[noreturn]] void GiveUp() const;
    double Seconds() const;
    double Rate() const;

    host::Channel channel_;
    const std::string name_;
    const Options& options_;
    std::size_t payloadSize_ = 0;
    bool started_ = false;
    int taken_ = 0;
    ImageAttributes last_ = {};
    std::uint64_t firstTimestamp_ = 0;
    std::vector<std::uint64_t> intervals_; // between the latest time stamps
    std::uint64_t lostBefore_ = 0;         // as the earlier ones told
    std::string firstFile_, lastFile_;
    std::string startText_;                    // what the adapter had to report of a start that succeeded
    Clock::time_point first_, end_, deadline_; // of the first image, of the last one
    bool resumed_ = false;                     // and no image came since
    int interruptions_ = 0;
    Clock::duration gone_{};
};

// For a person, on one line.
std::string Summary(const GrabResult& result, const Options& options);

} // namespace maravel::camhost
