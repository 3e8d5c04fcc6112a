#include "WorkerThread.h"

#include <atomic>
#include <new>
#include <windows.h>

namespace maravel::backend {
namespace {

constinit std::atomic<std::uint32_t> g_alive{0};

enum class Phase : int
{
    NotBegun,
    Running,
    Cancelled
};

} // namespace

// Shared by the owner and the thread; the last of the two frees it.
struct WorkerThread::State
{
    Body body = nullptr;
    void* context = nullptr;
    HMODULE library = nullptr; // the thread's own reference to our code
    HANDLE thread = nullptr;
    HANDLE done = nullptr;
    std::atomic<Phase> phase{Phase::NotBegun};
    std::atomic<int> owners{2};

    static DWORD WINAPI Main(void* argument);

    void Release()
    {
        if (owners.fetch_sub(1) != 1) {
            return;
        }
        if (done != nullptr) {
            CloseHandle(done);
        }
        if (thread != nullptr) {
            CloseHandle(thread);
        }
        delete this;
    }
};

// Started by the system rather than by the compiler's library, and left without a return: the last reference
// to the library goes together with the thread.
DWORD WINAPI WorkerThread::State::Main(void* argument)
{
    auto* state = static_cast<State*>(argument);
    const HMODULE library = state->library;
    Phase expected = Phase::NotBegun;
    if (state->phase.compare_exchange_strong(expected, Phase::Running)) {
        state->body(state->context);
        g_alive.fetch_sub(1);
        SetEvent(state->done);
    }
    state->Release();
    FreeLibraryAndExitThread(library, 0);
}

bool WorkerThread::Start(Body body, void* context)
{
    State* state = new (std::nothrow) State;
    if (state == nullptr) {
        return false;
    }
    state->body = body;
    state->context = context;
    state->done = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    if (state->done != nullptr &&
        GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                           reinterpret_cast<LPCWSTR>(reinterpret_cast<void*>(&State::Main)),
                           &state->library)) {
        g_alive.fetch_add(1);
        // Suspended, so that everything is in place before the thread looks at it.
        state->thread = CreateThread(nullptr, 0, &State::Main, state, CREATE_SUSPENDED, nullptr);
        if (state->thread != nullptr) {
            state_ = state;
            ResumeThread(state->thread);
            return true;
        }
        g_alive.fetch_sub(1);
        FreeLibrary(state->library);
    }
    state->owners.store(1);
    state->Release();
    return false;
}

void WorkerThread::Wait()
{
    if (state_ == nullptr) {
        return;
    }
    // The thread's own handle too: a process that ends kills its threads before it unloads libraries.
    const HANDLE ends[] = {state_->done, state_->thread};
    WaitForMultipleObjects(2, ends, FALSE, INFINITE);
    state_->Release();
    state_ = nullptr;
}

void WorkerThread::Stop()
{
    if (state_ == nullptr) {
        return;
    }
    Phase expected = Phase::NotBegun;
    if (state_->phase.compare_exchange_strong(expected, Phase::Cancelled)) {
        g_alive.fetch_sub(1);
        state_->Release();
        state_ = nullptr;
        return;
    }
    Wait();
}

std::uint64_t WorkerThread::CurrentThread()
{
    return GetCurrentThreadId();
}

std::uint32_t WorkerThread::AliveCount()
{
    return g_alive.load();
}

} // namespace maravel::backend
