// Opening and closing cameras.
#include "Entries.h"
#include "Frames.h"
#include "Groups.h"
#include "Process.h"
#include "Worker.h"
#include "host/Utf8Path.h"

#include <string_view>

namespace maravel::certify::opening {

constexpr int kReopenings = 20;

ZvkHandle_t OpenOf(const Session& session, std::uint32_t accessMode = ZvkAccessModeFull)
{
    Output<ZvkHandle_t> camera;
    CERTIFY_OK(session.Sdk().ZvkCameraOpen(session.CameraId().c_str(), accessMode, camera.Get()));
    CERTIFY(!camera.IsUntouched() && *camera != nullptr, "no handle was given");
    return *camera;
}

const char* IdOf(const Session& session)
{
    if (session.CameraId().empty()) {
        throw Skip{"the SDK finds no camera"};
    }
    return session.CameraId().c_str();
}

// A handle that is refused leaves nothing open.
void ExpectOpenRefused(const Session& session, const char* id, ZvkError_t code)
{
    Output<ZvkHandle_t> camera;
    const ZvkError_t result = session.Sdk().ZvkCameraOpen(id, ZvkAccessModeFull, camera.Get());
    if (result == 0) {
        session.Sdk().ZvkCameraClose(*camera);
    }
    CERTIFY_REFUSED(result, code);
    CERTIFY(camera.IsUntouched(), "a handle was written");
}

// How the opening fared in another process: empty after success.
std::string OpenElsewhere(const Session& session)
{
    const Settings& asked = session.Asked();
    if (asked.program.empty()) {
        throw Skip{"it needs a second process"};
    }
    ChildProcess child(asked.program, {"certify", "--sdk", host::TextOf(asked.sdk), "--channel",
                                       session.CameraId(), "--worker", "D1"});
    std::string outcome;
    bool told = false;
    for (std::string line; child.ReadLine(&line);) {
        const auto message = worker::Parse(line);
        if (message.kind != worker::Message::Kind::End) {
            continue;
        }
        told = true;
        outcome = message.result.outcome == Outcome::Ok ? "" : message.result.text;
    }
    const std::string end = child.Wait();
    CERTIFY(told, "the second process told nothing: " << (end.empty() ? "exit code 0" : end));
    return outcome;
}

void ExpectWorks(const Session& session, ZvkHandle_t camera)
{
    std::uint32_t payload = 0;
    CERTIFY_OK(session.Sdk().ZvkPayloadSizeGet(camera, &payload));
}

const Check kChecks[] = {
    {"D1", Stage::Started, Effect::Reads,
     [](Session& session) {
         IdOf(session);
         const ZvkHandle_t camera = OpenOf(session);
         ExpectWorks(session, camera);
         CERTIFY_OK(session.Sdk().ZvkCameraClose(camera));
     }},
    {"D2", Stage::Started, Effect::Reads,
     [](Session& session) { ExpectOpenRefused(session, "no such camera", ZvkErrorNotFound); }},
    {"D3", Stage::Started, Effect::Reads,
     [](Session& session) { ExpectOpenRefused(session, nullptr, ZvkErrorBadParameter); }},
    {"D4", Stage::Started, Effect::Reads,
     [](Session& session) {
         CERTIFY_REFUSED(session.Sdk().ZvkCameraOpen(IdOf(session), ZvkAccessModeFull, nullptr),
                         ZvkErrorBadParameter);
         CERTIFY_OK(session.Sdk().ZvkCameraClose(OpenOf(session))); // it was not opened in secret
     }},
    {"D5", Stage::Opened, Effect::Reads,
     [](Session& session) {
         ExpectOpenRefused(session, session.CameraId().c_str(), ZvkErrorInUse);
         ExpectWorks(session, session.Camera());
     }},
    {"D6", Stage::Opened, Effect::Reads,
     [](Session& session) {
         const std::string outcome = OpenElsewhere(session);
         ExpectWorks(session, session.Camera());
         if (outcome.empty()) {
             throw NotSupported{"every process has cameras of its own"};
         }
     }},
    {"D7", Stage::Started, Effect::Reads,
     [](Session& session) {
         for (const std::uint32_t mode : {0U, 2U, 4U, 8U, 0xFFFFU}) {
             ZvkHandle_t camera = nullptr;
             const ZvkError_t result = session.Sdk().ZvkCameraOpen(IdOf(session), mode, &camera);
             CERTIFY(result < 0 || camera != nullptr, "access mode " << mode << " gave no handle");
             if (result == 0) {
                 ExpectWorks(session, camera);
                 CERTIFY_OK(session.Sdk().ZvkCameraClose(camera));
             }
         }
         CERTIFY_OK(session.Sdk().ZvkCameraClose(OpenOf(session)));
     }},
    {"D8", Stage::Started, Effect::Reads,
     [](Session& session) {
         IdOf(session);
         const ZvkHandle_t camera = OpenOf(session);
         CERTIFY_OK(session.Sdk().ZvkCameraClose(camera));
         ExpectHandleRefused(session.Sdk(), camera, ZvkErrorBadHandle);
         CERTIFY_OK(session.Sdk().ZvkCameraClose(OpenOf(session)));
     }},
    {"D9", Stage::Started, Effect::Reads,
     [](Session& session) {
         IdOf(session);
         const ZvkHandle_t camera = OpenOf(session);
         CERTIFY_OK(session.Sdk().ZvkCameraClose(camera));
         CERTIFY_REFUSED(session.Sdk().ZvkCameraClose(camera), ZvkErrorBadHandle);
     }},
    {"D10", Stage::Opened, Effect::Reads,
     [](Session& session) {
         int nothing = 0;
         ExpectHandleRefused(session.Sdk(), nullptr, ZvkErrorBadHandle);
         ExpectHandleRefused(session.Sdk(), &nothing, ZvkErrorBadHandle);
         if (session.Stream() != nullptr) {
             CERTIFY_REFUSED(session.Sdk().ZvkCameraClose(session.Stream()), ZvkErrorBadHandle);
         }
         ExpectWorks(session, session.Camera());
     }},
    {"D11", Stage::Started, Effect::Reads,
     [](Session& session) {
         IdOf(session);
         for (int i = 0; i < kReopenings; ++i) {
             const ZvkHandle_t camera = OpenOf(session);
             ExpectWorks(session, camera);
             CERTIFY_OK(session.Sdk().ZvkCameraClose(camera));
         }
     }},
    {"D12", Stage::Started, Effect::Reads,
     [](Session& session) {
         IdOf(session);
         std::vector<ZvkHandle_t> handles;
         std::string trouble;
         for (const ZvkCameraInfo_t& info : session.Cameras()) {
             ZvkHandle_t camera = nullptr;
             const ZvkError_t result =
                 session.Sdk().ZvkCameraOpen(info.cameraIdString, ZvkAccessModeFull, &camera);
             if (result == 0) {
                 handles.push_back(camera);
             }
             else if (info.cameraIdString == session.CameraId()) {
                 trouble = std::string(info.cameraIdString) + " gave " + NameOf(result);
             }
             else {
                 session.Warn(std::string(info.cameraIdString) + " gave " + NameOf(result) +
                              "; another program may have it");
             }
         }
         for (const ZvkHandle_t camera : handles) {
             std::uint32_t payload = 0;
             if (const ZvkError_t result = session.Sdk().ZvkPayloadSizeGet(camera, &payload); result != 0) {
                 trouble = "a camera gave " + NameOf(result) + " while all are open";
             }
         }
         for (const ZvkHandle_t camera : handles) {
             session.Sdk().ZvkCameraClose(camera);
         }
         CERTIFY(trouble.empty(), trouble);
     }},
    {"D13", Stage::Opened, Effect::Writes,
     [](Session& session) {
         const std::size_t late = Frames::LateArrivals();
         {
             Frames frames(session, 4, Frames::Requeue::InCallback);
             frames.Start();
             CERTIFY(frames.WaitFor(2), "no frames came");
             const ZvkError_t result = session.Sdk().ZvkCameraClose(session.Camera());
             const std::size_t atClose = frames.Count();
             session.SetCamera(nullptr);
             CERTIFY_EQUAL(NameOf(result), NameOf(ZvkErrorSuccess));
             CERTIFY_EQUAL(frames.ArrivalsAfter(std::chrono::milliseconds(300)), atClose);
         }
         CERTIFY_EQUAL(Frames::LateArrivals(), late);
         session.SetCamera(OpenOf(session));
         Frames frames(session, 4, Frames::Requeue::InCallback);
         frames.Start();
         CERTIFY(frames.WaitFor(2), "no frames came after the camera was opened again");
         frames.Stop();
     }},
    {"D14", Stage::Opened, Effect::Reads,
     [](Session& session) {
         Output<ZvkCameraInfo_t> info;
         CERTIFY_OK(
             session.Sdk().ZvkCameraInfoQueryByHandle(session.Camera(), info.Get(), sizeof(ZvkCameraInfo_t)));
         CERTIFY(info.WallsStand(), "it wrote past the record");
         const ZvkCameraInfo_t listed = session.Cameras().at(session.CameraIndex());
         CERTIFY_EQUAL(std::string_view(info->cameraIdString), std::string_view(listed.cameraIdString));
         CERTIFY_EQUAL(std::string_view(info->modelName), std::string_view(listed.modelName));
         CERTIFY_EQUAL(std::string_view(info->serialString), std::string_view(listed.serialString));
         CERTIFY_EQUAL(info->transportLayerHandle, listed.transportLayerHandle);
     }},
};

const Group kGroup{'D', kChecks};

} // namespace maravel::certify::opening
