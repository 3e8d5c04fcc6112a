// Entry points for frames and capturing.
#include "AravisRuntime.h"
#include "Library.h"

#include <limits>

namespace maravel::aravis {

using backend::Lock;

namespace {

// The way of every entry point that concerns an open camera: finds it and runs body(camera).
template <typename Body>
ZvkError_t WithCamera(ZvkHandle_t handle, Body body)
{
    const Session session;
    if (!session.IsStarted()) {
        return ZvkErrorApiNotStarted;
    }
    Camera* camera = session.FindCamera(handle);
    return camera == nullptr ? ZvkErrorBadHandle : body(*camera);
}

} // namespace

ZvkError_t AravisRuntime::ZvkPayloadSizeGet(ZvkHandle_t handle, std::uint32_t* payloadSize)
{
    return WithCamera(handle, [=](Camera& camera) {
        if (payloadSize == nullptr) {
            return ZvkErrorBadParameter;
        }
        Lock lock(camera.control);
        std::uint64_t bytes = 0;
        const ZvkError_t error = camera.GetPayloadSize(&bytes);
        if (error != ZvkErrorSuccess) {
            return error;
        }
        if (bytes > std::numeric_limits<std::uint32_t>::max()) {
            return ZvkErrorNotSupported;
        }
        *payloadSize = static_cast<std::uint32_t>(bytes);
        return ZvkErrorSuccess;
    });
}

ZvkError_t AravisRuntime::ZvkFrameAnnounce(ZvkHandle_t handle, const ZvkFrame_t* frame,
                                           std::uint32_t sizeofFrame)
{
    return WithCamera(handle, [=](Camera& camera) {
        if (frame == nullptr) {
            return ZvkErrorBadParameter;
        }
        if (sizeofFrame != sizeof(ZvkFrame_t)) {
            return ZvkErrorStructSize;
        }
        std::uint64_t payloadSize = 0;
        {
            Lock lock(camera.control);
            const ZvkError_t error = camera.GetPayloadSize(&payloadSize);
            if (error != ZvkErrorSuccess) {
                return error;
            }
        }
        return camera.Frames().Announce(frame, payloadSize);
    });
}

ZvkError_t AravisRuntime::ZvkFrameRevoke(ZvkHandle_t handle, const ZvkFrame_t* frame)
{
    return WithCamera(handle, [=](Camera& camera) {
        return frame == nullptr ? ZvkErrorBadParameter : camera.Frames().Revoke(frame);
    });
}

ZvkError_t AravisRuntime::ZvkFrameRevokeAll(ZvkHandle_t handle)
{
    return WithCamera(handle, [](Camera& camera) { return camera.Frames().RevokeAll(); });
}

ZvkError_t AravisRuntime::ZvkCaptureStart(ZvkHandle_t handle)
{
    return WithCamera(handle, [=](Camera& camera) {
        ZvkHandle_t stream = nullptr;
        {
            Lock lock(g_mutex);
            if (camera.streamHandles.empty()) {
                return ZvkErrorBadHandle;
            }
            stream = camera.streamHandles.front();
        }
        return camera.StartCapture(handle, stream);
    });
}

ZvkError_t AravisRuntime::ZvkCaptureEnd(ZvkHandle_t handle)
{
    return WithCamera(handle, [](Camera& camera) {
        return camera.Frames().IsOnOwnThread() ? ZvkErrorInvalidCall : camera.EndCapture();
    });
}

ZvkError_t AravisRuntime::ZvkCaptureFrameQueue(ZvkHandle_t handle, const ZvkFrame_t* frame,
                                               ZvkFrameCallback callback)
{
    return WithCamera(handle, [=](Camera& camera) {
        return frame == nullptr ? ZvkErrorBadParameter : camera.Frames().Queue(frame, callback);
    });
}

ZvkError_t AravisRuntime::ZvkCaptureFrameWait(ZvkHandle_t handle, const ZvkFrame_t* frame,
                                              std::uint32_t timeout)
{
    return WithCamera(handle, [=](Camera& camera) {
        if (frame == nullptr) {
            return ZvkErrorBadParameter;
        }
        if (camera.Frames().IsOnOwnThread()) {
            return ZvkErrorInvalidCall;
        }
        return camera.Frames().Wait(frame, std::chrono::milliseconds(timeout));
    });
}

ZvkError_t AravisRuntime::ZvkCaptureQueueFlush(ZvkHandle_t handle)
{
    return WithCamera(handle, [](Camera& camera) {
        return camera.Frames().IsOnOwnThread() ? ZvkErrorInvalidCall : camera.Frames().Flush();
    });
}

// Nobody reads chunks through this library.
ZvkError_t AravisRuntime::ZvkChunkDataAccess(const ZvkFrame_t*, void*, void*)
{
    return ZvkErrorNotSupported;
}

} // namespace maravel::aravis
