#include "HelperThreads.h"

#include "Lock.h"
#include "ModuleLife.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <new>
#include <windows.h>

namespace maravel::backend {

// A pool of the system's: its threads wait in the system's code, not in ours, so that the library can be
// unloaded without waiting for them where that is not allowed.
struct HelperThreads::State
{
    PTP_POOL pool = nullptr;
    PTP_WORK work = nullptr;
    std::atomic<bool> taken{false};
    Body body = nullptr; // these two are the caller's that has taken the helpers
    void* context = nullptr;

    static void CALLBACK Help(PTP_CALLBACK_INSTANCE, void* state, PTP_WORK)
    {
        const auto* self = static_cast<const State*>(state);
        self->body(self->context);
    }

    bool Make()
    {
        pool = CreateThreadpool(nullptr);
        if (pool == nullptr) {
            return false;
        }
        SetThreadpoolThreadMaximum(pool, std::max(1u, Processors() - 1));
        TP_CALLBACK_ENVIRON environment;
        InitializeThreadpoolEnvironment(&environment);
        SetThreadpoolCallbackPool(&environment, pool);
        work = CreateThreadpoolWork(&Help, this, &environment);
        return work != nullptr;
    }

    ~State()
    {
        if (work != nullptr) {
            CloseThreadpoolWork(work);
        }
        if (pool != nullptr) {
            CloseThreadpool(pool);
        }
    }

    static State* New()
    {
        State* state = new (std::nothrow) State;
        if (state != nullptr && !state->Make()) {
            delete state;
            return nullptr;
        }
        return state;
    }
};

namespace {

constinit Mutex g_making;

} // namespace

HelperThreads::~HelperThreads()
{
    // The system has ended the pool's threads wherever they stood.
    if (!ProcessIsEnding()) {
        delete state_;
    }
}

void HelperThreads::Run(unsigned count, Body body, void* context)
{
    count = std::min(count, Processors() - 1);
    State* state = nullptr;
    if (count > 0) {
        Lock lock(g_making);
        if (state_ == nullptr) {
            state_ = State::New();
        }
        if (state_ != nullptr && !state_->taken.exchange(true)) {
            state = state_;
        }
    }
    if (state == nullptr) {
        return body(context);
    }
    state->body = body;
    state->context = context;
    for (unsigned i = 0; i < count; ++i) {
        SubmitThreadpoolWork(state->work);
    }
    body(context);
    WaitForThreadpoolWorkCallbacks(state->work, TRUE); // those that have not begun are not needed any more
    state->taken.store(false);
}

unsigned HelperThreads::Processors()
{
    static const unsigned count = [] {
        DWORD_PTR usable = 0, system = 0;
        const bool known = GetProcessAffinityMask(GetCurrentProcess(), &usable, &system) != 0;
        return static_cast<unsigned>(std::max(1, known ? std::popcount(usable) : 1));
    }();
    return count;
}

} // namespace maravel::backend
