// Images that wait for a trigger.
#include "Frames.h"
#include "Groups.h"
#include "Ways.h"

namespace maravel::certify::triggers {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kTriggers = 20;
constexpr double kShort = 1000, kLong = 60000; // exposures, microseconds

ZvkError_t Fire(const Session& session)
{
    return session.Sdk().ZvkFeatureCommandRun(session.Camera(), "TriggerSoftware");
}

// For which no image comes when none is to come: several times an image's time.
milliseconds Quiet(const Session& session, const Frames& frames)
{
    return frames.Patience() - session.Asked().framePatience + milliseconds(200);
}

double Milliseconds(Clock::duration time)
{
    return std::chrono::duration<double, std::milli>(time).count();
}

void ExpectOneForOne(Session& session)
{
    const Triggers triggers(session);
    triggers.UseManual();
    Frames frames(session, 3);
    frames.Start();
    CERTIFY_OK(Fire(session)); // at once, as the adapter does
    CERTIFY(frames.WaitFor(1), "no image came");
    CERTIFY_EQUAL(frames.ArrivalsAfter(Quiet(session, frames)), 1u);
    frames.Stop();
}

void ExpectEachAnswered(Session& session)
{
    const Triggers triggers(session);
    triggers.UseManual();
    Frames frames(session, 4, Frames::Requeue::InCallback);
    frames.Start();
    std::vector<double> times;
    for (std::size_t i = 1; i <= kTriggers; ++i) {
        const auto begin = Clock::now();
        CERTIFY_OK(Fire(session));
        CERTIFY(frames.WaitFor(i), "no image came for trigger " << i);
        times.push_back(Milliseconds(frames.Arrivals()[i - 1].time - begin));
    }
    frames.Stop();
    std::ranges::sort(times);
    std::ostringstream text;
    text.precision(3);
    text << "from trigger to image " << times[kTriggers / 2] << " ms, at most " << times.back() << " ms";
    session.Tell(text.str());
}

std::size_t WithoutPulse(Session& session, const Triggers& triggers, const Way& way)
{
    triggers.Use(way);
    Frames frames(session, 3);
    frames.Start();
    const std::size_t count = frames.ArrivalsAfter(Quiet(session, frames));
    frames.Stop();
    return count;
}

// A camera may list a trigger for the start and take no notice of it; the other hardware mode works all the
// same.
void ExpectNoneWithoutPulse(Session& session)
{
    const Triggers triggers(session);
    CERTIFY_EQUAL(WithoutPulse(session, triggers, kHardware), 0u);
    if (triggers.Knows(kHardwareStart) && WithoutPulse(session, triggers, kHardwareStart) > 0) {
        session.Warn("images come without a pulse for the start");
    }
}

void ExpectAllWays(Session& session)
{
    const Triggers triggers(session);
    Findings findings;
    for (const Way& way : {kManual, kFreeRun, kHardware, kHardwareStart}) {
        if (!triggers.Knows(way)) {
            continue;
        }
        findings.About(std::string(way.name), [&] {
            triggers.Use(way);
            CERTIFY_EQUAL(session.Value(kMode).value_or("unreadable"), std::string(way.mode));
            if (!triggers.Has(kSelector, way.first)) {
                return;
            }
            triggers.Put(kSelector, way.first);
            CERTIFY(session.Value(kMode) == "Off", way.first << " is not off");
        });
    }
    findings.Judge();
}

void ExpectChangeRefusedOrHonoured(Session& session)
{
    const Triggers triggers(session);
    triggers.Use(kFreeRun);
    Frames frames(session, 4, Frames::Requeue::InCallback);
    frames.Start();
    CERTIFY(frames.WaitFor(1), "no image came in free run");
    if (!session.SetValue(kMode, "On").empty()) {
        CERTIFY(frames.WaitFor(frames.Count() + 2), "no image came after a change that was refused");
    }
    else {
        const std::size_t count = frames.ArrivalsAfter(Quiet(session, frames));
        if (frames.ArrivalsAfter(Quiet(session, frames)) != count) {
            session.Warn("TriggerMode can be set to On while images come, and they go on coming");
        }
    }
    frames.Stop();
}

// Each entry of the enumeration can be set for a line that is waited for, and the acquisition starts and
// stops.
void ExpectUsable(Session& session, const char* name)
{
    if (session.Find(name) == nullptr) {
        throw NotSupported{std::string("the camera has no ") + name};
    }
    const Triggers triggers(session);
    triggers.Use(kHardware);
    ForEach(session.EntriesOf(name), [&](const std::string& entry) {
        triggers.Put(name, entry);
        CERTIFY_EQUAL(session.Value(name).value_or("unreadable"), entry);
        Frames frames(session, 3);
        frames.Start();
        frames.Stop();
        CERTIFY_EQUAL(session.Value(name).value_or("unreadable"), entry);
    });
}

struct Shot
{
    double milliseconds = 0; // from the trigger to the image
    double brightness = 0;   // mean of the bytes
};

Shot Shoot(Session& session)
{
    Frames frames(session, 3);
    frames.Start();
    const auto begin = Clock::now();
    CERTIFY_OK(Fire(session));
    CERTIFY(frames.WaitFor(1), "no image came");
    const Arrival arrival = frames.Arrivals()[0];
    frames.Stop();
    const Memory& image = frames.Buffer(arrival.index);
    double sum = 0;
    for (std::size_t i = 0; i < image.Size(); i += 16) {
        sum += image.Data()[i];
    }
    return {Milliseconds(arrival.time - begin), 16 * sum / static_cast<double>(image.Size())};
}

// No image can come before its exposure has ended; a camera that does not expose after the trigger shows it
// in the brightness.
void ExpectExposureShows(Session& session)
{
    const Triggers triggers(session);
    triggers.UseManual();
    const std::string name = session.Find("ExposureTime") != nullptr ? "ExposureTime" : "ExposureTimeAbs";
    std::optional<Kept> automatic;
    if (session.Find("ExposureAuto") != nullptr) {
        automatic.emplace(session, "ExposureAuto");
        triggers.Put("ExposureAuto", "Off");
    }
    if (session.Find(name) == nullptr) {
        throw NotSupported{"the camera has no exposure time"};
    }
    const Kept kept(session, name);
    double minimum = 0;
    double maximum = 0;
    CERTIFY_OK(session.Sdk().ZvkFeatureFloatRangeQuery(session.Camera(), name.c_str(), &minimum, &maximum));
    const double lengthy = std::min(kLong, maximum);
    triggers.Put(name, std::to_string(std::max(kShort, minimum)));
    const Shot brief = Shoot(session);
    triggers.Put(name, std::to_string(lengthy));
    const Shot full = Shoot(session);
    CERTIFY(full.milliseconds * 1000 >= 0.9 * lengthy || full.brightness > 1.1 * brief.brightness + 1,
            "an image of " << lengthy / 1000 << " ms came " << full.milliseconds
                           << " ms after its trigger, and is no brighter than one of " << kShort / 1000
                           << " ms");
}

const Check kChecks[] = {
    {"N1", Stage::Opened, Effect::Writes, ExpectOneForOne},
    {"N2", Stage::Opened, Effect::Writes, ExpectEachAnswered},
    {"N3", Stage::Opened, Effect::Writes,
     [](Session& session) {
         const Triggers triggers(session);
         triggers.UseManual();
         triggers.Use(kFreeRun);
         Frames frames(session, 4, Frames::Requeue::InCallback);
         frames.Start();
         CERTIFY(frames.WaitFor(2), "no image came in free run");
         Fire(session); // whether that is refused or not
         CERTIFY(frames.WaitFor(frames.Count() + 3), "no image came after a trigger in free run");
         frames.Stop();
     }},
    {"N5", Stage::Opened, Effect::Writes, ExpectNoneWithoutPulse},
    {"N6", Stage::Opened, Effect::Writes, ExpectAllWays},
    {"N7", Stage::Opened, Effect::Writes, ExpectChangeRefusedOrHonoured},
    {"N8", Stage::Opened, Effect::Writes, [](Session& session) { ExpectUsable(session, kSource); }},
    {"N9", Stage::Opened, Effect::Writes, [](Session& session) { ExpectUsable(session, kEdge); }},
    {"N10", Stage::Opened, Effect::Writes, ExpectExposureShows},
    {"N12", Stage::Opened, Effect::Writes,
     [](Session& session) {
         const Triggers triggers(session);
         triggers.UseManual();
         Shoot(session);
         triggers.Use(kFreeRun);
         Frames frames(session, 3);
         frames.Start();
         CERTIFY(frames.WaitFor(3), "no images come in free run after manual mode");
         frames.Stop();
     }},
};

const Group kGroup{'N', kChecks};

} // namespace maravel::certify::triggers
