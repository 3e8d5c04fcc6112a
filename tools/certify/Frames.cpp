#include "Frames.h"

#include <set>

namespace maravel::certify {
namespace {

using std::chrono::milliseconds;

// Frames objects that records may still name.
std::mutex g_livingMutex;
std::set<const Frames*> g_living;
std::size_t g_late;

double Exposure(const Session& session)
{
    for (const char* name : {"ExposureTime", "ExposureTimeAbs"}) {
        double microseconds = 0;
        if (session.Sdk().ZvkFeatureFloatGet(session.Camera(), name, &microseconds) == 0) {
            return microseconds / 1e6;
        }
    }
    return 0;
}

} // namespace

Frames::Frames(Session& session, std::size_t count, Requeue requeue, std::size_t size)
    : sdk_(session.Sdk()), camera_(session.Camera()), requeue_(requeue),
      patience_(session.FramePatience(Exposure(session)))
{
    if (size == 0) {
        std::uint32_t payload = 0;
        CERTIFY_OK(sdk_.ZvkPayloadSizeGet(camera_, &payload));
        size = payload;
    }
    for (std::size_t i = 0; i < count; ++i) {
        Memory& memory = buffers_.emplace_back(size);
        ZvkFrame_t& record = records_.emplace_back();
        record.buffer = memory.Data();
        record.bufferSize = static_cast<std::uint32_t>(size);
        record.context[0] = this;
        record.context[1] = reinterpret_cast<void*>(i);
    }
    {
        const std::lock_guard lock(g_livingMutex);
        g_living.insert(this);
    }
    announced_ = true;
    try {
        for (const ZvkFrame_t& record : records_) {
            CERTIFY_OK(sdk_.ZvkFrameAnnounce(camera_, &record, sizeof(record)));
        }
    }
    catch (...) {
        GiveUp();
        throw;
    }
}

Frames::~Frames()
{
    {
        const std::lock_guard lock(mutex_);
        stopped_ = true;
    }
    if (acquiring_) {
        sdk_.ZvkFeatureCommandRun(camera_, "AcquisitionStop");
    }
    if (capturing_) {
        sdk_.ZvkCaptureEnd(camera_);
    }
    GiveUp();
}

// Memory that the SDK does not give back is its own for ever.
void Frames::GiveUp()
{
    static auto* const kept = new std::deque<std::pair<std::deque<Memory>, std::deque<ZvkFrame_t>>>;
    bool isBack = true;
    if (announced_) {
        sdk_.ZvkCaptureQueueFlush(camera_);
        isBack = sdk_.ZvkFrameRevokeAll(camera_) == ZvkErrorSuccess;
    }
    const std::lock_guard lock(g_livingMutex);
    g_living.erase(this);
    if (!isBack) {
        kept->emplace_back(std::move(buffers_), std::move(records_));
    }
}

void Frames::Start()
{
    StartCapture();
    QueueAll();
    StartAcquisition();
}

void Frames::StartCapture()
{
    CERTIFY_OK(sdk_.ZvkCaptureStart(camera_));
    capturing_ = true;
}

void Frames::Queue(std::size_t index)
{
    CERTIFY_OK(sdk_.ZvkCaptureFrameQueue(camera_, &records_[index], &Received));
}

void Frames::QueueAll()
{
    for (std::size_t i = 0; i < records_.size(); ++i) {
        Queue(i);
    }
}

void Frames::StartAcquisition()
{
    {
        const std::lock_guard lock(mutex_);
        stopped_ = false;
    }
    acquiring_ = true;
    CERTIFY_OK(sdk_.ZvkFeatureCommandRun(camera_, "AcquisitionStart"));
}

void Frames::StopAcquisition()
{
    {
        const std::lock_guard lock(mutex_);
        stopped_ = true;
    }
    CERTIFY_OK(sdk_.ZvkFeatureCommandRun(camera_, "AcquisitionStop"));
    acquiring_ = false;
}

void Frames::EndCapture()
{
    CERTIFY_OK(sdk_.ZvkCaptureEnd(camera_));
    capturing_ = false;
    CERTIFY_OK(sdk_.ZvkCaptureQueueFlush(camera_));
    CERTIFY_OK(sdk_.ZvkFrameRevokeAll(camera_));
    announced_ = false;
}

void Frames::Stop()
{
    StopAcquisition();
    EndCapture();
}

bool Frames::WaitFor(std::size_t arrivals)
{
    std::unique_lock lock(mutex_);
    while (arrivals_.size() < arrivals) {
        const std::size_t before = arrivals_.size();
        if (!changed_.wait_for(lock, patience_, [&] { return arrivals_.size() != before; })) {
            return false;
        }
    }
    return true;
}

std::size_t Frames::ArrivalsAfter(milliseconds time)
{
    std::this_thread::sleep_for(time);
    return Count();
}

std::vector<Arrival> Frames::Arrivals() const
{
    const std::lock_guard lock(mutex_);
    return arrivals_;
}

std::size_t Frames::Count() const
{
    const std::lock_guard lock(mutex_);
    return arrivals_.size();
}

bool Frames::WallsStand() const
{
    return std::ranges::all_of(buffers_, &Memory::WallsStand);
}

std::size_t Frames::LateArrivals()
{
    const std::lock_guard lock(g_livingMutex);
    return g_late;
}

void Frames::Received(ZvkHandle_t camera, ZvkHandle_t stream, ZvkFrame_t* frame)
{
    // The lock keeps the object alive; its end waits for this call.
    const std::lock_guard lock(g_livingMutex);
    auto* frames = static_cast<Frames*>(frame->context[0]);
    if (!g_living.contains(frames)) {
        ++g_late;
        return;
    }
    frames->Take(camera, stream, frame);
}

void Frames::Take(ZvkHandle_t camera, ZvkHandle_t stream, ZvkFrame_t* frame)
{
    const std::lock_guard lock(mutex_);
    arrivals_.push_back({camera, stream, reinterpret_cast<std::size_t>(frame->context[1]), *frame,
                         std::this_thread::get_id(), std::chrono::steady_clock::now()});
    if (requeue_ == Requeue::InCallback && !stopped_) {
        sdk_.ZvkCaptureFrameQueue(camera, frame, &Received);
    }
    changed_.notify_all();
}

} // namespace maravel::certify
