// The frames of one stream as its library sees them: announced, queued, being filled, being handed over.
// Checks the caller's part strictly. Not locked: the owner's lock guards it.
#pragma once

#include "sdk/ZvkTypes.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace maravel::backend {

class FramePool
{
public:
    // What a caller gets, and what it did wrong (null: nothing).
    struct Answer
    {
        ZvkError_t code;
        const char* complaint;
    };

    // A frame taken out for filling.
    struct Taken
    {
        ZvkFrame_t* record = nullptr; // null: none was queued
        ZvkFrameCallback callback = nullptr;
    };

    Answer Announce(const ZvkFrame_t* frame, std::uint64_t payloadSize);
    Answer Queue(const ZvkFrame_t* frame, ZvkFrameCallback callback, std::uint64_t payloadSize);
    Answer Revoke(const ZvkFrame_t* frame);
    Answer RevokeAll();

    // Takes queued frames back unfilled; returns how many.
    std::uint32_t Flush();

    // The oldest queued frame is the library's alone from now on, until Deliver.
    Taken TakeOldest();
    // The same with a queued frame that somebody else has picked.
    Taken Take(const ZvkFrame_t* frame);
    // The frame is filled. The caller may queue it again from here on, within its callback too.
    void Deliver(const ZvkFrame_t* frame);

    bool IsAnnounced(const ZvkFrame_t* frame) const { return Find(frame) != nullptr; }
    // Queued or being filled.
    bool IsPending(const ZvkFrame_t* frame) const;
    std::uint32_t AnnouncedCount() const { return static_cast<std::uint32_t>(frames_.size()); }
    std::uint32_t QueuedCount() const;

private:
    enum class State : std::uint8_t
    {
        Idle,
        Queued,
        Filling
    };

    struct Frame
    {
        ZvkFrame_t* record;
        void* buffer; // as announced
        std::uint32_t bufferSize;
        State state;
        ZvkFrameCallback callback;
        std::uint64_t order; // of queueing
    };

    const Frame* Find(const ZvkFrame_t* frame) const;
    Frame* Find(const ZvkFrame_t* frame);
    static const char* Changed(const Frame& frame);

    std::vector<Frame> frames_;
    std::uint64_t nextOrder_ = 0;
};

} // namespace maravel::backend
