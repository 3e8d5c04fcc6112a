// The received frames of one channel that the host has not fetched yet, oldest first.
#pragma once

#include "sdk/ZvkTypes.h"

#include <array>
#include <cstddef>

namespace maravel {

// A channel has at most this many frame records, and a record waits at most once.
inline constexpr std::size_t MaxFramesPerChannel = 16;

// A ring of pointers to the channel's own frame records; it never allocates. Guarded by g_frameMutex.
class FrameFifo
{
public:
    // False when MaxFramesPerChannel frames wait already.
    bool Append(ZvkFrame_t* frame) noexcept
    {
        if (count_ == frames_.size()) {
            return false;
        }
        frames_[(first_ + count_) % frames_.size()] = frame;
        ++count_;
        return true;
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

    bool Contains(const ZvkFrame_t* frame) const noexcept
    {
        for (std::size_t i = 0; i < count_; ++i) {
            if (frames_[(first_ + i) % frames_.size()] == frame) {
                return true;
            }
        }
        return false;
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
