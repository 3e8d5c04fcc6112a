// What the library holds between ZvkStartup and ZvkShutdown, and how an entry point gets at it.
#pragma once

#include "Camera.h"
#include "TextStore.h"
#include "backends/common/Handles.h"
#include "backends/common/Lock.h"

#include <memory>
#include <vector>

namespace maravel::aravis {

// The started library. Guarded by its lock but for what says otherwise.
class Library
{
    TextStore texts_; // which the cameras refer to

public:
    // Any thread, without the lock: it takes a second, unless the last look is fresh. Cameras are
    // remembered until ZvkShutdown, because their texts and handles are, and so that one that comes back is
    // the same.
    void LookRound();

    Camera* FindCamera(const char* id) const;
    std::vector<std::unique_ptr<Camera>> cameras;
    backend::HandleTable handles;
    bool lookedRound = false;
    std::uint32_t users = 0; // calls that are under way
    bool closing = false;
    backend::Condition unused;

private:
    void Note(const Identity& seen);
};

// The library's lock. Nothing that waits for a camera is called under it.
extern backend::Mutex g_mutex;

// One call's use of the started library, which cannot go away meanwhile; cameras stay too. Holds no lock.
class Session
{
public:
    Session();
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    bool IsStarted() const { return library_ != nullptr; }
    Library& Get() const { return *library_; }

    // What a live handle stands for; null for any other.
    struct Named
    {
        Camera* camera = nullptr;
        backend::HandleKind kind{};
        std::uint32_t index = 0;
    };
    Named Find(ZvkHandle_t handle) const;
    // The open camera of its handle; null for any other.
    Camera* FindCamera(ZvkHandle_t handle) const;

private:
    Library* library_ = nullptr;
};

// ZvkStartup and ZvkShutdown.
ZvkError_t StartLibrary();
void ShutDownLibrary();

} // namespace maravel::aravis
