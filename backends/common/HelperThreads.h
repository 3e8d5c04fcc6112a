// Threads that help a caller with work that it would otherwise do alone. They belong to the library, start
// when they are first wanted and wait in between; none is left when the library is unloaded.
#pragma once

namespace maravel::backend {

class HelperThreads
{
public:
    using Body = void (*)(void* context);

    constexpr HelperThreads() = default;
    ~HelperThreads();
    HelperThreads(const HelperThreads&) = delete;
    HelperThreads& operator=(const HelperThreads&) = delete;

    // Runs body(context) on the calling thread and at the same time on as many helpers as are free, up to
    // `count` and one less than there are processors. Returns when all that began have returned; they share
    // the work out among themselves by means of the context. While one caller is helped, others are not.
    // `body` throws nothing.
    void Run(unsigned count, Body body, void* context);

    // Processors that this process may use, at least 1.
    static unsigned Processors();

private:
    struct State;
    State* state_ = nullptr; // made by the first caller that wants help
};

} // namespace maravel::backend
