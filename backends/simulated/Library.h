// What the library holds between ZvkStartup and ZvkShutdown, and how an entry point gets at it.
#pragma once

#include "Camera.h"
#include "backends/common/Handles.h"
#include "backends/common/Lock.h"
#include "backends/common/ViolationLog.h"
#include "backends/common/WorkerThread.h"

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace maravel::simulated {

// Who wants to hear of a feature's changes.
struct InvalidationListener
{
    ZvkHandle_t handle;
    std::string name;
    ZvkInvalidationCallback callback;
    void* userContext;
};

// The started library. Guarded by g_mutex.
class Library
{
public:
    explicit Library(backend::Mutex& mutex) : mutex_(mutex) {}

    // Makes the cameras and the handles that live as long as the library; false: `error` says why.
    bool Build(std::vector<CameraDescription> descriptions, std::string* error);
    // Ends whatever runs. Complains of what the caller left open.
    void TearDown(backend::Lock& lock);

    std::vector<std::unique_ptr<Camera>>& Cameras() { return cameras_; }
    backend::HandleTable& Handles() { return handles_; }
    Camera* FindCamera(const char* id) const;
    // The features behind any live handle; null for a dead one.
    FeatureSet* FeaturesOf(ZvkHandle_t handle) const;

    void Open(Camera& camera);
    // Also ends the capture and forgets the frames.
    void Close(Camera& camera, backend::Lock& lock);

    // Feature changes, told on a thread of the library.
    ZvkError_t Listen(InvalidationListener listener, backend::Lock& lock);
    bool StopListening(ZvkHandle_t handle, const char* name, ZvkInvalidationCallback callback,
                       backend::Lock& lock);

    std::uint32_t users = 0; // calls that are under way; the last one wakes the shutdown
    bool closing = false;
    backend::Condition unused;

private:
    enum class Events : std::uint8_t
    {
        Off,
        Starting,
        On
    };

    void Connect(FeatureSet& features, ZvkHandle_t handle, Camera& camera);
    void NoteChange(ZvkHandle_t handle, const char* name);
    // Forgets the listeners that fit; on return no callback of theirs runs any more, unless it is the caller.
    // Whether there were any.
    template <class Fits>
    bool EndListening(const Fits& fits);
    static void RunEvents(void* library);
    void EventLoop();

    backend::Mutex& mutex_;
    std::vector<std::unique_ptr<Camera>> cameras_;
    backend::HandleTable handles_;

    std::vector<InvalidationListener> listeners_;
    std::vector<InvalidationListener> changes_; // still to be told
    backend::WorkerThread eventThread_;
    std::uint64_t eventThreadId_ = 0;
    Events events_ = Events::Off;
    bool stopEvents_ = false;
    bool telling_ = false;
    backend::Condition eventWake_;
    backend::Condition eventIdle_;
};

// The library's one lock, and what it guards. Neither is ever destroyed.
extern backend::Mutex g_mutex;
extern backend::ViolationLog g_violations;

// One call's way into the library: holds the lock and, when started, keeps the library alive. Complains of a
// call that comes before ZvkStartup or after ZvkShutdown unless `quiet`.
class Session
{
public:
    explicit Session(const char* entry, bool quiet = false) MARAVEL_NO_THREAD_SAFETY_ANALYSIS;
    ~Session() MARAVEL_NO_THREAD_SAFETY_ANALYSIS;
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    bool IsStarted() const { return library_ != nullptr; }
    Library& Get() const { return *library_; }
    backend::Lock& Held() { return lock_; }
    const char* Entry() const { return entry_; }

    // The open camera of a handle. Null: dead or foreign, which has been complained of.
    Camera* FindCamera(ZvkHandle_t handle) const;
    // Complains of a handle that is not alive.
    ZvkError_t BadHandle(ZvkHandle_t handle) const;
    // Complains of an output that is null or a record of another size.
    ZvkError_t Misuse(ZvkError_t code, const char* what) const;

private:
    backend::Lock lock_;
    const char* entry_;
    Library* library_ = nullptr;
};

// Has the faults that are not a camera's shape happen, and the others from the next start on. A failure of
// the very start that is under way goes to `refusal`; null: none is. False: too many, or an entry point that
// is none.
bool PlanFaults(const std::vector<PlannedFault>& faults, ZvkError_t* refusal, std::string* error);

// ZvkStartup and ZvkShutdown.
ZvkError_t StartLibrary();
void ShutDownLibrary();

} // namespace maravel::simulated
