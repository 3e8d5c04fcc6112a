// Start and stop of the SDK.
#include "Entries.h"
#include "Groups.h"
#include "Process.h"
#include "Session.h"

#include <chrono>
#include <thread>

namespace maravel::certify::life {

using Clock = std::chrono::steady_clock;

constexpr int kRestarts = 3;

void Restart(const Sdk& sdk)
{
    sdk.ZvkShutdown();
    CERTIFY_OK(sdk.ZvkStartup(nullptr));
}

// A body that begins with a bound SDK and leaves it stopped, however it ends.
class Started
{
public:
    explicit Started(const Sdk& sdk) : sdk_(sdk) { CERTIFY_OK(sdk_.ZvkStartup(nullptr)); }
    ~Started() { sdk_.ZvkShutdown(); }
    Started(const Started&) = delete;
    Started& operator=(const Started&) = delete;

private:
    const Sdk& sdk_;
};

const Check kChecks[] = {
    {"B1", Stage::Loaded, Effect::Reads,
     [](Session& session) { ExpectAllRefused(session.Sdk(), nullptr, ZvkErrorApiNotStarted); }},
    {"B2", Stage::Loaded, Effect::Reads,
     [](Session& session) {
         const Started started(session.Sdk());
         session.Cameras();
     }},
    {"B3", Stage::Loaded, Effect::Reads,
     [](Session& session) {
         const Started started(session.Sdk());
         const ZvkError_t again = session.Sdk().ZvkStartup(nullptr);
         CERTIFY(again == 0 || again == ZvkErrorAlready, "a second start gave " << NameOf(again));
         session.Cameras(); // the first one goes on
         if (again == 0) {
             session.Sdk().ZvkShutdown(); // counted, as it seems
         }
     }},
    {"B4", Stage::Loaded, Effect::Reads,
     [](Session& session) {
         const std::string nothing = (session.Asked().folder / "no such folder").string();
         const ZvkError_t result = session.Sdk().ZvkStartup(nothing.c_str());
         if (result == 0) {
             session.Sdk().ZvkShutdown();
             throw NotSupported{"a configuration path is not looked at"};
         }
         const Started started(session.Sdk()); // a refused start leaves nothing behind
     }},
    {"B5", Stage::Loaded, Effect::Reads,
     [](Session& session) {
         {
             const Started started(session.Sdk());
         }
         std::uint32_t count = 0;
         CERTIFY_REFUSED(session.Sdk().ZvkCamerasList(nullptr, 0, &count, sizeof(ZvkCameraInfo_t)),
                         ZvkErrorApiNotStarted);
     }},
    {"B6", Stage::Loaded, Effect::Reads,
     [](Session& session) {
         {
             const Started started(session.Sdk());
         }
         session.Sdk().ZvkShutdown();
         const Started again(session.Sdk());
         session.Cameras();
     }},
    {"B7", Stage::Opened, Effect::Reads,
     [](Session& session) {
         const ZvkHandle_t camera = session.Camera();
         const Sdk& sdk = session.Sdk();
         sdk.ZvkShutdown();
         try {
             ExpectAllRefused(sdk, camera, ZvkErrorApiNotStarted);
         }
         catch (...) {
             sdk.ZvkStartup(nullptr);
             throw;
         }
         session.Forget();
     }},
    {"B8", Stage::Started, Effect::Reads,
     [](Session& session) {
         const std::size_t cameras = session.Cameras().size();
         for (int i = 0; i < kRestarts; ++i) {
             Restart(session.Sdk());
             CERTIFY_EQUAL(session.Cameras().size(), cameras);
         }
     }},
    {"B9", Stage::Loaded, Effect::Reads,
     [](Session& session) {
         ZvkError_t started = ZvkErrorInternalFault;
         std::thread([&] { started = session.Sdk().ZvkStartup(nullptr); }).join();
         CERTIFY_EQUAL(NameOf(started), NameOf(ZvkErrorSuccess));
         const std::size_t cameras = session.Cameras().size();
         std::thread([&] { session.Sdk().ZvkShutdown(); }).join();
         const Started again(session.Sdk());
         CERTIFY_EQUAL(session.Cameras().size(), cameras);
     }},
    {"B10", Stage::Loaded, Effect::Reads,
     [](Session& session) {
         const auto begin = Clock::now();
         const Started started(session.Sdk());
         const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
         if (seconds > session.Asked().startSeconds) {
             session.Warn("the start took " + Shown(seconds) + " s, in which the host waits");
         }
     }},
    {"B11", Stage::Loaded, Effect::Reads,
     [](Session& session) {
         {
             const Started first(session.Sdk()); // what a library keeps for good, it makes here
         }
         const std::uint64_t before = ThreadsInUse();
         {
             const Started started(session.Sdk());
         }
         CERTIFY(ThreadsInUse() <= before,
                 ThreadsInUse() - before << " more threads than before the start are left after the stop");
     }},
    {"B12", Stage::Opened, Effect::Reads,
     [](Session& session) {
         const ZvkHandle_t old = session.Camera();
         const Sdk& sdk = session.Sdk();
         Restart(sdk);
         session.SetCamera(nullptr);
         std::int64_t value = 0;
         CERTIFY_REFUSED(sdk.ZvkFeatureIntGet(old, "Width", &value), ZvkErrorBadHandle);
         session.Cameras(); // an SDK may know its cameras only then
         ZvkHandle_t camera = nullptr;
         CERTIFY_OK(sdk.ZvkCameraOpen(session.CameraId().c_str(), ZvkAccessModeFull, &camera));
         session.SetCamera(camera);
         CERTIFY_REFUSED(sdk.ZvkCameraClose(old), ZvkErrorBadHandle);
     }},
};

const Group kGroup{'B', kChecks};

} // namespace maravel::certify::life
