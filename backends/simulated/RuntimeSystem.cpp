// Entry points for the library itself, its cameras and their memory and settings.
#include "ControlState.h"
#include "Library.h"
#include "SimulatedRuntime.h"
#include "backends/common/Files.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace maravel::simulated {
namespace {

constexpr std::uint32_t AccessNone = 0;

ZvkCameraInfo_t CameraInfo(const Camera& camera)
{
    const CameraDescription& description = camera.Description();
    ZvkCameraInfo_t info{};
    info.cameraIdString = description.id.c_str();
    info.cameraIdExtended = description.id.c_str();
    info.cameraName = description.model.c_str();
    info.modelName = description.model.c_str();
    info.serialString = description.serial.c_str();
    info.transportLayerHandle = camera.transportHandle;
    info.interfaceHandle = camera.interfaceHandle;
    info.localDeviceHandle = camera.localDeviceHandle;
    info.streamHandles = camera.streamHandles.empty() ? nullptr : camera.streamHandles.data();
    info.streamCount = static_cast<std::uint32_t>(camera.streamHandles.size());
    info.permittedAccess = camera.IsOpen() ? AccessNone : ZvkAccessModeFull;
    return info;
}

// Lists handles of one kind, as ZvkTransportLayersList and ZvkInterfacesList do.
ZvkError_t ListHandles(const char* entry, ZvkHandle_t Camera::*member, ZvkHandle_t* handles,
                       std::uint32_t listLength, std::uint32_t* numFound)
{
    Session session(entry);
    if (!session.IsStarted()) {
        return ZvkErrorApiNotStarted;
    }
    if (numFound == nullptr) {
        return session.Misuse(ZvkErrorBadParameter, "numFound is null");
    }
    const auto& cameras = session.Get().Cameras();
    *numFound = static_cast<std::uint32_t>(cameras.size());
    if (handles == nullptr) {
        return ZvkErrorSuccess;
    }
    const std::size_t count = std::min<std::size_t>(listLength, cameras.size());
    for (std::size_t i = 0; i < count; ++i) {
        handles[i] = (*cameras[i]).*member;
    }
    return count < cameras.size() ? ZvkErrorMoreData : ZvkErrorSuccess;
}

} // namespace

ZvkError_t SimulatedRuntime::ZvkVersionQuery(ZvkVersionInfo_t* versionInfo, std::uint32_t sizeofVersionInfo)
{
    if (versionInfo == nullptr || sizeofVersionInfo != sizeof(ZvkVersionInfo_t)) {
        g_violations.Add("ZvkVersionQuery", versionInfo == nullptr
                                                ? "versionInfo is null"
                                                : "the record's size is not that of ZvkVersionInfo_t");
        return versionInfo == nullptr ? ZvkErrorBadParameter : ZvkErrorStructSize;
    }
    *versionInfo = {4, 2, 1};
    return ZvkErrorSuccess;
}

ZvkError_t SimulatedRuntime::ZvkStartup(const char*)
{
    return StartLibrary();
}

void SimulatedRuntime::ZvkShutdown()
{
    ShutDownLibrary();
}

ZvkError_t SimulatedRuntime::ZvkCamerasList(ZvkCameraInfo_t* cameras, std::uint32_t listLength,
                                            std::uint32_t* numFound, std::uint32_t sizeofCameraInfo)
{
    Session session("ZvkCamerasList");
    if (!session.IsStarted()) {
        return ZvkErrorApiNotStarted;
    }
    if (numFound == nullptr) {
        return session.Misuse(ZvkErrorBadParameter, "numFound is null");
    }
    if (sizeofCameraInfo != sizeof(ZvkCameraInfo_t)) {
        return session.Misuse(ZvkErrorStructSize, "the record's size is not that of ZvkCameraInfo_t");
    }
    std::uint32_t visible = 0;
    for (const auto& camera : session.Get().Cameras()) {
        visible += g_control.IsUnplugged(camera->Index()) ? 0 : 1;
    }
    const std::uint32_t count = g_control.NextCameraCount(visible);
    *numFound = count;
    if (cameras == nullptr) {
        return ZvkErrorSuccess;
    }
    std::uint32_t filled = 0;
    for (const auto& camera : session.Get().Cameras()) {
        if (filled == std::min(count, listLength)) {
            break;
        }
        if (!g_control.IsUnplugged(camera->Index())) {
            cameras[filled++] = CameraInfo(*camera);
        }
    }
    return filled < count ? ZvkErrorMoreData : ZvkErrorSuccess;
}

ZvkError_t SimulatedRuntime::ZvkCameraInfoQueryByHandle(ZvkHandle_t cameraHandle, ZvkCameraInfo_t* info,
                                                        std::uint32_t sizeofCameraInfo)
{
    Session session("ZvkCameraInfoQueryByHandle");
    if (!session.IsStarted()) {
        return ZvkErrorApiNotStarted;
    }
    const Camera* camera = session.FindCamera(cameraHandle);
    if (camera == nullptr) {
        return ZvkErrorBadHandle;
    }
    if (info == nullptr) {
        return session.Misuse(ZvkErrorBadParameter, "info is null");
    }
    if (sizeofCameraInfo != sizeof(ZvkCameraInfo_t)) {
        return session.Misuse(ZvkErrorStructSize, "the record's size is not that of ZvkCameraInfo_t");
    }
    *info = CameraInfo(*camera);
    return ZvkErrorSuccess;
}

ZvkError_t SimulatedRuntime::ZvkCameraInfoQuery(const char* idString, ZvkCameraInfo_t* info,
                                                std::uint32_t sizeofCameraInfo)
{
    Session session("ZvkCameraInfoQuery");
    if (!session.IsStarted()) {
        return ZvkErrorApiNotStarted;
    }
    if (idString == nullptr || info == nullptr) {
        return session.Misuse(ZvkErrorBadParameter, "idString or info is null");
    }
    if (sizeofCameraInfo != sizeof(ZvkCameraInfo_t)) {
        return session.Misuse(ZvkErrorStructSize, "the record's size is not that of ZvkCameraInfo_t");
    }
    const Camera* camera = session.Get().FindCamera(idString);
    if (camera == nullptr || g_control.IsUnplugged(camera->Index())) {
        return ZvkErrorNotFound;
    }
    *info = CameraInfo(*camera);
    return ZvkErrorSuccess;
}

ZvkError_t SimulatedRuntime::ZvkCameraOpen(const char* idString, std::uint32_t accessMode,
                                           ZvkHandle_t* cameraHandle)
{
    Session session("ZvkCameraOpen");
    if (!session.IsStarted()) {
        return ZvkErrorApiNotStarted;
    }
    if (idString == nullptr || cameraHandle == nullptr) {
        return session.Misuse(ZvkErrorBadParameter, "idString or cameraHandle is null");
    }
    if (accessMode != ZvkAccessModeFull) {
        return ZvkErrorNotSupported; // one process, one client: there is nobody to share with
    }
    Camera* camera = session.Get().FindCamera(idString);
    if (camera == nullptr || g_control.IsUnplugged(camera->Index())) {
        return ZvkErrorNotFound;
    }
    if (camera->IsOpen() || camera->Description().busy) {
        return ZvkErrorInUse;
    }
    camera->SetUnplugged(false); // it is back
    session.Get().Open(*camera);
    *cameraHandle = camera->cameraHandle;
    return ZvkErrorSuccess;
}

ZvkError_t SimulatedRuntime::ZvkCameraClose(ZvkHandle_t cameraHandle)
{
    Session session("ZvkCameraClose");
    if (!session.IsStarted()) {
        return ZvkErrorApiNotStarted;
    }
    Camera* camera = session.FindCamera(cameraHandle);
    if (camera == nullptr) {
        return ZvkErrorBadHandle;
    }
    if (camera->IsOnOwnThread()) {
        return session.Misuse(ZvkErrorInvalidCall, "called from a frame callback");
    }
    if (camera->IsCapturing()) {
        session.Misuse(ZvkErrorInUse, "the camera is capturing");
    }
    if (camera->Frames().AnnouncedCount() > 0) {
        session.Misuse(ZvkErrorInUse, "frames are announced");
    }
    session.Get().Close(*camera, session.Held());
    return ZvkErrorSuccess;
}

ZvkError_t SimulatedRuntime::ZvkTransportLayersList(ZvkHandle_t* layers, std::uint32_t listLength,
                                                    std::uint32_t* numFound)
{
    return ListHandles("ZvkTransportLayersList", &Camera::transportHandle, layers, listLength, numFound);
}

ZvkError_t SimulatedRuntime::ZvkInterfacesList(ZvkHandle_t* interfaces, std::uint32_t listLength,
                                               std::uint32_t* numFound)
{
    return ListHandles("ZvkInterfacesList", &Camera::interfaceHandle, interfaces, listLength, numFound);
}

namespace {

// The part of the camera's memory that a read or a write reaches; 0 beyond its end.
std::uint32_t ReachableBytes(const Camera& camera, std::uint64_t address, std::uint32_t size,
                             const std::vector<std::uint8_t>& memory)
{
    if (address >= memory.size() || g_control.IsUnplugged(camera.Index())) {
        return 0;
    }
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(size, memory.size() - address));
}

} // namespace

ZvkError_t SimulatedRuntime::ZvkMemoryRead(ZvkHandle_t handle, std::uint64_t address,
                                           std::uint32_t bufferSize, char* buffer,
                                           std::uint32_t* sizeComplete)
{
    Session session("ZvkMemoryRead");
    if (!session.IsStarted()) {
        return ZvkErrorApiNotStarted;
    }
    Camera* camera = session.FindCamera(handle);
    if (camera == nullptr) {
        return ZvkErrorBadHandle;
    }
    if (buffer == nullptr) {
        return session.Misuse(ZvkErrorBadParameter, "buffer is null");
    }
    const std::uint32_t bytes = ReachableBytes(*camera, address, bufferSize, camera->Memory());
    if (bytes > 0) {
        std::memcpy(buffer, camera->Memory().data() + address, bytes);
    }
    if (sizeComplete != nullptr) {
        *sizeComplete = bytes;
    }
    return bytes == bufferSize ? ZvkErrorSuccess : ZvkErrorIncomplete;
}

ZvkError_t SimulatedRuntime::ZvkMemoryWrite(ZvkHandle_t handle, std::uint64_t address,
                                            std::uint32_t bufferSize, const char* buffer,
                                            std::uint32_t* sizeComplete)
{
    // Below this lie the registers that say who the camera is.
    constexpr std::uint64_t firstWritable = 0x1000;
    Session session("ZvkMemoryWrite");
    if (!session.IsStarted()) {
        return ZvkErrorApiNotStarted;
    }
    Camera* camera = session.FindCamera(handle);
    if (camera == nullptr) {
        return ZvkErrorBadHandle;
    }
    if (buffer == nullptr) {
        return session.Misuse(ZvkErrorBadParameter, "buffer is null");
    }
    if (address < firstWritable) {
        return ZvkErrorInvalidAccess;
    }
    const std::uint32_t bytes = ReachableBytes(*camera, address, bufferSize, camera->Memory());
    if (bytes > 0) {
        std::memcpy(camera->Memory().data() + address, buffer, bytes);
    }
    if (sizeComplete != nullptr) {
        *sizeComplete = bytes;
    }
    return bytes == bufferSize ? ZvkErrorSuccess : ZvkErrorIncomplete;
}

// Settings are lines "Feature=value" of what can be written.
ZvkError_t SimulatedRuntime::ZvkSettingsSave(ZvkHandle_t handle, const char* filePath)
{
    Session session("ZvkSettingsSave");
    if (!session.IsStarted()) {
        return ZvkErrorApiNotStarted;
    }
    Camera* camera = session.FindCamera(handle);
    if (camera == nullptr) {
        return ZvkErrorBadHandle;
    }
    if (filePath == nullptr) {
        return session.Misuse(ZvkErrorBadParameter, "filePath is null");
    }
    std::string lines;
    const FeatureSet& features = camera->Features();
    for (std::size_t i = 0; i < features.Size(); ++i) {
        const Feature& feature = features[i];
        const bool hasValue = feature.type != ZvkFeatureDataCommand && feature.type != ZvkFeatureDataRaw;
        if (hasValue && feature.readable && features.IsWritable(feature)) {
            lines += feature.name + '=' + features.ValueText(feature) + '\n';
        }
    }
    return backend::WriteWholeFile(backend::PathFromUtf8(filePath), lines) ? ZvkErrorSuccess : ZvkErrorIO;
}

ZvkError_t SimulatedRuntime::ZvkSettingsLoad(ZvkHandle_t handle, const char* filePath)
{
    Session session("ZvkSettingsLoad");
    if (!session.IsStarted()) {
        return ZvkErrorApiNotStarted;
    }
    Camera* camera = session.FindCamera(handle);
    if (camera == nullptr) {
        return ZvkErrorBadHandle;
    }
    if (filePath == nullptr) {
        return session.Misuse(ZvkErrorBadParameter, "filePath is null");
    }
    if (camera->IsAcquiring()) {
        return ZvkErrorInvalidCall;
    }
    std::string text;
    if (!backend::ReadWholeFile(backend::PathFromUtf8(filePath), &text)) {
        return ZvkErrorNotFound;
    }
    std::vector<std::pair<std::string, std::string>> settings;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        const std::string line = text.substr(begin, end - begin);
        const std::size_t equals = line.find('=');
        if (equals != std::string::npos) {
            settings.emplace_back(line.substr(0, equals), line.substr(equals + 1));
        }
        begin = end + 1;
    }
    // Limits depend on other features: what is refused now may fit once the others are set.
    FeatureSet& features = camera->Features();
    for (std::size_t refused = settings.size() + 1; !settings.empty() && settings.size() < refused;) {
        refused = settings.size();
        std::erase_if(settings, [&features](const auto& setting) {
            Feature* feature = features.Find(setting.first.c_str());
            return feature != nullptr && features.IsWritable(*feature) &&
                   features.SetValueText(*feature, setting.second.c_str()) == ZvkErrorSuccess;
        });
    }
    return settings.empty() ? ZvkErrorSuccess : ZvkErrorIncomplete;
}

} // namespace maravel::simulated
