// Images as a host gets them through the adapter.
#pragma once

#include "Output.h"
#include "Session.h"

#include <chrono>
#include <vector>

namespace maravel::certify {

struct Image
{
    ImageAttributes attributes{};
    std::vector<std::uint8_t> bytes; // as many as the interface says for its pixel type
};

// Size and exposure time that the channel was handed out with, in free run.
CommonParams FreeRun(const host::Channel& channel);

// SetupCommonParams and StartAcquisition of the session's channel, checked; the end of the object stops.
class Acquisition
{
public:
    explicit Acquisition(const Session& session); // in free run
    Acquisition(const Session& session, const CommonParams& params);
    ~Acquisition();
    Acquisition(const Acquisition&) = delete;
    Acquisition& operator=(const Acquisition&) = delete;

    // Waits for the next image and takes it. Throws Failed when none comes, when the adapter refuses a call
    // or writes outside the image.
    Image Next();
    // Whether an image waits within that time.
    bool Comes(std::chrono::milliseconds time) const;
    // The longest time between two images that is still no fault.
    std::chrono::milliseconds Patience() const;
    void Stop();
    // Leaves the stop to whatever ends the stream otherwise.
    void Abandon() { running_ = false; }

private:
    const Session& session_;
    const host::Channel& channel_;
    std::size_t payload_ = 0;
    bool running_ = false;
};

// A feature's value through the adapter; throws Failed when it is refused.
std::string Read(const host::Channel& channel, const std::string& name);

} // namespace maravel::certify
