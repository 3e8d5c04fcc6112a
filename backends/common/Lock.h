// The scoped lock of the backends, on the mutex of the system that is built for.
#pragma once

#include "NativeLock.h"

namespace maravel::backend {

// Holds a Mutex from construction to destruction, but for the time between Unlock and Lock.
class MARAVEL_SCOPED_CAPABILITY Lock
{
public:
    explicit Lock(Mutex& mutex) MARAVEL_ACQUIRE(mutex) : mutex_(mutex) { mutex_.Lock(); }
    ~Lock() MARAVEL_RELEASE()
    {
        if (held_) {
            mutex_.Unlock();
        }
    }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

    void Unlock() MARAVEL_RELEASE()
    {
        mutex_.Unlock();
        held_ = false;
    }
    void Relock() MARAVEL_ACQUIRE()
    {
        mutex_.Lock();
        held_ = true;
    }

private:
    Mutex& mutex_;
    bool held_ = true;
};

} // namespace maravel::backend
