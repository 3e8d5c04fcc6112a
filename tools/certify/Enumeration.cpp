// The list of cameras.
#include "Frames.h"
#include "Groups.h"
#include "Output.h"
#include "Session.h"

#include <set>

namespace maravel::certify::enumeration {

constexpr std::uint32_t kSize = sizeof(ZvkCameraInfo_t);

std::uint32_t CountOf(const Sdk& sdk)
{
    std::uint32_t count = 0;
    CERTIFY_OK(sdk.ZvkCamerasList(nullptr, 0, &count, kSize));
    if (count == 0) {
        throw Skip{"the SDK finds no camera"};
    }
    return count;
}

std::string TextOf(const char* text)
{
    return text == nullptr ? "(null)" : text;
}

// The texts of all cameras, in the list's order.
std::vector<std::string> TextsOf(const std::vector<ZvkCameraInfo_t>& cameras)
{
    std::vector<std::string> texts;
    for (const ZvkCameraInfo_t& info : cameras) {
        for (const char* text : {info.cameraIdString, info.modelName, info.serialString}) {
            texts.push_back(TextOf(text));
        }
    }
    return texts;
}

const Check kChecks[] = {
    {"C1", Stage::Started, Effect::Reads,
     [](Session& session) {
         const std::uint32_t count = CountOf(session.Sdk());
         std::vector<ZvkCameraInfo_t> room(count + 4);
         std::uint32_t found = 0;
         CERTIFY_OK(session.Sdk().ZvkCamerasList(room.data(), count + 4, &found, kSize));
         CERTIFY_EQUAL(count, found);
     }},
    {"C2", Stage::Started, Effect::Reads,
     [](Session& session) {
         const std::uint32_t count = CountOf(session.Sdk());
         Output<ZvkCameraInfo_t> list(count);
         std::uint32_t found = 0;
         CERTIFY_OK(session.Sdk().ZvkCamerasList(list.Get(), count, &found, kSize));
         CERTIFY_EQUAL(found, count);
         CERTIFY(list.WallsStand(), "it wrote past the array");
     }},
    {"C3", Stage::Started, Effect::Reads,
     [](Session& session) {
         const std::uint32_t count = CountOf(session.Sdk());
         Output<ZvkCameraInfo_t> list(count);
         std::uint32_t found = 0;
         // The code itself is relied upon: the adapter reads the list again on it, and on no other.
         const ZvkError_t result = session.Sdk().ZvkCamerasList(list.Get(), count - 1, &found, kSize);
         if (count == 1 && result == 0) {
             throw NotSupported{"with one camera, an array of length 0 only counts"};
         }
         CERTIFY_EQUAL(NameOf(result), NameOf(ZvkErrorMoreData));
         CERTIFY_EQUAL(found, count);
         CERTIFY(list.IsUntouched(count - 1) && list.WallsStand(), "it wrote past the array's length");
     }},
    {"C4", Stage::Started, Effect::Reads,
     [](Session& session) {
         const std::uint32_t count = CountOf(session.Sdk());
         Output<ZvkCameraInfo_t> list(count + 3);
         std::uint32_t found = 0;
         CERTIFY_OK(session.Sdk().ZvkCamerasList(list.Get(), count + 3, &found, kSize));
         CERTIFY(list.IsUntouched(count) && list.WallsStand(), "it wrote past the last camera's record");
     }},
    {"C5", Stage::Started, Effect::Reads,
     [](Session& session) {
         const std::uint32_t count = CountOf(session.Sdk());
         for (const std::uint32_t size : {0U, kSize - 8, kSize + 8}) {
             Output<ZvkCameraInfo_t> list(count);
             std::uint32_t found = 0;
             CERTIFY_REFUSED(session.Sdk().ZvkCamerasList(list.Get(), count, &found, size),
                             ZvkErrorStructSize);
             CERTIFY(list.IsUntouched() && list.WallsStand(), "it wrote records of another size");
         }
     }},
    {"C6", Stage::Started, Effect::Reads,
     [](Session& session) {
         CERTIFY_REFUSED(session.Sdk().ZvkCamerasList(nullptr, 0, nullptr, kSize), ZvkErrorBadParameter);
     }},
    {"C7", Stage::Started, Effect::Reads,
     [](Session& session) {
         CountOf(session.Sdk());
         std::set<std::string> ids;
         for (const ZvkCameraInfo_t& info : session.Cameras()) {
             CERTIFY(info.cameraIdString != nullptr && *info.cameraIdString != '\0',
                     "a camera has no identifier");
             CERTIFY(ids.insert(info.cameraIdString).second,
                     "two cameras have the identifier " << info.cameraIdString);
         }
     }},
    {"C8", Stage::Started, Effect::Reads,
     [](Session& session) {
         CountOf(session.Sdk());
         for (const ZvkCameraInfo_t& info : session.Cameras()) {
             CERTIFY(info.modelName != nullptr, TextOf(info.cameraIdString) << " has no model name");
         }
     }},
    {"C9", Stage::Started, Effect::Reads,
     [](Session& session) {
         CountOf(session.Sdk());
         for (const ZvkCameraInfo_t& info : session.Cameras()) {
             CERTIFY(info.serialString != nullptr, TextOf(info.cameraIdString) << " has no serial number");
         }
     }},
    {"C10", Stage::Started, Effect::Reads,
     [](Session& session) {
         CountOf(session.Sdk());
         const auto cameras = session.Cameras();
         const auto before = TextsOf(cameras);
         for (int i = 0; i < 3; ++i) {
             session.Cameras();
         }
         ZvkHandle_t camera = nullptr;
         CERTIFY_OK(session.Sdk().ZvkCameraOpen(session.CameraId().c_str(), ZvkAccessModeFull, &camera));
         const auto later = TextsOf(cameras);
         CERTIFY_OK(session.Sdk().ZvkCameraClose(camera));
         CERTIFY(before == later && before == TextsOf(cameras), "a text of the list changed before the stop");
     }},
    {"C11", Stage::Started, Effect::Reads,
     [](Session& session) {
         CountOf(session.Sdk());
         const auto first = TextsOf(session.Cameras());
         for (int i = 0; i < 5; ++i) {
             CERTIFY(TextsOf(session.Cameras()) == first, "the order or the texts changed");
         }
     }},
    {"C12", Stage::Started, Effect::Reads,
     [](Session& session) {
         CountOf(session.Sdk());
         for (const ZvkCameraInfo_t& info : session.Cameras()) {
             Output<char> text(256);
             std::uint32_t size = 0;
             CERTIFY_OK(session.Sdk().ZvkFeatureStringGet(info.transportLayerHandle, "TLVendorName",
                                                          text.Get(), 256, &size));
             CERTIFY(std::find(text.Get(), text.Get() + 256, '\0') != text.Get() + 256,
                     "the text does not end");
             CERTIFY(text[0] != '\0', "the vendor's name is empty");
         }
     }},
    {"C13", Stage::Opened, Effect::Reads,
     [](Session& session) {
         ZvkCameraInfo_t info{};
         CERTIFY_OK(session.Sdk().ZvkCameraInfoQueryByHandle(session.Camera(), &info, sizeof(info)));
         CERTIFY(info.streamCount == 0 || info.streamHandles != nullptr,
                 "there are " << info.streamCount << " streams and no array of them");
         std::set<ZvkHandle_t> streams;
         for (std::uint32_t i = 0; i < info.streamCount; ++i) {
             CERTIFY(info.streamHandles[i] != nullptr && info.streamHandles[i] != session.Camera(),
                     "stream " << i << " has no handle of its own");
             CERTIFY(streams.insert(info.streamHandles[i]).second, "two streams have one handle");
             std::uint32_t count = 0;
             CERTIFY_OK(session.Sdk().ZvkFeaturesList(info.streamHandles[i], nullptr, 0, &count,
                                                      sizeof(ZvkFeatureInfo_t)));
         }
         if (info.streamCount == 0) {
             throw NotSupported{"the camera has no stream"};
         }
     }},
    {"C14", Stage::Opened, Effect::Writes,
     [](Session& session) {
         const auto before = TextsOf(session.Cameras());
         Frames frames(session, 4, Frames::Requeue::InCallback);
         frames.Start();
         CERTIFY(frames.WaitFor(1), "no frame came");
         CERTIFY(TextsOf(session.Cameras()) == before, "the list is another one while a camera streams");
         const std::size_t seen = frames.Count();
         CERTIFY(frames.WaitFor(seen + 2), "the listing stopped the stream");
         frames.Stop();
     }},
};

const Group kGroup{'C', kChecks};

} // namespace maravel::certify::enumeration
