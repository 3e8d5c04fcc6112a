// The adapter's two mutexes, and the lock that takes them. Any thread.
#pragma once

#include "platform/Compiler.h"
#include "platform/Win32.h"

#include <atomic>
#include <emmintrin.h>
#include <mutex>
#include <thread>

namespace maravel {

// A plain mutex that knows its holder. Annotated for clang's thread-safety analysis.
class MARAVEL_CAPABILITY("mutex") Mutex
{
public:
    // What is done under a mutex mostly takes less than a microsecond, and going to sleep for it costs both
    // threads many: so waits a little before it sleeps.
    void lock() MARAVEL_ACQUIRE() MARAVEL_NO_THREAD_SAFETY_ANALYSIS
    {
        for (int turn = 0; turn < kTurns; ++turn) {
            if (try_lock()) {
                return;
            }
            _mm_pause();
        }
        mutex_.lock();
        holder_.store(GetCurrentThreadId(), std::memory_order_relaxed);
    }

    void unlock() MARAVEL_RELEASE()
    {
        holder_.store(kNobody, std::memory_order_relaxed);
        mutex_.unlock();
    }

    bool try_lock() MARAVEL_TRY_ACQUIRE(true)
    {
        const bool held = mutex_.try_lock();
        if (held) {
            holder_.store(GetCurrentThreadId(), std::memory_order_relaxed);
        }
        return held;
    }

    // Whether the calling thread holds the mutex: waiting for it would then never end.
    bool IsHeldHere() const noexcept
    {
        return holder_.load(std::memory_order_relaxed) == GetCurrentThreadId();
    }

private:
    static constexpr int kTurns = 200;  // some microseconds
    static constexpr DWORD kNobody = 0; // no thread has this number

    std::mutex mutex_;
    std::atomic<DWORD> holder_{kNobody};
};

// How long a lock waits for its mutex.
enum class Patience
{
    Endless, // on every path of the host and of the SDK
    // At the end of the module: a holder that does not let go in a bounded number of turns was ended by the
    // process's end in the middle of its work, and nobody else runs. The lock then goes on without the mutex.
    Bounded
};

class MARAVEL_SCOPED_CAPABILITY MutexLock
{
public:
    explicit MutexLock(Mutex& mutex, Patience patience = Patience::Endless)
        MARAVEL_ACQUIRE(mutex) MARAVEL_NO_THREAD_SAFETY_ANALYSIS : mutex_(mutex)
    {
        if (patience == Patience::Endless) {
            mutex_.lock();
            return;
        }
        held_ = mutex_.try_lock();
        for (int attempt = 0; !held_ && attempt < kAttempts; ++attempt) {
            std::this_thread::yield();
            held_ = mutex_.try_lock();
        }
    }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;
    ~MutexLock() MARAVEL_RELEASE() MARAVEL_NO_THREAD_SAFETY_ANALYSIS
    {
        if (held_) {
            mutex_.unlock();
        }
    }

private:
    static constexpr int kAttempts = 100'000;

    Mutex& mutex_;
    bool held_ = true;
};

// Held by GetVideoChannel and by every host callback for its whole run. Taken before g_frameMutex where both
// are needed. Lives as long as the module.
extern Mutex g_adapterMutex;

// Held by the SDK's frame callback, and by host entries only around what they do with the set of acquiring
// cameras, with a channel's FIFO and counters, and with its list of frames. No host entry calls the SDK while
// it holds it: the SDK may be waiting for a callback that waits for this mutex. Lives as long as the module.
extern Mutex g_frameMutex;

} // namespace maravel
