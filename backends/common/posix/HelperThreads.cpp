#include "HelperThreads.h"

#include "Lock.h"

#include <algorithm>
#include <new>
#include <sched.h>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace maravel::backend {

struct HelperThreads::State
{
    Mutex mutex; // a leaf: nothing else is locked or called under it
    Condition wake;
    Condition idle;
    Body body MARAVEL_GUARDED_BY(mutex) = nullptr;
    void* context MARAVEL_GUARDED_BY(mutex) = nullptr;
    unsigned wanted MARAVEL_GUARDED_BY(mutex) = 0; // helpers that may still begin
    unsigned active MARAVEL_GUARDED_BY(mutex) = 0; // helpers that have begun and not returned
    bool taken MARAVEL_GUARDED_BY(mutex) = false;  // by a caller
    bool stop MARAVEL_GUARDED_BY(mutex) = false;
    std::vector<std::thread> threads; // the caller's that has taken the helpers

    void Start(std::size_t count)
    {
        try {
            while (threads.size() < count) {
                threads.emplace_back([this] { Help(); });
            }
        }
        catch (const std::system_error&) {
            // As many as the system gives.
        }
    }

    void Help() MARAVEL_NO_THREAD_SAFETY_ANALYSIS
    {
        Lock lock(mutex);
        while (!stop) {
            if (wanted == 0) {
                wake.Wait(mutex);
                continue;
            }
            --wanted;
            ++active;
            const Body work = body;
            void* const with = context;
            lock.Unlock();
            work(with);
            lock.Relock();
            if (--active == 0) {
                idle.WakeAll();
            }
        }
    }

    bool Take()
    {
        Lock lock(mutex);
        const bool free = !taken;
        taken = true;
        return free;
    }

    void Offer(unsigned count, Body work, void* with)
    {
        Lock lock(mutex);
        body = work;
        context = with;
        wanted = count;
        wake.WakeAll();
    }

    void Stop()
    {
        Lock lock(mutex);
        stop = true;
        wake.WakeAll();
    }

    // Those that have not begun are not needed any more.
    void Finish() MARAVEL_NO_THREAD_SAFETY_ANALYSIS
    {
        Lock lock(mutex);
        wanted = 0;
        while (active > 0) {
            idle.Wait(mutex);
        }
        taken = false;
    }
};

namespace {

constinit Mutex g_making;

} // namespace

HelperThreads::~HelperThreads()
{
    State* state = nullptr;
    {
        Lock lock(g_making);
        state = std::exchange(state_, nullptr);
    }
    // A process may end while a host thread is still at work here: then everything stays as it is.
    if (state == nullptr || !state->Take()) {
        return;
    }
    state->Stop();
    for (std::thread& thread : state->threads) {
        thread.join();
    }
    delete state;
}

void HelperThreads::Run(unsigned count, Body body, void* context)
{
    count = std::min(count, Processors() - 1);
    State* state = nullptr;
    if (count > 0) {
        Lock lock(g_making);
        if (state_ == nullptr) {
            state_ = new (std::nothrow) State;
        }
        if (state_ != nullptr && state_->Take()) {
            state = state_;
        }
    }
    if (state == nullptr) {
        return body(context);
    }
    state->Start(count);
    state->Offer(count, body, context);
    body(context);
    state->Finish();
}

unsigned HelperThreads::Processors()
{
    static const unsigned count = [] {
        cpu_set_t usable;
        const bool known = sched_getaffinity(0, sizeof usable, &usable) == 0;
        return static_cast<unsigned>(std::max(1, known ? CPU_COUNT(&usable) : 1));
    }();
    return count;
}

} // namespace maravel::backend
