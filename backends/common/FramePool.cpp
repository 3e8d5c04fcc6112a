#include "FramePool.h"

#include <algorithm>
#include <utility>

namespace maravel::backend {

const FramePool::Frame* FramePool::Find(const ZvkFrame_t* frame) const
{
    const auto found = std::find_if(frames_.begin(), frames_.end(),
                                    [frame](const Frame& known) { return known.record == frame; });
    return found == frames_.end() ? nullptr : &*found;
}

FramePool::Frame* FramePool::Find(const ZvkFrame_t* frame)
{
    return const_cast<Frame*>(std::as_const(*this).Find(frame));
}

const char* FramePool::Changed(const Frame& frame)
{
    if (frame.record->buffer != frame.buffer) {
        return "the frame's buffer was changed while it is announced";
    }
    if (frame.record->bufferSize != frame.bufferSize) {
        return "the frame's bufferSize was changed while it is announced";
    }
    return nullptr;
}

FramePool::Answer FramePool::Announce(const ZvkFrame_t* frame, std::uint64_t payloadSize)
{
    if (Find(frame) != nullptr) {
        return {ZvkErrorAlready, "the frame is announced already"};
    }
    if (frame->buffer == nullptr) {
        return {ZvkErrorBadParameter, "the frame has no buffer"};
    }
    if (frame->bufferSize < payloadSize) {
        return {ZvkErrorBadParameter, "the frame's buffer is smaller than the payload"};
    }
    for (const Frame& other : frames_) {
        if (other.buffer == frame->buffer) {
            return {ZvkErrorBadParameter, "the frame's buffer is announced with another frame"};
        }
    }
    frames_.push_back(
        {const_cast<ZvkFrame_t*>(frame), frame->buffer, frame->bufferSize, State::Idle, nullptr, 0});
    return {ZvkErrorSuccess, nullptr};
}

FramePool::Answer FramePool::Queue(const ZvkFrame_t* frame, ZvkFrameCallback callback,
                                   std::uint64_t payloadSize)
{
    Frame* known = Find(frame);
    if (known == nullptr) {
        return {ZvkErrorNotFound, "the frame is not announced"};
    }
    if (known->state != State::Idle) {
        return {ZvkErrorInUse, "the frame is queued already"};
    }
    if (const char* complaint = Changed(*known)) {
        return {ZvkErrorBadParameter, complaint};
    }
    if (known->bufferSize < payloadSize) {
        return {ZvkErrorBadParameter, "the frame's buffer is smaller than the payload"};
    }
    known->state = State::Queued;
    known->callback = callback;
    known->order = nextOrder_++;
    return {ZvkErrorSuccess, nullptr};
}

FramePool::Answer FramePool::Revoke(const ZvkFrame_t* frame)
{
    const Frame* known = Find(frame);
    if (known == nullptr) {
        return {ZvkErrorNotFound, "the frame is not announced"};
    }
    if (known->state != State::Idle) {
        return {ZvkErrorInUse, "the frame is queued"};
    }
    const char* complaint = Changed(*known);
    frames_.erase(frames_.begin() + (known - frames_.data()));
    return {ZvkErrorSuccess, complaint};
}

FramePool::Answer FramePool::RevokeAll()
{
    const char* complaint = nullptr;
    for (const Frame& frame : frames_) {
        if (frame.state != State::Idle) {
            return {ZvkErrorInUse, "a frame is queued"};
        }
        if (complaint == nullptr) {
            complaint = Changed(frame);
        }
    }
    frames_.clear();
    return {ZvkErrorSuccess, complaint};
}

std::uint32_t FramePool::Flush()
{
    std::uint32_t count = 0;
    for (Frame& frame : frames_) {
        if (frame.state == State::Queued) {
            frame.state = State::Idle;
            ++count;
        }
    }
    return count;
}

FramePool::Taken FramePool::TakeOldest()
{
    Frame* oldest = nullptr;
    for (Frame& frame : frames_) {
        if (frame.state == State::Queued && (oldest == nullptr || frame.order < oldest->order)) {
            oldest = &frame;
        }
    }
    if (oldest == nullptr) {
        return {};
    }
    oldest->state = State::Filling;
    return {oldest->record, oldest->callback};
}

FramePool::Taken FramePool::Take(const ZvkFrame_t* frame)
{
    Frame* known = Find(frame);
    if (known == nullptr || known->state != State::Queued) {
        return {};
    }
    known->state = State::Filling;
    return {known->record, known->callback};
}

void FramePool::Deliver(const ZvkFrame_t* frame)
{
    Frame* known = Find(frame);
    if (known != nullptr && known->state == State::Filling) {
        known->state = State::Idle;
    }
}

bool FramePool::IsPending(const ZvkFrame_t* frame) const
{
    const Frame* known = Find(frame);
    return known != nullptr && known->state != State::Idle;
}

std::uint32_t FramePool::QueuedCount() const
{
    return static_cast<std::uint32_t>(std::count_if(
        frames_.begin(), frames_.end(), [](const Frame& frame) { return frame.state == State::Queued; }));
}

} // namespace maravel::backend
