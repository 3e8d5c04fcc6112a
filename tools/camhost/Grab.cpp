#include "Grab.h"

#include "Acquisition.h"
#include "ContactSheet.h"
#include "Failure.h"
#include "ImageWriter.h"
#include "Json.h"
#include "OutputFile.h"
#include "OwnLog.h"
#include "System.h"
#include "host/Utf8Path.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <list>
#include <set>
#include <thread>

namespace maravel::camhost {
namespace {

using Clock = std::chrono::steady_clock;

// One line that is overwritten on a terminal; elsewhere one line a second, if asked for.
class Progress
{
public:
    explicit Progress(bool wanted) : terminal_(ErrorsGoToTerminal()), shown_(terminal_ || wanted) {}
    ~Progress()
    {
        if (drawn_ && terminal_) {
            std::fprintf(stderr, "\r%*s\r", static_cast<int>(width_), "");
        }
    }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Show(const std::list<Acquisition>& acquisitions)
    {
        const auto now = Clock::now();
        if (!shown_ || now < next_) {
            return;
        }
        next_ = now + (terminal_ ? std::chrono::milliseconds(200) : std::chrono::milliseconds(1000));
        std::string line;
        for (const Acquisition& acquisition : acquisitions) {
            line += (line.empty() ? "" : "  ") + acquisition.Progress();
        }
        // Blanks, since not every terminal knows how to erase a line.
        const std::size_t length = line.size();
        line.resize(std::max(length, terminal_ ? width_ : 0), ' ');
        std::fprintf(stderr, terminal_ ? "\r%s" : "%s\n", line.c_str());
        width_ = length;
        drawn_ = true;
    }

private:
    const bool terminal_;
    const bool shown_;
    bool drawn_ = false;
    std::size_t width_ = 0; // of the line that stands there
    Clock::time_point next_ = Clock::now();
};

// False when a camera went away again meanwhile.
bool Resume(std::list<Acquisition>& acquisitions, const std::vector<host::Channel>& channels)
try {
    for (Acquisition& acquisition : acquisitions) {
        for (const host::Channel& channel : channels) {
            if (acquisition.Name() == CameraName(channel, channels)) {
                acquisition.Resume(channel);
            }
        }
    }
    return true;
}
catch (const Failure&) {
    return false;
}

// A camera that is there and does not send for another reason is not looked for.
void CheckThatItWasLost(std::list<Acquisition>& acquisitions, const NoImage& failure)
{
    using diagnosis::FaultId;
    for (Acquisition& acquisition : acquisitions) {
        acquisition.Abandon();
    }
    const OwnLog log;
    const diagnosis::Finding* fault = log.Fault(failure.Channel());
    const FaultId id = fault == nullptr ? FaultId::Unplugged : fault->fault->id;
    if (id != FaultId::Unplugged && id != FaultId::CameraGone && id != FaultId::CameraNotOpened &&
        id != FaultId::CameraInUse) {
        throw failure;
    }
    std::fprintf(stderr, "camhost: %s; looking for the camera\n", failure.Short().c_str());
}

// Starts the adapter until every camera that is still wanted is there again: its list is read at a start
// only.
void AwaitCameras(std::list<Acquisition>& acquisitions, const RestartAdapter& restart)
{
    for (;;) {
        const std::vector<host::Channel> channels = restart();
        const auto isBack = [&](const Acquisition& acquisition) {
            return std::ranges::any_of(channels, [&](const host::Channel& channel) {
                return channel.Opened() && acquisition.Name() == CameraName(channel, channels);
            });
        };
        if (std::ranges::all_of(acquisitions,
                                [&](const Acquisition& one) { return one.Done() || isBack(one); }) &&
            Resume(acquisitions, channels)) {
            return;
        }
        for (int i = 0; i < 10; ++i) {
            if (EndRequested()) {
                throw Failure(ExitRefused, "interrupted; the images so far are complete");
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
    }
}

// Polls the channels in turn: the interface has no way to wait for an image. False when one does not send any
// more and is to be looked for again.
bool Poll(std::list<Acquisition>& acquisitions, ImageWriter& writer, Progress& progress, bool reconnect)
try {
    for (;;) {
        bool done = true;
        bool idle = true;
        for (Acquisition& acquisition : acquisitions) {
            if (acquisition.Done()) {
                continue;
            }
            done = false;
            Image image;
            if (acquisition.TakeImage(&image)) {
                idle = false;
                writer.Add(std::move(image));
            }
        }
        progress.Show(acquisitions);
        if (done) {
            return true;
        }
        if (EndRequested()) {
            throw Failure(ExitRefused, "interrupted; the images so far are complete");
        }
        if (idle) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
}
catch (const NoImage& failure) {
    if (!reconnect) {
        throw;
    }
    CheckThatItWasLost(acquisitions, failure);
    return false;
}

// Runs the channels and returns once all are stopped, however it ends; what the adapter then has in its log
// belongs to this run alone.
std::vector<GrabResult> Run(const std::vector<host::Channel>& all, const std::vector<host::Channel>& channels,
                            const RestartAdapter& restart, const Options& options, ImageWriter& writer)
{
    std::list<Acquisition> acquisitions;
    for (const host::Channel& channel : channels) {
        acquisitions.emplace_back(channel, CameraName(channel, all), options);
    }
    for (Acquisition& acquisition : acquisitions) {
        acquisition.Start();
    }
    {
        Progress progress(options.progress);
        while (!Poll(acquisitions, writer, progress, options.reconnect)) {
            AwaitCameras(acquisitions, restart);
        }
    }
    for (Acquisition& acquisition : acquisitions) {
        acquisition.Stop();
    }
    writer.Finish();
    std::set<OwnLog::Frame> ends;
    for (const Acquisition& acquisition : acquisitions) {
        ends.merge(acquisition.Ends());
    }
    const OwnLog log(ends);
    std::vector<GrabResult> results;
    for (const Acquisition& acquisition : acquisitions) {
        results.push_back(acquisition.Result(log));
        if (!options.json) {
            std::printf("%s\n", Summary(results.back(), options).c_str());
        }
    }
    return results;
}

} // namespace

void Grab(const std::vector<host::Channel>& all, const std::vector<host::Channel>& channels,
          const RestartAdapter& restart, const Options& options)
{
    CatchEndRequests();
    ContactSheet sheet;
    ImageWriter writer(host::PathOf(options.folder), options.contactSheet.empty() ? nullptr : &sheet);
    std::vector<GrabResult> results;
    try {
        results = Run(all, channels, restart, options, writer);
    }
    catch (const NoImage& failure) {
        // The interface does not tell why no image comes.
        const OwnLog log;
        const diagnosis::Finding* fault = log.Fault(failure.Channel());
        if (fault == nullptr) {
            throw;
        }
        throw Failure(ExitRefused, failure.Short() + ". " + InOneLine(*fault));
    }
    if (!options.contactSheet.empty()) {
        const auto file = host::PathOf(options.contactSheet);
        WriteWholeFile(file, sheet.EncodeAsPng());
        if (!options.json) {
            std::printf("contact sheet: %s%s\n", host::TextOf(file).c_str(),
                        sheet.Left() == 0
                            ? ""
                            : (" (without the last " + std::to_string(sheet.Left()) + " images)").c_str());
        }
    }
    if (options.json) {
        std::fputs(GrabAsJson(results, options.contactSheet).c_str(), stdout);
    }
}

} // namespace maravel::camhost
