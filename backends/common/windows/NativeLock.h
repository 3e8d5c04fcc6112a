// Mutex and condition of the backends on Windows; posix/NativeLock.h has the same names. The system's own
// slim locks: they hold no memory and no handle, so that a library that is loaded and unloaded all day leaves
// nothing behind, and they need no per-thread data of a runtime library.
#pragma once

#include "platform/Compiler.h"

#include <chrono>
#include <windows.h>

namespace maravel::backend {

// A plain mutex that may stand in never-destroyed static storage and needs no clean-up.
class MARAVEL_CAPABILITY("mutex") Mutex
{
public:
    constexpr Mutex() = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void Lock() MARAVEL_ACQUIRE() { AcquireSRWLockExclusive(&native_); }
    void Unlock() MARAVEL_RELEASE() { ReleaseSRWLockExclusive(&native_); }

private:
    friend class Condition;
    SRWLOCK native_ = SRWLOCK_INIT;
};

// Waits with a Mutex that the caller holds; wakes spuriously at times.
class Condition
{
public:
    // Waits until woken or until `until`; false when the time has come.
    bool WaitUntil(Mutex& mutex, std::chrono::steady_clock::time_point until) MARAVEL_REQUIRES(mutex)
    {
        using std::chrono::milliseconds;
        const auto now = std::chrono::steady_clock::now();
        if (until <= now) {
            return false;
        }
        constexpr milliseconds longest(24 * 3600 * 1000);
        const milliseconds wait =
            until - now > longest ? longest : std::chrono::ceil<milliseconds>(until - now);
        return SleepConditionVariableSRW(&native_, &mutex.native_, static_cast<DWORD>(wait.count()), 0) != 0;
    }

    void Wait(Mutex& mutex) MARAVEL_REQUIRES(mutex)
    {
        SleepConditionVariableSRW(&native_, &mutex.native_, INFINITE, 0);
    }

    void WakeAll() { WakeAllConditionVariable(&native_); }

private:
    CONDITION_VARIABLE native_ = CONDITION_VARIABLE_INIT;
};

} // namespace maravel::backend
