// Entry points for frames and capturing.
#include "ControlState.h"
#include "FeatureBuilder.h"
#include "Library.h"
#include "SimulatedRuntime.h"

#include <algorithm>

namespace maravel::simulated {
namespace {

// The way of every entry point that concerns an open camera: finds it and runs body(session, camera).
template <typename Body>
ZvkError_t WithCamera(const char* entry, ZvkHandle_t handle, Body body)
{
    Session session(entry);
    if (!session.IsStarted()) {
        return ZvkErrorApiNotStarted;
    }
    Camera* camera = session.FindCamera(handle);
    return camera == nullptr ? ZvkErrorBadHandle : body(session, *camera);
}

// Passes a frame pool's answer on, and its complaint.
ZvkError_t Report(const Session& session, const backend::FramePool::Answer& answer)
{
    if (answer.complaint != nullptr) {
        session.Misuse(answer.code, answer.complaint);
    }
    return answer.code;
}

} // namespace

ZvkError_t SimulatedRuntime::ZvkPayloadSizeGet(ZvkHandle_t handle, std::uint32_t* payloadSize)
{
    return WithCamera("ZvkPayloadSizeGet", handle, [=](const Session& session, const Camera& camera) {
        if (payloadSize == nullptr) {
            return session.Misuse(ZvkErrorBadParameter, "payloadSize is null");
        }
        if (g_control.IsUnplugged(camera.Index())) {
            return ZvkErrorIO;
        }
        *payloadSize = static_cast<std::uint32_t>(camera.PayloadSize());
        return ZvkErrorSuccess;
    });
}

ZvkError_t SimulatedRuntime::ZvkFrameAnnounce(ZvkHandle_t handle, const ZvkFrame_t* frame,
                                              std::uint32_t sizeofFrame)
{
    return WithCamera("ZvkFrameAnnounce", handle, [=](const Session& session, Camera& camera) {
        if (frame == nullptr) {
            return session.Misuse(ZvkErrorBadParameter, "frame is null");
        }
        if (sizeofFrame != sizeof(ZvkFrame_t)) {
            return session.Misuse(ZvkErrorStructSize, "the record's size is not that of ZvkFrame_t");
        }
        if (camera.streamHandles.empty()) {
            return ZvkErrorNotAvailable;
        }
        return Report(session, camera.Frames().Announce(frame, camera.PayloadSize()));
    });
}

ZvkError_t SimulatedRuntime::ZvkFrameRevoke(ZvkHandle_t handle, const ZvkFrame_t* frame)
{
    return WithCamera("ZvkFrameRevoke", handle, [=](const Session& session, Camera& camera) {
        if (frame == nullptr) {
            return session.Misuse(ZvkErrorBadParameter, "frame is null");
        }
        if (!camera.IsOnOwnThread()) {
            camera.WaitIdle();
        }
        return Report(session, camera.Frames().Revoke(frame));
    });
}

ZvkError_t SimulatedRuntime::ZvkFrameRevokeAll(ZvkHandle_t handle)
{
    return WithCamera("ZvkFrameRevokeAll", handle, [](const Session& session, Camera& camera) {
        // A frame that is being handed over is not the caller's yet.
        if (!camera.IsOnOwnThread()) {
            camera.WaitIdle();
        }
        return Report(session, camera.Frames().RevokeAll());
    });
}

ZvkError_t SimulatedRuntime::ZvkCaptureStart(ZvkHandle_t handle)
{
    return WithCamera("ZvkCaptureStart", handle, [](Session& session, Camera& camera) {
        if (camera.IsCapturing()) {
            return session.Misuse(ZvkErrorAlready, "the camera is capturing already");
        }
        if (camera.streamHandles.empty()) {
            return ZvkErrorNotAvailable;
        }
        return camera.StartCapture(session.Held());
    });
}

ZvkError_t SimulatedRuntime::ZvkCaptureEnd(ZvkHandle_t handle)
{
    return WithCamera("ZvkCaptureEnd", handle, [](Session& session, Camera& camera) {
        if (camera.IsOnOwnThread()) {
            return session.Misuse(ZvkErrorInvalidCall, "called from a frame callback");
        }
        return camera.EndCapture(session.Held());
    });
}

ZvkError_t SimulatedRuntime::ZvkCaptureFrameQueue(ZvkHandle_t handle, const ZvkFrame_t* frame,
                                                  ZvkFrameCallback callback)
{
    return WithCamera("ZvkCaptureFrameQueue", handle, [=](const Session& session, Camera& camera) {
        if (frame == nullptr) {
            return session.Misuse(ZvkErrorBadParameter, "frame is null");
        }
        if (!camera.IsCapturing()) {
            return session.Misuse(ZvkErrorInvalidCall, "the camera is not capturing");
        }
        if (callback != nullptr) {
            g_control.Remember(camera.Index(), {callback, camera.cameraHandle, camera.streamHandles.front()});
        }
        return Report(session, camera.Frames().Queue(frame, callback, camera.PayloadSize()));
    });
}

ZvkError_t SimulatedRuntime::ZvkCaptureFrameWait(ZvkHandle_t handle, const ZvkFrame_t* frame,
                                                 std::uint32_t timeout)
{
    return WithCamera("ZvkCaptureFrameWait", handle, [=](const Session& session, Camera& camera) {
        if (frame == nullptr) {
            return session.Misuse(ZvkErrorBadParameter, "frame is null");
        }
        if (!camera.Frames().IsAnnounced(frame)) {
            return session.Misuse(ZvkErrorNotFound, "the frame is not announced");
        }
        if (camera.IsOnOwnThread()) {
            return session.Misuse(ZvkErrorInvalidCall, "called from a frame callback");
        }
        return camera.WaitFrame(frame, std::chrono::milliseconds(timeout)) ? ZvkErrorSuccess
                                                                           : ZvkErrorTimeout;
    });
}

ZvkError_t SimulatedRuntime::ZvkCaptureQueueFlush(ZvkHandle_t handle)
{
    return WithCamera("ZvkCaptureQueueFlush", handle, [](const Session&, Camera& camera) {
        camera.Flush();
        return ZvkErrorSuccess;
    });
}

// The callback gets a handle with the frame's data as features, good until it returns.
ZvkError_t SimulatedRuntime::ZvkChunkDataAccess(const ZvkFrame_t* frame, void* callback,
                                                void* userContext) MARAVEL_NO_THREAD_SAFETY_ANALYSIS
{
    using ChunkCallback = ZvkError_t (*)(ZvkHandle_t chunks, void* userContext);
    Session session("ZvkChunkDataAccess");
    if (!session.IsStarted()) {
        return ZvkErrorApiNotStarted;
    }
    if (frame == nullptr || callback == nullptr) {
        return session.Misuse(ZvkErrorBadParameter, "frame or callback is null");
    }
    const auto& cameras = session.Get().Cameras();
    const auto owner = std::find_if(cameras.begin(), cameras.end(), [frame](const auto& camera) {
        return camera->Frames().IsAnnounced(frame);
    });
    if (owner == cameras.end()) {
        return session.Misuse(ZvkErrorNotFound, "the frame is not announced");
    }
    if (!(*owner)->HasChunks(frame)) {
        return ZvkErrorNotAvailable;
    }
    FeatureSet chunks;
    FeatureBuilder build(chunks);
    build.Category("ChunkDataControl");
    build.FixedInt("ChunkFrameID", static_cast<std::int64_t>(frame->frameId), "Number of the frame.");
    build.FixedInt("ChunkTimestamp", static_cast<std::int64_t>(frame->timestamp), "Time stamp of the frame.");
    build.FixedInt("ChunkWidth", frame->width, "Width of the image in pixels.");
    build.FixedInt("ChunkHeight", frame->height, "Height of the image in pixels.");
    const ZvkHandle_t handle =
        session.Get().Handles().Add(backend::HandleKind::Chunk, (*owner)->Index(), &chunks);
    session.Held().Unlock();
    const ZvkError_t result = reinterpret_cast<ChunkCallback>(callback)(handle, userContext);
    session.Held().Relock();
    session.Get().Handles().Remove(handle);
    return result;
}

} // namespace maravel::simulated
