// The exported functions: the SDK's entry points and the control interface.
#include "ControlState.h"
#include "Library.h"
#include "SimulatedRuntime.h"
#include "SimulationControl.h"
#include "backends/common/ModuleLife.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace maravel::simulated {

MARAVEL_SERVE_ENTRY_POINTS(ZVK_RUNTIME_ENTRY_POINTS, SimulatedRuntime, backend::CallRingSize)

namespace {

// The camera of an index; null when there is no such one.
Camera* CameraAt(const Session& session, std::uint32_t index)
{
    if (!session.IsStarted() || index >= session.Get().Cameras().size()) {
        return nullptr;
    }
    return session.Get().Cameras()[index].get();
}

// Runs body(camera) for a camera of the started library.
template <typename Body>
std::int32_t WithCamera(std::uint32_t index, Body body)
{
    if (backend::ProcessIsEnding()) {
        return ZvkErrorApiNotStarted;
    }
    Session session("", true);
    if (!session.IsStarted()) {
        return ZvkErrorApiNotStarted;
    }
    Camera* camera = CameraAt(session, index);
    return camera == nullptr ? ZvkErrorNotFound : body(*camera);
}

// The set that holds a feature of the camera or its stream; null for an unknown name.
FeatureSet* SetOf(Camera& camera, const char* name)
{
    if (name == nullptr) {
        return nullptr;
    }
    for (FeatureSet* set : {&camera.Features(), &camera.StreamFeatures()}) {
        if (set->Find(name) != nullptr) {
            return set;
        }
    }
    return nullptr;
}

struct Invocation
{
    ControlState::Registration registration;
    ZvkFrame_t* frame;
};

void Invoke(void* context)
{
    const auto* call = static_cast<const Invocation*>(context);
    call->registration.callback(call->registration.camera, call->registration.stream, call->frame);
}

} // namespace

// The prototypes of the control interface, exported.
#define DECLARE(result, name, parameters) extern "C" MARAVEL_EXPORT result name parameters;
SIM_CONTROL_FUNCTIONS(DECLARE)
#undef DECLARE

void SimReset()
{
    if (backend::ProcessIsEnding()) {
        return;
    }
    g_entryPointCalls.Reset();
    g_violations.Clear();
    g_control.Reset();
    Session session("", true);
    if (session.IsStarted()) {
        for (const auto& camera : session.Get().Cameras()) {
            camera->SetUnplugged(false);
        }
    }
}

std::int32_t SimSetDescription(const char* tomlText)
{
    return g_control.SetDescription(tomlText) ? ZvkErrorSuccess : ZvkErrorBadParameter;
}

std::uint32_t SimLastError(char* buffer, std::uint32_t size)
{
    return g_control.GetError(buffer, size);
}

std::int32_t SimFailCall(const char* entry, std::uint32_t nth, std::int32_t code, std::uint32_t forever)
{
    const SimFault fault{entry, nth, code, forever};
    return SimFailCalls(&fault, 1);
}

std::int32_t SimFailCalls(const SimFault* faults, std::uint32_t count)
{
    for (std::uint32_t i = 0; i < count; ++i) {
        if (!g_entryPointCalls.FailCall(faults[i].entry, faults[i].nth, faults[i].code,
                                        faults[i].forever != 0)) {
            return ZvkErrorBadParameter;
        }
    }
    return ZvkErrorSuccess;
}

std::uint32_t SimFaultsFired()
{
    return g_entryPointCalls.FaultsFired();
}

std::int32_t SimReplaceEntry(const char* entry, void* function)
{
    const bool known = entry != nullptr && g_entryPointCalls.ReplaceEntry(entry, function);
    return known ? ZvkErrorSuccess : ZvkErrorNotFound;
}

void* SimOriginalEntry(const char* entry)
{
    return entry == nullptr ? nullptr : OriginalEntry(g_entryPointCalls.IndexOf(entry));
}

std::int32_t SimScriptCameraCounts(const std::uint32_t* counts, std::uint32_t n)
{
    return g_control.ScriptCameraCounts(counts, n) ? ZvkErrorSuccess : ZvkErrorBadParameter;
}

std::int32_t SimEmitFrame(std::uint32_t cameraIndex, const SimFrameRequest* request)
{
    return WithCamera(cameraIndex, [=](Camera& camera) {
        if (camera.IsOnOwnThread()) {
            return ZvkErrorInvalidCall;
        }
        return g_control.IsUnplugged(camera.Index()) ? ZvkErrorIO : camera.Emit(request);
    });
}

std::int32_t SimInvokeCallback(std::uint32_t cameraIndex, void* cameraHandle, void* streamHandle, void* frame)
{
    if (backend::ProcessIsEnding()) {
        return ZvkErrorApiNotStarted;
    }
    if (cameraIndex >= ControlState::MaxCameras) {
        return ZvkErrorNotFound;
    }
    Invocation call{g_control.Recall(cameraIndex), static_cast<ZvkFrame_t*>(frame)};
    if (call.registration.callback == nullptr) {
        return ZvkErrorNotAvailable;
    }
    if (cameraHandle != SIM_OWN_HANDLE) {
        call.registration.camera = cameraHandle;
    }
    if (streamHandle != SIM_OWN_HANDLE) {
        call.registration.stream = streamHandle;
    }
    backend::WorkerThread thread;
    if (!thread.Start(&Invoke, &call)) {
        return ZvkErrorResources;
    }
    thread.Wait();
    return ZvkErrorSuccess;
}

std::int32_t SimPulseLine(std::uint32_t cameraIndex, const char* line)
{
    return WithCamera(cameraIndex, [=](Camera& camera) { return camera.PulseLine(line); });
}

std::int32_t SimHoldCommand(std::uint32_t cameraIndex, const char* name, std::uint32_t hold)
{
    const bool good = name != nullptr && cameraIndex < ControlState::MaxCameras &&
                      g_control.HoldCommand(cameraIndex, name, hold != 0);
    return good ? ZvkErrorSuccess : ZvkErrorBadParameter;
}

std::int32_t SimPlanFaults(const char* text, char* error, std::uint32_t size)
{
    std::vector<PlannedFault> faults;
    std::string reason;
    if (backend::ProcessIsEnding()) {
        return ZvkErrorApiNotStarted;
    }
    const bool good =
        text != nullptr && ParseFaults(text, &faults, &reason) && PlanFaults(faults, nullptr, &reason);
    if (error != nullptr && size > 0) {
        std::snprintf(error, size, "%s", reason.c_str());
    }
    return good ? ZvkErrorSuccess : ZvkErrorBadParameter;
}

std::int32_t SimUnplug(std::uint32_t cameraIndex, std::uint32_t unplugged)
{
    if (cameraIndex >= ControlState::MaxCameras) {
        return ZvkErrorNotFound;
    }
    g_control.SetUnplugged(cameraIndex, unplugged != 0);
    WithCamera(cameraIndex, [=](Camera& camera) {
        camera.SetUnplugged(unplugged != 0);
        return ZvkErrorSuccess;
    });
    return ZvkErrorSuccess;
}

std::int32_t SimReadFeature(std::uint32_t cameraIndex, const char* name, char* buffer, std::uint32_t size)
{
    return WithCamera(cameraIndex, [=](Camera& camera) {
        const FeatureSet* set = SetOf(camera, name);
        if (set == nullptr) {
            return ZvkErrorNotFound;
        }
        const std::string text = set->ValueText(set->At(name));
        if (buffer == nullptr || size <= text.size()) {
            return ZvkErrorMoreData;
        }
        std::memcpy(buffer, text.c_str(), text.size() + 1);
        return ZvkErrorSuccess;
    });
}

std::int32_t SimWriteFeature(std::uint32_t cameraIndex, const char* name, const char* value)
{
    return WithCamera(cameraIndex, [=](Camera& camera) {
        FeatureSet* set = SetOf(camera, name);
        if (set == nullptr || value == nullptr) {
            return ZvkErrorNotFound;
        }
        return set->SetValueText(set->At(name), value);
    });
}

std::int32_t SimCameraHandles(std::uint32_t cameraIndex, void** cameraHandle, void** streamHandle)
{
    return WithCamera(cameraIndex, [=](const Camera& camera) {
        if (!camera.IsOpen()) {
            return ZvkErrorDeviceNotOpen;
        }
        *cameraHandle = camera.cameraHandle;
        *streamHandle = camera.streamHandles.empty() ? nullptr : camera.streamHandles.front();
        return ZvkErrorSuccess;
    });
}

std::uint64_t SimCallCount(const char* entry)
{
    return g_entryPointCalls.CallCount(entry);
}

std::uint32_t SimCalls(char* buffer, std::uint32_t size)
{
    return g_entryPointCalls.WriteCalls(buffer, size);
}

void SimClearCalls()
{
    g_entryPointCalls.ClearCalls();
}

std::uint32_t SimViolations(char* buffer, std::uint32_t size)
{
    return g_violations.Write(buffer, size);
}

void SimClearViolations()
{
    g_violations.Clear();
}

void SimState(SimStateInfo* state)
{
    *state = {};
    if (backend::ProcessIsEnding()) {
        return;
    }
    Session session("", true);
    state->workerThreads = backend::WorkerThread::AliveCount();
    if (!session.IsStarted()) {
        return;
    }
    state->started = 1;
    state->describedCameras = static_cast<std::uint32_t>(session.Get().Cameras().size());
    for (const auto& camera : session.Get().Cameras()) {
        state->openCameras += camera->IsOpen() ? 1U : 0U;
        state->capturingCameras += camera->IsCapturing() ? 1U : 0U;
        state->acquiringCameras += camera->IsAcquiring() ? 1U : 0U;
        state->announcedFrames += camera->Frames().AnnouncedCount();
        state->queuedFrames += camera->Frames().QueuedCount();
    }
}

std::int32_t SimCameraStatistics(std::uint32_t cameraIndex, SimStatistics* statistics)
{
    return WithCamera(cameraIndex, [=](const Camera& camera) {
        *statistics = camera.Statistics();
        return ZvkErrorSuccess;
    });
}

} // namespace maravel::simulated
