// A plain mutex and its lock, annotated for clang's thread-safety analysis.
#pragma once

#include "platform/Compiler.h"

#include <emmintrin.h>
#include <mutex>
#include <thread>

namespace maravel {

class MARAVEL_CAPABILITY("mutex") Mutex
{
public:
    // What is done under a mutex mostly takes less than a microsecond, and going to sleep for it costs both
    // threads many: so waits a little before it sleeps.
    void lock() MARAVEL_ACQUIRE() MARAVEL_NO_THREAD_SAFETY_ANALYSIS
    {
        for (int turn = 0; turn < kTurns; ++turn) {
            if (mutex_.try_lock()) {
                return;
            }
            _mm_pause();
        }
        mutex_.lock();
    }
    void unlock() MARAVEL_RELEASE() { mutex_.unlock(); }
    bool try_lock() MARAVEL_TRY_ACQUIRE(true) { return mutex_.try_lock(); }

private:
    static constexpr int kTurns = 200; // some microseconds

    std::mutex mutex_;
};

class MARAVEL_SCOPED_CAPABILITY MutexLock
{
public:
    explicit MutexLock(Mutex& mutex) MARAVEL_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;
    ~MutexLock() MARAVEL_RELEASE() { mutex_.unlock(); }

private:
    Mutex& mutex_;
};

// For the end of the module: takes the mutex if it can be had in a bounded number of turns and goes on
// without it if not. Its holder was then ended by the process's end in the middle of its work, and nobody
// else runs.
class MARAVEL_SCOPED_CAPABILITY BoundedMutexLock
{
public:
    explicit BoundedMutexLock(Mutex& mutex) MARAVEL_ACQUIRE(mutex) MARAVEL_NO_THREAD_SAFETY_ANALYSIS
        : mutex_(mutex),
          held_(mutex_.try_lock())
    {
        for (int attempt = 0; !held_ && attempt < kAttempts; ++attempt) {
            std::this_thread::yield();
            held_ = mutex_.try_lock();
        }
    }
    BoundedMutexLock(const BoundedMutexLock&) = delete;
    BoundedMutexLock& operator=(const BoundedMutexLock&) = delete;
    ~BoundedMutexLock() MARAVEL_RELEASE() MARAVEL_NO_THREAD_SAFETY_ANALYSIS
    {
        if (held_) {
            mutex_.unlock();
        }
    }

private:
    static constexpr int kAttempts = 100'000;

    Mutex& mutex_;
    bool held_;
};

} // namespace maravel
