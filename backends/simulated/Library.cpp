#include "Library.h"

#include "ControlState.h"
#include "SimulatedRuntime.h"
#include "backends/common/Files.h"
#include "backends/common/ModuleLife.h"

#include <algorithm>
#include <cstdio>

namespace maravel::simulated {

using backend::HandleKind;
using backend::Lock;

constinit backend::Mutex g_mutex;
constinit backend::ViolationLog g_violations;

namespace {

// Null outside of a session. Deleted by ZvkShutdown, never by the unloading of the library.
constinit Library* g_library MARAVEL_GUARDED_BY(g_mutex) = nullptr;
constinit bool g_starting MARAVEL_GUARDED_BY(g_mutex) = false;

constexpr const char* DescriptionName = "cameras.toml";

// The text given by a test, or the file of the SDK folder.
bool LoadDescription(SimulationDescription* description, std::string* error)
{
    const std::filesystem::path folder = backend::LibraryFolder().parent_path();
    std::string text;
    if (!g_control.GetDescription(&text) &&
        !backend::ReadWholeFile(folder / backend::PathFromUtf8(DescriptionName), &text)) {
        *error = std::string(DescriptionName) +
                 ":1:1: the file cannot be read; expected the description of the "
                 "cameras in the folder above the library's own";
        return false;
    }
    return ParseDescription(text, DescriptionName, folder, description, error);
}

} // namespace

bool Library::Build(std::vector<CameraDescription> descriptions, std::string* error)
{
    for (CameraDescription& description : descriptions) {
        const auto index = static_cast<std::uint32_t>(cameras_.size());
        auto camera = std::make_unique<Camera>(mutex_, index, std::move(description));
        std::string reason;
        if (!camera->Build(&reason)) {
            const CameraDescription& where = camera->Description();
            *error = std::string(DescriptionName) + ":" + std::to_string(where.line) + ":" +
                     std::to_string(where.column) + ": camera '" + where.id + "': " + reason;
            return false;
        }
        camera->transportHandle = handles_.Add(HandleKind::TransportLayer, index, camera.get());
        camera->interfaceHandle = handles_.Add(HandleKind::Interface, index, camera.get());
        Connect(camera->TransportFeatures(), camera->transportHandle, *camera);
        Connect(camera->InterfaceFeatures(), camera->interfaceHandle, *camera);
        if (g_control.IsUnplugged(index)) {
            camera->SetUnplugged(true);
        }
        cameras_.push_back(std::move(camera));
    }
    return true;
}

void Library::Connect(FeatureSet& features, ZvkHandle_t handle, Camera& camera)
{
    features.held = [index = camera.Index()](const char* name) { return g_control.IsHeld(index, name); };
    features.changed = [this, handle](const char* name) { NoteChange(handle, name); };
}

Camera* Library::FindCamera(const char* id) const
{
    for (const auto& camera : cameras_) {
        if (camera->Description().id == id) {
            return camera.get();
        }
    }
    return nullptr;
}

FeatureSet* Library::FeaturesOf(ZvkHandle_t handle) const
{
    const backend::HandleTable::Entry* entry = handles_.Find(handle);
    if (entry == nullptr) {
        return nullptr;
    }
    auto* camera = static_cast<Camera*>(entry->object);
    switch (entry->name.kind) {
    case HandleKind::TransportLayer:
        return &camera->TransportFeatures();
    case HandleKind::Interface:
        return &camera->InterfaceFeatures();
    case HandleKind::Camera:
        return &camera->Features();
    case HandleKind::LocalDevice:
        return &camera->LocalDeviceFeatures();
    case HandleKind::Stream:
        return &camera->StreamFeatures();
    case HandleKind::Chunk:
        return static_cast<FeatureSet*>(entry->object);
    }
    return nullptr;
}

void Library::Open(Camera& camera)
{
    const std::uint32_t index = camera.Index();
    camera.cameraHandle = handles_.Add(HandleKind::Camera, index, &camera);
    camera.localDeviceHandle = handles_.Add(HandleKind::LocalDevice, index, &camera);
    for (std::uint32_t i = 0; i < camera.Description().streams; ++i) {
        camera.streamHandles.push_back(handles_.Add(HandleKind::Stream, index, &camera));
    }
    Connect(camera.Features(), camera.cameraHandle, camera);
    Connect(camera.LocalDeviceFeatures(), camera.localDeviceHandle, camera);
    if (!camera.streamHandles.empty()) {
        Connect(camera.StreamFeatures(), camera.streamHandles.front(), camera);
    }
}

template <class Fits>
bool Library::EndListening(const Fits& fits) MARAVEL_NO_THREAD_SAFETY_ANALYSIS
{
    const bool found = std::erase_if(listeners_, fits) > 0;
    std::erase_if(changes_, fits);
    while (telling_ && eventThreadId_ != backend::WorkerThread::CurrentThread()) {
        eventIdle_.Wait(mutex_);
    }
    return found;
}

void Library::Close(Camera& camera, Lock& lock)
{
    camera.EndCapture(lock);
    camera.Flush();
    camera.Frames().RevokeAll();
    if (!camera.IsOpen()) {
        return; // somebody else closed it while the capture ended
    }
    camera.Features().At("AcquisitionStop").run();
    for (const ZvkHandle_t stream : camera.streamHandles) {
        handles_.Remove(stream);
    }
    handles_.Remove(camera.localDeviceHandle);
    handles_.Remove(camera.cameraHandle);
    EndListening([&camera](const InvalidationListener& listener) {
        return listener.handle == camera.cameraHandle || listener.handle == camera.localDeviceHandle ||
               std::find(camera.streamHandles.begin(), camera.streamHandles.end(), listener.handle) !=
                   camera.streamHandles.end();
    });
    camera.streamHandles.clear();
    camera.localDeviceHandle = camera.cameraHandle = nullptr;
}

void Library::TearDown(Lock& lock) MARAVEL_NO_THREAD_SAFETY_ANALYSIS
{
    for (const auto& camera : cameras_) {
        if (!camera->IsOpen()) {
            continue;
        }
        g_violations.Add("ZvkShutdown", "camera %u is open", camera->Index());
        Close(*camera, lock);
    }
    while (events_ == Events::Starting) {
        eventIdle_.Wait(mutex_);
    }
    stopEvents_ = true;
    eventWake_.WakeAll();
    lock.Unlock();
    eventThread_.Stop();
    lock.Relock();
    while (users > 0) {
        unused.Wait(mutex_);
    }
}

void Library::NoteChange(ZvkHandle_t handle, const char* name)
{
    for (const InvalidationListener& listener : listeners_) {
        if (listener.handle == handle && listener.name == name) {
            changes_.push_back(listener);
        }
    }
    if (!changes_.empty()) {
        eventWake_.WakeAll();
    }
}

ZvkError_t Library::Listen(InvalidationListener listener, Lock& lock) MARAVEL_NO_THREAD_SAFETY_ANALYSIS
{
    listeners_.push_back(std::move(listener));
    while (events_ == Events::Starting) {
        eventIdle_.Wait(mutex_);
    }
    if (events_ == Events::On) {
        return ZvkErrorSuccess;
    }
    events_ = Events::Starting;
    lock.Unlock();
    const bool made = eventThread_.Start(&Library::RunEvents, this);
    lock.Relock();
    events_ = made ? Events::On : Events::Off;
    eventIdle_.WakeAll();
    return made ? ZvkErrorSuccess : ZvkErrorResources;
}

bool Library::StopListening(ZvkHandle_t handle, const char* name, ZvkInvalidationCallback callback,
                            Lock&) MARAVEL_NO_THREAD_SAFETY_ANALYSIS
{
    const auto same = [=](const InvalidationListener& known) {
        return known.handle == handle && known.name == name && known.callback == callback;
    };
    return EndListening(same);
}

void Library::RunEvents(void* library)
{
    static_cast<Library*>(library)->EventLoop();
}

void Library::EventLoop() MARAVEL_NO_THREAD_SAFETY_ANALYSIS
{
    Lock lock(mutex_);
    eventThreadId_ = backend::WorkerThread::CurrentThread();
    while (!stopEvents_) {
        if (changes_.empty()) {
            eventWake_.Wait(mutex_);
            continue;
        }
        const InvalidationListener change = std::move(changes_.front());
        changes_.erase(changes_.begin());
        telling_ = true;
        lock.Unlock();
        change.callback(change.handle, change.name.c_str(), change.userContext);
        lock.Relock();
        telling_ = false;
        eventIdle_.WakeAll();
    }
}

Session::Session(const char* entry, bool quiet) : lock_(g_mutex), entry_(entry)
{
    if (g_library != nullptr && !g_library->closing) {
        library_ = g_library;
        ++library_->users;
    }
    else if (!quiet) {
        g_violations.Add(entry, "called before ZvkStartup or after ZvkShutdown");
    }
}

Session::~Session()
{
    if (library_ != nullptr && --library_->users == 0) {
        library_->unused.WakeAll();
    }
}

Camera* Session::FindCamera(ZvkHandle_t handle) const
{
    auto* camera = static_cast<Camera*>(library_->Handles().Find(handle, HandleKind::Camera));
    if (camera == nullptr) {
        BadHandle(handle);
    }
    return camera;
}

ZvkError_t Session::BadHandle(ZvkHandle_t handle) const
{
    // A null handle is an honest "none": refused, but no misuse.
    if (handle != nullptr) {
        char text[64];
        backend::DescribeHandle(handle, text, sizeof(text));
        const bool alive = library_->Handles().Find(handle) != nullptr;
        g_violations.Add(entry_,
                         alive ? "the handle (%s) is of another kind" : "the handle (%s) is dead or foreign",
                         text);
    }
    return ZvkErrorBadHandle;
}

ZvkError_t Session::Misuse(ZvkError_t code, const char* what) const
{
    g_violations.Add(entry_, "%s", what);
    return code;
}

namespace {

// Keeps others from starting the library meanwhile; the cameras are made without the lock.
class StartingMark
{
public:
    bool Set()
    {
        Lock lock(g_mutex);
        set_ = g_library == nullptr && !g_starting;
        g_starting = g_starting || set_;
        return set_;
    }
    ~StartingMark()
    {
        Lock lock(g_mutex);
        if (set_) {
            g_starting = false;
        }
    }

private:
    bool set_ = false;
};

bool PlanFault(const PlannedFault& fault, ZvkError_t* refusal)
{
    switch (fault.kind) {
    case PlannedFault::Kind::Unplug:
        return g_control.PlanUnplug(fault);
    case PlannedFault::Kind::Hold:
        return g_control.HoldCommand(fault.camera, fault.name.c_str(), true);
    case PlannedFault::Kind::Cameras:
        return g_control.ScriptCameraCounts(fault.counts.data(),
                                            static_cast<std::uint32_t>(fault.counts.size()));
    case PlannedFault::Kind::Fail: {
        std::uint32_t nth = fault.number;
        if (refusal != nullptr && fault.name == "ZvkStartup" && --nth == 0) {
            *refusal = fault.code;
            nth = 1;
            if (!fault.always) {
                return true;
            }
        }
        return EntryPointCalls().FailCall(fault.name.c_str(), nth, fault.code, fault.always);
    }
    case PlannedFault::Kind::Crash:
    case PlannedFault::Kind::Hang:
        return EntryPointCalls().FailCall(fault.name.c_str(), fault.number,
                                          fault.kind == PlannedFault::Kind::Crash
                                              ? backend::CallControl::Crash
                                              : backend::CallControl::Hang,
                                          false);
    default:
        g_control.Shape(fault);
        return true;
    }
}

// Plans the description's faults, once for as long as the library is loaded, and shapes the cameras. False
// for a fault that names something unknown, or that has this very start fail.
bool ApplyFaults(SimulationDescription* description, ZvkError_t* refusal, std::string* error)
{
    if (g_control.TakeFirstStart() && !PlanFaults(description->faults, refusal, error)) {
        return false;
    }
    for (std::uint32_t i = 0; i < description->cameras.size(); ++i) {
        const ControlState::CameraShape shape = g_control.ShapeOf(i);
        CameraDescription& camera = description->cameras[i];
        camera.incompleteEvery = shape.incompleteEvery != 0 ? shape.incompleteEvery : camera.incompleteEvery;
        camera.manual |= shape.silent;
        camera.busy |= shape.busy;
    }
    g_control.BeginPlan();
    return true;
}

} // namespace

bool PlanFaults(const std::vector<PlannedFault>& faults, ZvkError_t* refusal, std::string* error)
{
    for (const PlannedFault& fault : faults) {
        if (PlanFault(fault, refusal)) {
            continue;
        }
        *error = !fault.name.empty() && fault.kind != PlannedFault::Kind::Hold &&
                         EntryPointCalls().IndexOf(fault.name.c_str()) == backend::CallControl::NoEntry
                     ? "ZvkC.dll has no entry point '" + fault.name + "' to fail"
                     : "there are too many faults";
        return false;
    }
    return true;
}

ZvkError_t StartLibrary()
{
    StartingMark mark;
    if (!mark.Set()) {
        g_violations.Add("ZvkStartup", "the library is started already");
        return ZvkErrorAlready;
    }
    std::string error;
    SimulationDescription description;
    ZvkError_t refusal = ZvkErrorSuccess;
    auto library = std::make_unique<Library>(g_mutex);
    const bool good = LoadDescription(&description, &error) && ApplyFaults(&description, &refusal, &error) &&
                      library->Build(std::move(description.cameras), &error);
    g_control.SetError(error);
    if (refusal != ZvkErrorSuccess) {
        return refusal;
    }
    if (!good) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return ZvkErrorBadParameter;
    }
    Lock lock(g_mutex);
    g_library = library.release();
    return ZvkErrorSuccess;
}

void ShutDownLibrary() MARAVEL_NO_THREAD_SAFETY_ANALYSIS
{
    Lock lock(g_mutex);
    Library* library = g_library;
    if (library == nullptr || library->closing) {
        return; // nothing to shut down; harmless
    }
    for (const auto& camera : library->Cameras()) {
        if (camera->IsOnOwnThread()) {
            g_violations.Add("ZvkShutdown", "called from a frame callback");
            return;
        }
    }
    library->closing = true;
    library->TearDown(lock);
    g_library = nullptr;
    lock.Unlock();
    delete library;
}

} // namespace maravel::simulated
