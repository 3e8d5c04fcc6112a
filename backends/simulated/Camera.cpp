#include "Camera.h"

#include "CameraFeatures.h"
#include "ControlState.h"

#include <algorithm>
#include <cstring>

namespace maravel::simulated {
namespace {

using backend::Lock;

constexpr std::size_t MemoryBytes = 8192;

// The bootstrap registers that GigE Vision and USB3 Vision readers know by address.
void WriteRegister(std::vector<std::uint8_t>& memory, std::size_t address, std::size_t size,
                   const std::string& text)
{
    std::memcpy(memory.data() + address, text.data(), std::min(size - 1, text.size()));
}

} // namespace

Camera::Camera(backend::Mutex& mutex, std::uint32_t index, CameraDescription description)
    : mutex_(mutex), index_(index), description_(std::move(description))
{
}

bool Camera::Build(std::string* error)
{
    memory_.assign(MemoryBytes, 0);
    WriteRegister(memory_, 0x48, 32, description_.vendor);
    WriteRegister(memory_, 0x68, 32, description_.model);
    WriteRegister(memory_, 0xD8, 16, description_.serial);
    if (!CameraFeatures(*this).Build(error)) {
        return false;
    }
    powerUp_ = features_.Save();
    return description_.pictures.empty() || renderer_.LoadPictures(description_.pictures, error);
}

std::int64_t Camera::SensorLimit(const char* binning, std::uint32_t pixels) const
{
    return pixels / features_.At(binning).Int();
}

std::uint64_t Camera::Ticks() const
{
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now() - ticksBase_).count());
}

FrameGeometry Camera::Geometry() const
{
    const auto value = [this](const char* name) {
        return static_cast<std::uint32_t>(features_.At(name).Int());
    };
    FrameGeometry geometry;
    geometry.format = FindPixelFormat(value("PixelFormat"));
    geometry.width = value("Width");
    geometry.height = value("Height");
    geometry.offsetX = value("OffsetX");
    geometry.offsetY = value("OffsetY");
    geometry.sensorWidth = value("WidthMax");
    geometry.sensorHeight = value("HeightMax");
    geometry.reverseX = value("ReverseX") != 0;
    geometry.reverseY = value("ReverseY") != 0;
    return geometry;
}

std::uint64_t Camera::PayloadSize() const
{
    const FrameGeometry geometry = Geometry();
    return ImageBytes(*geometry.format, geometry.width, geometry.height);
}

double Camera::ExposureUs() const
{
    return features_.At(description_.legacy ? "ExposureTimeAbs" : "ExposureTime").Float();
}

double Camera::FramePeriodUs() const
{
    double rate = description_.frameRate;
    if (description_.legacy || features_.At("AcquisitionFrameRateEnable").Int() != 0) {
        rate = features_.At(description_.legacy ? "AcquisitionFrameRateAbs" : "AcquisitionFrameRate").Float();
    }
    return std::max(1e6 / rate, ExposureUs());
}

bool Camera::TriggerIsOn(Trigger trigger) const
{
    const Feature& mode = features_.At("TriggerMode");
    if (description_.legacy) {
        return trigger == Trigger::FrameStart && mode.Int() != 0;
    }
    return mode.values[static_cast<std::size_t>(trigger)].integer != 0;
}

std::string Camera::TriggerSourceOf(Trigger trigger) const
{
    if (description_.legacy) {
        return std::strcmp(features_.At("ExposureMode").EntryName(), "Off") == 0 ? "Software" : "Line0";
    }
    const Feature& source = features_.At("TriggerSource");
    const EnumEntry* entry = source.FindEntry(source.values[static_cast<std::size_t>(trigger)].integer);
    return entry == nullptr ? "" : entry->name;
}

ZvkError_t Camera::StartAcquisition()
{
    if (acquiring_) {
        return ZvkErrorSuccess; // starting again changes nothing
    }
    acquiring_ = true;
    started_ = !TriggerIsOn(Trigger::AcquisitionStart);
    nextFrameId_ = 0;
    triggeredCount_ = 0;
    const Feature& mode = features_.At("AcquisitionMode");
    framesLeft_ = mode.Int() == 0   ? -1
                  : mode.Int() == 1 ? 1
                                    : features_.At("AcquisitionFrameCount").Current().integer;
    nextFrame_ = Clock::now() + std::chrono::microseconds(static_cast<std::int64_t>(ExposureUs()));
    features_.SetStreaming(true);
    wake_.WakeAll();
    return ZvkErrorSuccess;
}

void Camera::StopAcquisition()
{
    acquiring_ = false;
    started_ = false;
    triggeredCount_ = 0;
    features_.SetStreaming(false);
    wake_.WakeAll();
}

ZvkError_t Camera::RunSoftwareTrigger()
{
    const Trigger chosen = description_.legacy
                               ? Trigger::FrameStart
                               : static_cast<Trigger>(features_.At("TriggerSelector").Current().integer);
    FireTrigger(chosen);
    return ZvkErrorSuccess;
}

void Camera::FireTrigger(Trigger trigger)
{
    if (!acquiring_ || !TriggerIsOn(trigger)) {
        return;
    }
    if (trigger == Trigger::AcquisitionStart) {
        if (!started_) {
            started_ = true;
            nextFrame_ = Clock::now() + std::chrono::microseconds(static_cast<std::int64_t>(ExposureUs()));
        }
        wake_.WakeAll();
        return;
    }
    if (!started_ || description_.manual) {
        return;
    }
    if (triggeredCount_ == triggered_.size()) {
        ++statistics_.missedTriggers;
        return;
    }
    // Exposures follow each other: a trigger during one is kept and starts the next.
    double delayUs = 0;
    if (!description_.legacy) {
        delayUs = features_.At("TriggerDelay").values[static_cast<std::size_t>(trigger)].real;
    }
    Clock::time_point begin = Clock::now() + std::chrono::microseconds(static_cast<std::int64_t>(delayUs));
    if (triggeredCount_ > 0) {
        begin = std::max(begin, triggered_[triggeredCount_ - 1]);
    }
    triggered_[triggeredCount_++] =
        begin + std::chrono::microseconds(static_cast<std::int64_t>(ExposureUs()));
    wake_.WakeAll();
}

ZvkError_t Camera::PulseLine(const char* line)
{
    const std::string name = line == nullptr ? "" : line;
    const Feature& lines = features_.At("LineSelector");
    if (lines.FindEntry(name.c_str()) == nullptr) {
        return ZvkErrorNotFound;
    }
    if (unplugged_) {
        return ZvkErrorIO;
    }
    // The acquisition's trigger first: one pulse may start the acquisition and its first frame.
    for (const Trigger trigger : {Trigger::AcquisitionStart, Trigger::FrameStart}) {
        if (TriggerSourceOf(trigger) != name) {
            continue;
        }
        FireTrigger(trigger);
        const bool bothEdges =
            !description_.legacy &&
            features_.At("TriggerActivation").values[static_cast<std::size_t>(trigger)].integer == 2;
        if (bothEdges) {
            FireTrigger(trigger);
        }
    }
    return ZvkErrorSuccess;
}

void Camera::SetUnplugged(bool unplugged)
{
    unplugged_ = unplugged;
    if (unplugged) {
        StopAcquisition();
    }
}

ZvkError_t Camera::StartCapture(Lock& lock) MARAVEL_NO_THREAD_SAFETY_ANALYSIS
{
    capture_ = Capture::Starting;
    atCaptureStart_ = statistics_;
    sent_ = 0;
    // Making a thread may need the system's loader, which somebody may hold who waits for our lock.
    lock.Unlock();
    const bool made = worker_.Start(&Camera::Run, this);
    lock.Relock();
    capture_ = made ? Capture::On : Capture::Off;
    wake_.WakeAll();
    idle_.WakeAll();
    return made ? ZvkErrorSuccess : ZvkErrorResources;
}

ZvkError_t Camera::EndCapture(Lock& lock) MARAVEL_NO_THREAD_SAFETY_ANALYSIS
{
    while (capture_ == Capture::Starting || capture_ == Capture::Ending) {
        idle_.Wait(mutex_);
    }
    if (capture_ == Capture::Off) {
        return ZvkErrorSuccess;
    }
    capture_ = Capture::Ending;
    wake_.WakeAll();
    lock.Unlock();
    worker_.Stop();
    lock.Relock();
    capture_ = Capture::Off;
    busy_ = false;
    if (emission_ != nullptr) {
        emission_->done = true;
        emission_ = nullptr;
    }
    idle_.WakeAll();
    return ZvkErrorSuccess;
}

void Camera::Flush()
{
    statistics_.flushed += frames_.Flush();
    idle_.WakeAll();
}

void Camera::WaitIdle() MARAVEL_NO_THREAD_SAFETY_ANALYSIS
{
    while (busy_) {
        idle_.Wait(mutex_);
    }
}

bool Camera::WaitFrame(const ZvkFrame_t* frame,
                       std::chrono::milliseconds timeout) MARAVEL_NO_THREAD_SAFETY_ANALYSIS
{
    const Clock::time_point until = Clock::now() + timeout;
    while (frames_.IsPending(frame)) {
        if (!idle_.WaitUntil(mutex_, until) && frames_.IsPending(frame)) {
            return false;
        }
    }
    return true;
}

ZvkError_t Camera::Emit(const SimFrameRequest* request) MARAVEL_NO_THREAD_SAFETY_ANALYSIS
{
    while (emission_ != nullptr) {
        idle_.Wait(mutex_);
    }
    if (capture_ != Capture::On) {
        return ZvkErrorInvalidCall;
    }
    Emission emission{request};
    emission_ = &emission;
    wake_.WakeAll();
    while (!emission.done) {
        idle_.Wait(mutex_);
    }
    return emission.result;
}

bool Camera::HasChunks(const ZvkFrame_t* frame) const
{
    return !description_.legacy && features_.At("ChunkModeActive").Int() != 0 && frames_.IsAnnounced(frame) &&
           !frames_.IsPending(frame);
}

void Camera::Run(void* camera)
{
    static_cast<Camera*>(camera)->Loop();
}

// When the next frame is through, as things stand now; none while nothing starts one.
std::optional<Clock::time_point> Camera::NextFrameTime() const
{
    if (!acquiring_ || !started_ || unplugged_ || description_.manual) {
        return std::nullopt;
    }
    if (TriggerIsOn(Trigger::FrameStart) && TriggerSourceOf(Trigger::FrameStart) != "Freerun") {
        return triggeredCount_ == 0 ? std::nullopt : std::optional(triggered_[0]);
    }
    return nextFrame_;
}

// Takes the due frame off the plan.
void Camera::BeginFrame(Clock::time_point now)
{
    if (triggeredCount_ > 0) {
        std::move(triggered_.begin() + 1, triggered_.begin() + static_cast<std::ptrdiff_t>(triggeredCount_),
                  triggered_.begin());
        --triggeredCount_;
    }
    else {
        nextFrame_ += std::chrono::nanoseconds(static_cast<std::int64_t>(FramePeriodUs() * 1000));
        nextFrame_ = std::max(nextFrame_, now); // a late thread does not hurry after
    }
}

void Camera::Loop() MARAVEL_NO_THREAD_SAFETY_ANALYSIS
{
    Lock lock(mutex_);
    thread_ = backend::WorkerThread::CurrentThread();
    while (capture_ == Capture::Starting || capture_ == Capture::On) {
        if (!unplugged_ && g_control.IsUnplugged(index_)) { // by the plan
            SetUnplugged(true);
        }
        if (emission_ != nullptr && capture_ == Capture::On) {
            Emission* emission = emission_;
            emission->result = SendFrame(lock, emission->request);
            emission->done = true;
            emission_ = nullptr;
            idle_.WakeAll();
            continue;
        }
        const std::optional<Clock::time_point> due = NextFrameTime();
        if (!due) {
            wake_.Wait(mutex_);
            continue;
        }
        const Clock::time_point now = Clock::now();
        if (now < *due) {
            wake_.WaitUntil(mutex_, *due);
            continue;
        }
        BeginFrame(now);
        SendFrame(lock, nullptr);
        if (framesLeft_ > 0 && --framesLeft_ == 0) {
            StopAcquisition();
        }
    }
    thread_ = 0;
}

// Fills the oldest queued frame and calls its callback, both without the lock.
ZvkError_t Camera::SendFrame(Lock& lock, const SimFrameRequest* request) MARAVEL_NO_THREAD_SAFETY_ANALYSIS
{
    const std::uint64_t frameId = nextFrameId_++;
    const backend::FramePool::Taken taken = frames_.TakeOldest();
    if (taken.record == nullptr) {
        ++statistics_.lost;
        return ZvkErrorNotAvailable;
    }
    ++sent_;
    const bool incomplete = description_.incompleteEvery != 0 && sent_ % description_.incompleteEvery == 0;
    const FrameGeometry geometry = Geometry();
    const std::uint64_t ticks = Ticks();
    const ZvkHandle_t camera = cameraHandle;
    const ZvkHandle_t stream = streamHandles.empty() ? nullptr : streamHandles.front();
    busy_ = true;
    lock.Unlock();
    FillRecord(taken.record, geometry, request, frameId, ticks, incomplete);
    lock.Relock();
    ++(taken.record->receiveStatus == 0 ? statistics_.complete : statistics_.incomplete);
    frames_.Deliver(taken.record);
    lock.Unlock();
    if (taken.callback != nullptr) {
        taken.callback(camera, stream, taken.record);
    }
    lock.Relock();
    busy_ = false;
    idle_.WakeAll();
    g_control.NoteFrames(index_, statistics_.complete + statistics_.incomplete);
    return ZvkErrorSuccess;
}

void Camera::FillRecord(ZvkFrame_t* frame, const FrameGeometry& geometry, const SimFrameRequest* request,
                        std::uint64_t frameId, std::uint64_t ticks, bool incomplete)
{
    const auto has = [request](std::uint32_t field) {
        return request != nullptr && (request->fields & field) != 0;
    };
    auto* buffer = static_cast<std::uint8_t*>(frame->buffer);
    std::uint64_t bytes = 0;
    if (has(SimFrameHasBytes)) {
        bytes = std::min(request->byteCount, frame->bufferSize);
        if (bytes > 0) {
            std::memcpy(buffer, request->bytes, static_cast<std::size_t>(bytes));
        }
    }
    else {
        // Of an incomplete frame the lower half never came.
        const std::uint64_t room = incomplete ? frame->bufferSize / 2 : frame->bufferSize;
        bytes = std::min(renderer_.Draw(geometry, frameId, buffer, room), room);
    }
    frame->receiveStatus = has(SimFrameHasStatus) ? request->receiveStatus : incomplete ? -1 : 0;
    frame->frameId = has(SimFrameHasFrameId) ? request->frameId : frameId;
    frame->timestamp = has(SimFrameHasTimestamp) ? request->timestamp : ticks;
    frame->imageSize = static_cast<std::uint32_t>(bytes);
    frame->receiveFlags = 0x1F; // frame number, time stamp, image, size and offset are filled
    frame->ancillarySize = 0;
    frame->pixelFormat = has(SimFrameHasPixelFormat) ? request->pixelFormat : geometry.format->code;
    frame->width = has(SimFrameHasSize) ? request->width : geometry.width;
    frame->height = has(SimFrameHasSize) ? request->height : geometry.height;
    frame->offsetX = has(SimFrameHasOffset) ? request->offsetX : geometry.offsetX;
    frame->offsetY = has(SimFrameHasOffset) ? request->offsetY : geometry.offsetY;
}

} // namespace maravel::simulated
