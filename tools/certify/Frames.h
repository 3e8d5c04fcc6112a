// Frame buffers of a camera, from their announcement to their return, and what the callback saw.
#pragma once

#include "Output.h"
#include "Session.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

namespace maravel::certify {

// One call of the frame callback.
struct Arrival
{
    ZvkHandle_t camera = nullptr;
    ZvkHandle_t stream = nullptr;
    std::size_t index = 0; // of the record
    ZvkFrame_t frame{};    // a copy of it
    std::thread::id thread;
    std::chrono::steady_clock::time_point time;
};

class Frames
{
public:
    enum class Requeue : std::uint8_t
    {
        No,        // every record comes once
        InCallback // queued again at once
    };

    // Announces `count` records of the camera's payload size (or `size` bytes); throws Failed. The bodies
    // below throw Failed as well.
    Frames(Session& session, std::size_t count, Requeue requeue = Requeue::No, std::size_t size = 0);
    // Stops, flushes and revokes; whatever that comes to.
    ~Frames();
    Frames(const Frames&) = delete;
    Frames& operator=(const Frames&) = delete;

    // ZvkCaptureStart, all frames queued, AcquisitionStart.
    void Start();
    void StartCapture();
    void Queue(std::size_t index);
    void QueueAll();
    void StartAcquisition();
    // AcquisitionStop, ZvkCaptureEnd, ZvkCaptureQueueFlush, ZvkFrameRevokeAll, each checked.
    void Stop();
    void StopAcquisition();
    void EndCapture(); // with flush and revoke

    // False when no frame came for as long as a camera may take (see Patience).
    bool WaitFor(std::size_t arrivals);
    // Waits that long and expects that no frame comes.
    std::size_t ArrivalsAfter(std::chrono::milliseconds time);
    std::vector<Arrival> Arrivals() const;
    std::size_t Count() const;

    ZvkFrame_t& Record(std::size_t index) { return records_[index]; }
    Memory& Buffer(std::size_t index) { return buffers_[index]; }
    std::size_t Size() const { return records_.size(); }
    bool WallsStand() const;

    // The longest time between two frames of this camera that is still no fault.
    std::chrono::milliseconds Patience() const { return patience_; }
    // Calls of the callback for records that were given back to this program, in the whole process.
    static std::size_t LateArrivals();
    // The callback; for bodies that queue themselves.
    static void Received(ZvkHandle_t camera, ZvkHandle_t stream, ZvkFrame_t* frame);

private:
    void GiveUp();
    void Take(ZvkHandle_t camera, ZvkHandle_t stream, ZvkFrame_t* frame);

    const certify::Sdk& sdk_;
    const ZvkHandle_t camera_;
    const Requeue requeue_;
    std::chrono::milliseconds patience_{};
    std::deque<Memory> buffers_;
    std::deque<ZvkFrame_t> records_;
    bool announced_ = false, capturing_ = false, acquiring_ = false;

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Arrival> arrivals_;
    bool stopped_ = false; // nothing is queued again
};

} // namespace maravel::certify
