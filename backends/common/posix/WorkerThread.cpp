#include "WorkerThread.h"

#include <atomic>
#include <new>
#include <pthread.h>
#include <system_error>
#include <thread>

namespace maravel::backend {
namespace {

constinit std::atomic<std::uint32_t> g_alive{0};

} // namespace

struct WorkerThread::State
{
    std::thread thread;
};

bool WorkerThread::Start(Body body, void* context)
{
    State* state = new (std::nothrow) State;
    if (state == nullptr) {
        return false;
    }
    g_alive.fetch_add(1);
    try {
        state->thread = std::thread([body, context] {
            body(context);
            g_alive.fetch_sub(1);
        });
    }
    catch (const std::system_error&) {
        g_alive.fetch_sub(1);
        delete state;
        return false;
    }
    state_ = state;
    return true;
}

void WorkerThread::Wait()
{
    if (state_ == nullptr) {
        return;
    }
    state_->thread.join();
    delete state_;
    state_ = nullptr;
}

void WorkerThread::Stop()
{
    Wait();
}

std::uint64_t WorkerThread::CurrentThread()
{
    return static_cast<std::uint64_t>(pthread_self());
}

std::uint32_t WorkerThread::AliveCount()
{
    return g_alive.load();
}

} // namespace maravel::backend
