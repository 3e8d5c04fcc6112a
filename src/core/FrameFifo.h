// The received frames of one channel that the host has not fetched yet, oldest first. Any thread that holds
// g_frameMutex.
#pragma once

#include "sdk/ZvkTypes.h"

#include <array>
#include <cstddef>

namespace maravel {

// A channel has at most this many frame records, and a record waits at most once.
inline constexpr std::size_t MaxFramesPerChannel = 16;

// A ring of pointers to the channel's own frame records; it never allocates.
class FrameFifo
{
public:
    // Only when fewer than MaxFramesPerChannel frames wait.
    void Append(ZvkFrame_t* frame) noexcept
    {
        frames_[(first_ + count_) % frames_.size()] = frame;
        ++count_;
    }

    // Only when not empty.
    ZvkFrame_t* Oldest() const noexcept { return frames_[first_]; }

    // Nothing happens when empty.
    void RemoveOldest() noexcept
    {
        if (count_ > 0) {
            first_ = (first_ + 1) % frames_.size();
            --count_;
        }
    }

    // The youngest frame, which no longer waits then. Only when not empty.
    ZvkFrame_t* TakeYoungest() noexcept
    {
        --count_;
        return frames_[(first_ + count_) % frames_.size()];
    }

    bool Contains(const ZvkFrame_t* frame) const noexcept
    {
        std::size_t i = 0;
        while (i < count_ && frames_[(first_ + i) % frames_.size()] != frame) {
            ++i;
        }
        return i < count_;
    }

    std::size_t Count() const noexcept { return count_; }
    bool IsEmpty() const noexcept { return count_ == 0; }

    void Clear() noexcept { count_ = 0; }

private:
    std::array<ZvkFrame_t*, MaxFramesPerChannel> frames_ = {};
    std::size_t first_ = 0;
    std::size_t count_ = 0;
};

} // namespace maravel
