// Entry points for the library itself, its cameras and their memory.
#include "AravisRuntime.h"
#include "Library.h"
#include "backends/common/Outputs.h"

#include <algorithm>

namespace maravel::aravis {

using backend::HandleKind;
using backend::Lock;

namespace {

constexpr std::uint32_t kAccessNone = 0;

// The library's lock is held.
ZvkCameraInfo_t CameraInfo(const Camera& camera)
{
    const Identity& who = camera.Who();
    ZvkCameraInfo_t info{};
    info.cameraIdString = who.id;
    info.cameraIdExtended = who.address;
    info.cameraName = who.model;
    info.modelName = who.model;
    info.serialString = who.serial;
    info.transportLayerHandle = camera.transportHandle;
    info.interfaceHandle = camera.interfaceHandle;
    info.localDeviceHandle = camera.localDeviceHandle;
    info.streamHandles = camera.streamHandles.empty() ? nullptr : camera.streamHandles.data();
    info.streamCount = static_cast<std::uint32_t>(camera.streamHandles.size());
    info.permittedAccess = camera.state == Camera::State::Closed ? ZvkAccessModeFull : kAccessNone;
    return info;
}

// Lists handles of one kind, as ZvkTransportLayersList and ZvkInterfacesList do.
ZvkError_t ListHandles(ZvkHandle_t Camera::*member, ZvkHandle_t* handles, std::uint32_t listLength,
                       std::uint32_t* numFound)
{
    const Session session;
    if (!session.IsStarted()) {
        return ZvkErrorApiNotStarted;
    }
    if (numFound == nullptr) {
        return ZvkErrorBadParameter;
    }
    Lock lock(g_mutex);
    const auto& cameras = session.Get().cameras;
    return backend::FillList(handles, listLength, numFound, cameras.size(),
                             [&](std::size_t i) { return (*cameras[i]).*member; });
}

// Runs body(device) for the device of an open camera, with control of it.
template <typename Body>
ZvkError_t WithDevice(ZvkHandle_t handle, const void* buffer, Body body)
{
    const Session session;
    if (!session.IsStarted()) {
        return ZvkErrorApiNotStarted;
    }
    Camera* camera = session.FindCamera(handle);
    if (camera == nullptr) {
        return ZvkErrorBadHandle;
    }
    if (buffer == nullptr) {
        return ZvkErrorBadParameter;
    }
    Lock lock(camera->control);
    if (camera->Device() == nullptr) {
        return ZvkErrorBadHandle;
    }
    return camera->IsLost() ? ZvkErrorIO : body(camera->Device());
}

void AddHandles(Library& library, Camera& camera)
{
    const auto known = std::find_if(library.cameras.begin(), library.cameras.end(),
                                    [&camera](const auto& other) { return other.get() == &camera; });
    const auto index = static_cast<std::uint32_t>(known - library.cameras.begin());
    camera.cameraHandle = library.handles.Add(HandleKind::Camera, index, &camera);
    camera.localDeviceHandle = library.handles.Add(HandleKind::LocalDevice, index, &camera);
    camera.streamHandles.push_back(library.handles.Add(HandleKind::Stream, index, &camera));
}

void RemoveHandles(Library& library, Camera& camera)
{
    library.handles.Remove(camera.streamHandles.front());
    library.handles.Remove(camera.localDeviceHandle);
    library.handles.Remove(camera.cameraHandle);
    camera.streamHandles.clear();
    camera.localDeviceHandle = camera.cameraHandle = nullptr;
}

} // namespace

ZvkError_t AravisRuntime::ZvkVersionQuery(ZvkVersionInfo_t* versionInfo, std::uint32_t sizeofVersionInfo)
{
    if (versionInfo == nullptr) {
        return ZvkErrorBadParameter;
    }
    if (sizeofVersionInfo != sizeof(ZvkVersionInfo_t)) {
        return ZvkErrorStructSize;
    }
    *versionInfo = {arv_get_major_version(), arv_get_minor_version(), arv_get_micro_version()};
    return ZvkErrorSuccess;
}

ZvkError_t AravisRuntime::ZvkStartup(const char*)
{
    return StartLibrary();
}

void AravisRuntime::ZvkShutdown()
{
    ShutDownLibrary();
}

// Counting looks round; listing tells what was found then, so that the two agree.
ZvkError_t AravisRuntime::ZvkCamerasList(ZvkCameraInfo_t* cameras, std::uint32_t listLength,
                                         std::uint32_t* numFound, std::uint32_t sizeofCameraInfo)
{
    const Session session;
    if (!session.IsStarted()) {
        return ZvkErrorApiNotStarted;
    }
    if (numFound == nullptr) {
        return ZvkErrorBadParameter;
    }
    if (sizeofCameraInfo != sizeof(ZvkCameraInfo_t)) {
        return ZvkErrorStructSize;
    }
    Lock lock(g_mutex);
    if (cameras == nullptr || !session.Get().lookedRound) {
        lock.Unlock();
        session.Get().LookRound();
        lock.Relock();
    }
    std::vector<const Camera*> present;
    for (const auto& camera : session.Get().cameras) {
        if (camera->present) {
            present.push_back(camera.get());
        }
    }
    return backend::FillList(cameras, listLength, numFound, present.size(),
                             [&](std::size_t i) { return CameraInfo(*present[i]); });
}

ZvkError_t AravisRuntime::ZvkCameraInfoQueryByHandle(ZvkHandle_t cameraHandle, ZvkCameraInfo_t* info,
                                                     std::uint32_t sizeofCameraInfo)
{
    const Session session;
    if (!session.IsStarted()) {
        return ZvkErrorApiNotStarted;
    }
    const Camera* camera = session.FindCamera(cameraHandle);
    if (camera == nullptr) {
        return ZvkErrorBadHandle;
    }
    if (info == nullptr) {
        return ZvkErrorBadParameter;
    }
    if (sizeofCameraInfo != sizeof(ZvkCameraInfo_t)) {
        return ZvkErrorStructSize;
    }
    Lock lock(g_mutex);
    *info = CameraInfo(*camera);
    return ZvkErrorSuccess;
}

ZvkError_t AravisRuntime::ZvkCameraInfoQuery(const char* idString, ZvkCameraInfo_t* info,
                                             std::uint32_t sizeofCameraInfo)
{
    const Session session;
    if (!session.IsStarted()) {
        return ZvkErrorApiNotStarted;
    }
    if (idString == nullptr || info == nullptr) {
        return ZvkErrorBadParameter;
    }
    if (sizeofCameraInfo != sizeof(ZvkCameraInfo_t)) {
        return ZvkErrorStructSize;
    }
    Lock lock(g_mutex);
    const Camera* camera = session.Get().FindCamera(idString);
    if (camera == nullptr || !camera->present) {
        return ZvkErrorNotFound;
    }
    *info = CameraInfo(*camera);
    return ZvkErrorSuccess;
}

ZvkError_t AravisRuntime::ZvkCameraOpen(const char* idString, std::uint32_t accessMode,
                                        ZvkHandle_t* cameraHandle)
{
    const Session session;
    if (!session.IsStarted()) {
        return ZvkErrorApiNotStarted;
    }
    if (idString == nullptr || cameraHandle == nullptr) {
        return ZvkErrorBadParameter;
    }
    if (accessMode != ZvkAccessModeFull) {
        return ZvkErrorNotSupported;
    }
    Lock lock(g_mutex);
    if (!session.Get().lookedRound) { // the identifier is from an earlier session
        lock.Unlock();
        session.Get().LookRound();
        lock.Relock();
    }
    Camera* camera = session.Get().FindCamera(idString);
    if (camera == nullptr) {
        return ZvkErrorNotFound;
    }
    if (camera->state != Camera::State::Closed) {
        return ZvkErrorInUse;
    }
    camera->state = Camera::State::Changing;
    lock.Unlock();
    const ZvkError_t error = camera->Open();
    lock.Relock();
    camera->state = error == ZvkErrorSuccess ? Camera::State::Open : Camera::State::Closed;
    if (error != ZvkErrorSuccess) {
        return error;
    }
    AddHandles(session.Get(), *camera);
    *cameraHandle = camera->cameraHandle;
    return ZvkErrorSuccess;
}

ZvkError_t AravisRuntime::ZvkCameraClose(ZvkHandle_t cameraHandle)
{
    const Session session;
    if (!session.IsStarted()) {
        return ZvkErrorApiNotStarted;
    }
    Lock lock(g_mutex);
    auto* camera = static_cast<Camera*>(session.Get().handles.Find(cameraHandle, HandleKind::Camera));
    if (camera == nullptr) {
        return ZvkErrorBadHandle;
    }
    if (camera->Frames().IsOnOwnThread()) {
        return ZvkErrorInvalidCall;
    }
    RemoveHandles(session.Get(), *camera);
    camera->state = Camera::State::Changing;
    lock.Unlock();
    camera->Close();
    lock.Relock();
    camera->state = Camera::State::Closed;
    return ZvkErrorSuccess;
}

ZvkError_t AravisRuntime::ZvkTransportLayersList(ZvkHandle_t* layers, std::uint32_t listLength,
                                                 std::uint32_t* numFound)
{
    return ListHandles(&Camera::transportHandle, layers, listLength, numFound);
}

ZvkError_t AravisRuntime::ZvkInterfacesList(ZvkHandle_t* interfaces, std::uint32_t listLength,
                                            std::uint32_t* numFound)
{
    return ListHandles(&Camera::interfaceHandle, interfaces, listLength, numFound);
}

ZvkError_t AravisRuntime::ZvkMemoryRead(ZvkHandle_t handle, std::uint64_t address, std::uint32_t bufferSize,
                                        char* buffer, std::uint32_t* sizeComplete)
{
    return WithDevice(handle, buffer, [=](ArvDevice* device) {
        Outcome outcome;
        arv_device_read_memory(device, address, bufferSize, buffer, outcome.Slot());
        if (sizeComplete != nullptr) {
            *sizeComplete = outcome.Failed() ? 0 : bufferSize;
        }
        return outcome.Code();
    });
}

ZvkError_t AravisRuntime::ZvkMemoryWrite(ZvkHandle_t handle, std::uint64_t address, std::uint32_t bufferSize,
                                         const char* buffer, std::uint32_t* sizeComplete)
{
    return WithDevice(handle, buffer, [=](ArvDevice* device) {
        Outcome outcome;
        arv_device_write_memory(device, address, bufferSize, const_cast<char*>(buffer), outcome.Slot());
        if (sizeComplete != nullptr) {
            *sizeComplete = outcome.Failed() ? 0 : bufferSize;
        }
        return outcome.Code();
    });
}

// Aravis neither saves nor loads a camera's settings.
ZvkError_t AravisRuntime::ZvkSettingsSave(ZvkHandle_t, const char*)
{
    return ZvkErrorNotSupported;
}

ZvkError_t AravisRuntime::ZvkSettingsLoad(ZvkHandle_t, const char*)
{
    return ZvkErrorNotSupported;
}

} // namespace maravel::aravis
