// What the control interface has set and what it will be asked: it outlives any session of the library, holds
// no memory of the heap, and is never destroyed.
#pragma once

#include "FaultPlan.h"
#include "backends/common/Lock.h"
#include "sdk/ZvkTypes.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <string>

namespace maravel::simulated {

class ControlState
{
public:
    static constexpr std::uint32_t MaxCameras = 32;

    void Reset();

    // False: too long.
    bool SetDescription(const char* text);
    // False: none is set, the file counts.
    bool GetDescription(std::string* text);
    void SetError(const std::string& error);
    std::uint32_t GetError(char* buffer, std::uint32_t size);

    bool ScriptCameraCounts(const std::uint32_t* counts, std::uint32_t n);
    // How many cameras this listing sees.
    std::uint32_t NextCameraCount(std::uint32_t described);

    bool HoldCommand(std::uint32_t camera, const char* name, bool hold);
    bool IsHeld(std::uint32_t camera, const char* name);
    void SetUnplugged(std::uint32_t camera, bool unplugged);
    // By SetUnplugged or by the plan.
    bool IsUnplugged(std::uint32_t camera);

    // The plan of faults. What shapes a camera counts from the next start; unplugging from BeginPlan on, or,
    // when it waits for frames, from the one that it waits for.
    struct CameraShape
    {
        std::uint32_t incompleteEvery = 0;
        bool silent = false;
        bool busy = false;
    };
    bool TakeFirstStart();
    void Shape(const PlannedFault& fault);
    CameraShape ShapeOf(std::uint32_t camera);
    // False: too many.
    bool PlanUnplug(const PlannedFault& fault);
    void BeginPlan();
    void NoteFrames(std::uint32_t camera, std::uint64_t sent);

    // The last callback that a camera was given, and the handles that it went with.
    struct Registration
    {
        ZvkFrameCallback callback = nullptr;
        ZvkHandle_t camera = nullptr;
        ZvkHandle_t stream = nullptr;
    };
    void Remember(std::uint32_t camera, const Registration& registration);
    Registration Recall(std::uint32_t camera);

private:
    struct Hold
    {
        std::uint32_t camera;
        char name[64];
    };

    using Clock = std::chrono::steady_clock;
    struct Unplugging
    {
        std::uint32_t camera, afterMs, afterFrames, forMs;
        bool begun;
        Clock::time_point begin;
    };

    backend::Mutex mutex_; // a leaf
    bool hasDescription_ MARAVEL_GUARDED_BY(mutex_) = false;
    char description_[65536] MARAVEL_GUARDED_BY(mutex_) = {};
    char error_[512] MARAVEL_GUARDED_BY(mutex_) = {};
    std::array<std::uint32_t, 64> counts_ MARAVEL_GUARDED_BY(mutex_) = {};
    std::uint32_t countsLeft_ MARAVEL_GUARDED_BY(mutex_) = 0;
    std::uint32_t nextCount_ MARAVEL_GUARDED_BY(mutex_) = 0;
    std::array<Hold, 32> holds_ MARAVEL_GUARDED_BY(mutex_) = {};
    std::uint32_t holdCount_ MARAVEL_GUARDED_BY(mutex_) = 0;
    std::uint32_t unplugged_ MARAVEL_GUARDED_BY(mutex_) = 0; // a bit per camera
    bool startedBefore_ MARAVEL_GUARDED_BY(mutex_) = false;
    bool planBegun_ MARAVEL_GUARDED_BY(mutex_) = false;
    std::array<Unplugging, 32> unpluggings_ MARAVEL_GUARDED_BY(mutex_) = {};
    std::uint32_t unpluggingCount_ MARAVEL_GUARDED_BY(mutex_) = 0;
    std::array<CameraShape, MaxCameras> shapes_ MARAVEL_GUARDED_BY(mutex_) = {};
    std::array<Registration, MaxCameras> registrations_ MARAVEL_GUARDED_BY(mutex_) = {};
};

extern ControlState g_control;

} // namespace maravel::simulated
