// Mutex and condition of the backends on POSIX systems; windows/NativeLock.h has the same names.
#pragma once

#include "platform/Compiler.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace maravel::backend {

// A plain mutex that may stand in never-destroyed static storage and needs no clean-up.
class MARAVEL_CAPABILITY("mutex") Mutex
{
public:
    constexpr Mutex() = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void Lock() MARAVEL_ACQUIRE() { native_.lock(); }
    void Unlock() MARAVEL_RELEASE() { native_.unlock(); }

private:
    friend class Condition;
    std::mutex native_;
};

// Waits with a Mutex that the caller holds; wakes spuriously at times.
class Condition
{
public:
    // Waits until woken or until `until`; false when the time has come.
    bool WaitUntil(Mutex& mutex, std::chrono::steady_clock::time_point until) MARAVEL_REQUIRES(mutex)
    {
        std::unique_lock<std::mutex> lock(mutex.native_, std::adopt_lock);
        const bool woken = native_.wait_until(lock, until) == std::cv_status::no_timeout;
        lock.release();
        return woken;
    }

    void Wait(Mutex& mutex) MARAVEL_REQUIRES(mutex)
    {
        std::unique_lock<std::mutex> lock(mutex.native_, std::adopt_lock);
        native_.wait(lock);
        lock.release();
    }

    void WakeAll() { native_.notify_all(); }

private:
    std::condition_variable native_;
};

} // namespace maravel::backend
