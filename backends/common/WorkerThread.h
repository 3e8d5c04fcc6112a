// A thread of a library that may be told to stop from anywhere, the system's unloading of libraries included.
// There a thread can be waited for but cannot finish leaving: so what is waited for is the end of its work,
// and the thread keeps the library mapped until it has left its code.
#pragma once

#include <cstdint>

namespace maravel::backend {

class WorkerThread
{
public:
    using Body = void (*)(void* context);

    WorkerThread() = default;
    ~WorkerThread() { Stop(); }
    WorkerThread(const WorkerThread&) = delete;
    WorkerThread& operator=(const WorkerThread&) = delete;

    // Starts a thread that runs body(context); the owner tells the body to return by means of its own. False
    // when the system gives no thread. Not for a thread object that is started already.
    bool Start(Body body, void* context);

    bool IsStarted() const { return state_ != nullptr; }

    // Waits until the body has returned. Not to be called by the thread itself.
    void Wait();

    // Like Wait, but a body that has not begun yet never will.
    void Stop();

    // Names the calling thread, whoever made it; never 0.
    static std::uint64_t CurrentThread();

    // Threads of this library whose work has not ended.
    static std::uint32_t AliveCount();

private:
    struct State;
    State* state_ = nullptr;
};

} // namespace maravel::backend
