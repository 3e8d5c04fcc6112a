// Frames on their way: which come, in which order, with what in their records, and when no more may come.
#include "Frames.h"
#include "Groups.h"

#include <algorithm>

namespace maravel::certify::streaming {

using std::chrono::milliseconds;

constexpr std::size_t kFew = 8;
constexpr std::size_t kMostBytes = 256U << 20; // that one check announces
constexpr milliseconds kQuiet{50};             // in which nothing may come
constexpr double kSeconds = 2;                 // that the longest stream takes; a camera may be slow

// As many frames as wanted, or as memory allows.
std::size_t Affordable(const Session& session, std::size_t wanted)
{
    std::uint32_t payload = 0;
    CERTIFY_OK(session.Sdk().ZvkPayloadSizeGet(session.Camera(), &payload));
    return std::min(wanted, std::max<std::size_t>(4, kMostBytes / std::max(payload, 1U)));
}

// A few frames, each queued once.
std::vector<Arrival> Streamed(Session& session)
{
    Frames frames(session, Affordable(session, kFew));
    frames.Start();
    CERTIFY(frames.WaitFor(frames.Size()), frames.Count() << " of " << frames.Size() << " frames came");
    frames.Stop();
    return frames.Arrivals();
}

// Those of a few frames that came whole: of another one the record may tell nothing.
std::vector<Arrival> WholeOnes(Session& session)
{
    auto arrivals = Streamed(session);
    std::erase_if(arrivals, [](const Arrival& arrival) { return arrival.frame.receiveStatus != 0; });
    if (arrivals.empty()) {
        throw Skip{"no frame came whole"};
    }
    return arrivals;
}

std::int64_t ValueOf(const Session& session, const char* name)
{
    std::int64_t value = 0;
    CERTIFY_OK(session.Sdk().ZvkFeatureIntGet(session.Camera(), name, &value));
    return value;
}

std::int64_t PixelFormatOf(const Session& session)
{
    const char* entry = nullptr;
    std::int64_t number = 0;
    CERTIFY_OK(session.Sdk().ZvkFeatureEnumGet(session.Camera(), "PixelFormat", &entry));
    CERTIFY_OK(session.Sdk().ZvkFeatureEnumAsInt(session.Camera(), "PixelFormat", entry, &number));
    return number;
}

const Check kChecks[] = {
    {"M1", Stage::Opened, Effect::Writes,
     [](Session& session) {
         double rate = 0; // in frames per second, with the start
         for (const std::size_t most : {1U, 2U, 3U, 5U, 8U, 89U}) {
             const std::size_t count = most <= kFew ? most
                                                    : std::clamp(static_cast<std::size_t>(kSeconds * rate),
                                                                 kFew, std::size_t{most});
             Frames frames(session, Affordable(session, count));
             const auto begin = std::chrono::steady_clock::now();
             frames.Start();
             CERTIFY(frames.WaitFor(frames.Size()), frames.Count()
                                                        << " of " << frames.Size() << " frames came");
             const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
             rate = static_cast<double>(frames.Size()) / time.count();
             CERTIFY_EQUAL(frames.ArrivalsAfter(kQuiet), frames.Size());
             frames.Stop();
         }
     }},
    {"M2", Stage::Opened, Effect::Writes,
     [](Session& session) {
         const auto arrivals = Streamed(session);
         for (std::size_t i = 1; i < arrivals.size(); ++i) {
             CERTIFY_EQUAL(arrivals[i].frame.frameId, arrivals[i - 1].frame.frameId + 1);
         }
     }},
    {"M3", Stage::Opened, Effect::Writes,
     [](Session& session) {
         const auto arrivals = WholeOnes(session);
         for (std::size_t i = 1; i < arrivals.size(); ++i) {
             CERTIFY(arrivals[i].frame.timestamp > arrivals[i - 1].frame.timestamp,
                     "the time stamp " << arrivals[i].frame.timestamp << " follows "
                                       << arrivals[i - 1].frame.timestamp);
         }
     }},
    {"M4", Stage::Opened, Effect::Writes,
     [](Session& session) {
         for (const Arrival& arrival : Streamed(session)) {
             CERTIFY_EQUAL(arrival.frame.receiveStatus, 0);
         }
     }},
    {"M5", Stage::Opened, Effect::Writes,
     [](Session& session) {
         const std::int64_t width = ValueOf(session, "Width");
         const std::int64_t height = ValueOf(session, "Height");
         const std::int64_t format = PixelFormatOf(session);
         for (const Arrival& arrival : WholeOnes(session)) {
             CERTIFY_EQUAL(std::int64_t{arrival.frame.width}, width);
             CERTIFY_EQUAL(std::int64_t{arrival.frame.height}, height);
             CERTIFY_EQUAL(static_cast<std::int64_t>(arrival.frame.pixelFormat), format);
         }
     }},
    {"M6", Stage::Opened, Effect::Writes,
     [](Session& session) {
         for (const Arrival& arrival : Streamed(session)) {
             CERTIFY(arrival.camera == session.Camera(), "the callback got the handle of another camera");
             CERTIFY(session.Stream() == nullptr || arrival.stream == session.Stream(),
                     "the callback got the handle of another stream");
         }
     }},
    {"M7", Stage::Opened, Effect::Writes,
     [](Session& session) {
         Frames frames(session, 4);
         for (std::size_t i = 0; i < frames.Size(); ++i) {
             frames.Record(i).context[2] = frames.Record(i).context[3] = &frames.Record(i);
         }
         frames.Start();
         CERTIFY(frames.WaitFor(frames.Size()), "the frames do not come");
         frames.Stop();
         for (const Arrival& arrival : frames.Arrivals()) {
             const void* own = &frames.Record(arrival.index);
             CERTIFY(arrival.frame.context[2] == own && arrival.frame.context[3] == own,
                     "a record's context was changed");
         }
     }},
    {"M8", Stage::Opened, Effect::Writes,
     [](Session& session) {
         Frames frames(session, 4);
         frames.Start();
         frames.WaitFor(frames.Size());
         frames.ArrivalsAfter(kQuiet);
         frames.Stop();
         std::vector<int> times(frames.Size());
         for (const Arrival& arrival : frames.Arrivals()) {
             ++times.at(arrival.index);
         }
         for (std::size_t i = 0; i < times.size(); ++i) {
             CERTIFY(times[i] == 1, "record " << i << " was queued once and came " << times[i] << " times");
         }
     }},
    {"M9", Stage::Opened, Effect::Writes,
     [](Session& session) {
         Frames frames(session, 4);
         frames.StartCapture();
         for (std::size_t i = frames.Size(); i-- > 0;) {
             frames.Queue(i);
         }
         frames.StartAcquisition();
         CERTIFY(frames.WaitFor(frames.Size()), "the frames do not come");
         frames.Stop();
         std::size_t expected = frames.Size();
         for (const Arrival& arrival : frames.Arrivals()) {
             CERTIFY_EQUAL(arrival.index, --expected);
         }
     }},
    {"M10", Stage::Opened, Effect::Writes,
     [](Session& session) {
         Frames frames(session, 3, Frames::Requeue::InCallback);
         frames.Start();
         CERTIFY(frames.WaitFor(4 * frames.Size()), "after " << frames.Count() << " frames no more came");
         frames.Stop();
     }},
    {"M11", Stage::Opened, Effect::Writes,
     [](Session& session) {
         for (int i = 1; i <= 20; ++i) {
             Frames frames(session, 2);
             frames.Start();
             CERTIFY(frames.WaitFor(1), "no frame came after start " << i);
             frames.Stop();
         }
     }},
    {"M12", Stage::Opened, Effect::Writes,
     [](Session& session) {
         for (int i = 0; i < 10; ++i) {
             Frames frames(session, 2);
             frames.Start();
             frames.Stop();
         }
     }},
    {"M13", Stage::Opened, Effect::Writes,
     [](Session& session) {
         Frames frames(session, Affordable(session, 40));
         frames.Start();
         CERTIFY(frames.WaitFor(1), "no frame came");
         frames.Stop();
     }},
    {"M14", Stage::Opened, Effect::Writes,
     [](Session& session) {
         Frames frames(session, 4, Frames::Requeue::InCallback);
         frames.Start();
         CERTIFY(frames.WaitFor(1), "no frame came");
         frames.StopAcquisition();
         CERTIFY_OK(session.Sdk().ZvkCaptureEnd(session.Camera()));
         const std::size_t count = frames.Count();
         CERTIFY_OK(session.Sdk().ZvkCaptureQueueFlush(session.Camera()));
         CERTIFY_EQUAL(frames.ArrivalsAfter(kQuiet), count);
     }},
};

const Group kGroup{'M', kChecks};

} // namespace maravel::certify::streaming
