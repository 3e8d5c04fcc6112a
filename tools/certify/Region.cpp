// Region of interest and size of frames.
#include "Frames.h"
#include "Groups.h"
#include "RegionAxis.h"
#include "Values.h"

#include <random>

namespace maravel::certify::region {

constexpr int kRandomRegions = 100;

struct Region
{
    explicit Region(const Session& session) : x(session, "Width", "OffsetX"), y(session, "Height", "OffsetY")
    {
    }
    Axis x, y;
};

std::uint32_t Payload(const Session& session)
{
    std::uint32_t bytes = 0;
    CERTIFY_OK(session.Sdk().ZvkPayloadSizeGet(session.Camera(), &bytes));
    return bytes;
}

// The picture of the current format and region fits.
void ExpectPayload(Session& session)
{
    const std::string format = session.Value("PixelFormat").value_or("");
    std::int64_t code = 0;
    CERTIFY_OK(session.Sdk().ZvkFeatureEnumAsInt(session.Camera(), "PixelFormat", format.c_str(), &code));
    if ((code >> 31) != 0) { // a maker's own
        return;
    }
    const std::int64_t bits = code >> 16 & 255;
    const std::int64_t needed = (Get(session, "Width") * Get(session, "Height") * bits + 7) / 8;
    const std::int64_t payload = Payload(session);
    CERTIFY(payload >= needed,
            "a picture of " << needed << " bytes in " << format << " has a payload of " << payload);
    if (payload > 2 * needed + 65536) {
        session.Warn("a picture of " + std::to_string(needed) + " bytes in " + format + " has a payload of " +
                     std::to_string(payload));
    }
}

// A complete frame comes and is of the camera's region. Some that come before it may be incomplete: how many
// is M4's question, and a network may lose a part of a large one.
void ExpectFrame(Session& session)
{
    constexpr std::size_t kTries = 5;
    ExpectPayload(session);
    Frames frames(session, kTries);
    frames.Start();
    std::size_t arrivals = 1;
    CERTIFY(frames.WaitFor(1), "no frame came");
    while (frames.Arrivals()[arrivals - 1].frame.receiveStatus != 0 && arrivals < kTries) {
        ++arrivals;
        CERTIFY(frames.WaitFor(arrivals), "no complete frame came");
    }
    frames.Stop();
    const ZvkFrame_t frame = frames.Arrivals()[arrivals - 1].frame;
    CERTIFY(frames.WallsStand(), "it wrote past a buffer");
    CERTIFY_EQUAL(frame.receiveStatus, 0);
    CERTIFY_EQUAL(frame.width, Get(session, "Width"));
    CERTIFY_EQUAL(frame.height, Get(session, "Height"));
    CERTIFY_EQUAL(frame.offsetX, Get(session, "OffsetX"));
    CERTIFY_EQUAL(frame.offsetY, Get(session, "OffsetY"));
}

template <class Body>
void ForEachFormat(Session& session, const Body& body)
{
    const Kept kept(session, "PixelFormat");
    ForEach(session.EntriesOf("PixelFormat"), [&](const std::string& format) {
        const std::string why = session.SetValue("PixelFormat", format);
        CERTIFY(why.empty(), "it cannot be set: " << why);
        body(kept.Value());
    });
}

void ExpectLargest(Session& session, const Axis& axis, const char* maximum)
{
    axis.Place(0, axis.SizeAt(axis.Most()));
    if (const auto told = session.Integer(maximum).value_or(axis.Most()); told != axis.Most()) {
        session.Warn(std::string(maximum) + " is " + std::to_string(told) + ", but " + axis.Size() +
                     " ends at " + std::to_string(axis.Most()));
    }
}

// A size between two steps.
void ExpectBetweenSteps(Session& session, const Axis& axis)
{
    const std::int64_t between = axis.Least() + axis.Step() / 2;
    ExpectSet(session, axis.Size(), axis.Least());
    const ZvkError_t result = Set(session, axis.Size(), between);
    const std::int64_t now = Get(session, axis.Size());
    if (result != 0) {
        CERTIFY_EQUAL(now, axis.Least());
    }
    else if (now != between) {
        session.Warn(std::string(axis.Size()) + " is " + std::to_string(now) + " after " +
                     std::to_string(between) + " was accepted");
    }
}

// A moved region can be made as large as its range says; cameras of the standard typically tell a range that
// ends with the sensor.
void ExpectInside(Session& session, const Axis& axis)
{
    ExpectSet(session, axis.Size(), axis.Least());
    ExpectSet(session, axis.Offset(), axis.OffsetAt(axis.OffsetLimit()));
    ExpectSet(session, axis.Size(), axis.SizeAt(MostOf(session, axis.Size())));
    const std::int64_t end = Get(session, axis.Offset()) + Get(session, axis.Size());
    if (end > axis.Most()) {
        session.Warn("the region may end at " + std::to_string(end) + " of " + std::to_string(axis.Most()));
    }
}

// Makes the region small, moves it, and makes it large.
void ExpectReached(const Session& session, const Axis& axis, std::minstd_rand& random)
{
    const auto below = [&](std::int64_t end) { return static_cast<std::int64_t>(random()) % (end + 1); };
    const std::int64_t offset = axis.OffsetAt(below(axis.OffsetLimit()));
    const std::int64_t room = std::max<std::int64_t>(axis.Most() - offset - axis.Least(), 0);
    ExpectSet(session, axis.Size(), axis.Least());
    ExpectSet(session, axis.Offset(), offset);
    ExpectSet(session, axis.Size(), axis.SizeAt(axis.Least() + below(room)));
}

void ExpectLocked(Session& session)
{
    const Region region(session);
    const std::int64_t width = Get(session, "Width");
    if (width == region.x.Least()) {
        throw Skip{"the region is the smallest one already"};
    }
    Frames frames(session, 3, Frames::Requeue::InCallback);
    frames.Start();
    CERTIFY(frames.WaitFor(1), "no frame came");
    const ZvkError_t result = Set(session, "Width", region.x.Least());
    const std::int64_t now = Get(session, "Width");
    frames.Stop();
    CERTIFY(frames.WallsStand(), "it wrote past a buffer");
    if (result == 0) {
        return session.Warn("Width can be changed while the camera streams");
    }
    CERTIFY_EQUAL(now, width);
}

const Check kChecks[] = {
    {"K1", Stage::Opened, Effect::Writes,
     [](Session& session) { ForEachFormat(session, [&](const std::string&) { ExpectPayload(session); }); }},
    {"K2", Stage::Opened, Effect::Writes,
     [](Session& session) {
         const std::uint32_t before = Payload(session);
         ForEachFormat(session, [&](const std::string& first) {
             Payload(session);
             session.SetValue("PixelFormat", first);
             CERTIFY_EQUAL(Payload(session), before);
         });
     }},
    {"K3", Stage::Opened, Effect::Writes,
     [](Session& session) {
         const Region region(session);
         const Axis& x = region.x;
         for (const std::int64_t width :
              {x.Least(), x.SizeAt(std::min(x.Least() + x.Step(), x.Most())), x.SizeAt(x.Most())}) {
             x.Place(0, width);
             ExpectPayload(session);
         }
     }},
    {"K4", Stage::Opened, Effect::Writes,
     [](Session& session) {
         const Region region(session);
         ExpectLargest(session, region.x, "WidthMax");
         ExpectLargest(session, region.y, "HeightMax");
         ExpectFrame(session);
     }},
    {"K5", Stage::Opened, Effect::Writes,
     [](Session& session) {
         const Region region(session);
         for (const Axis* axis : {&region.x, &region.y}) {
             axis->Place(0, axis->Least());
         }
         ExpectFrame(session);
     }},
    {"K6", Stage::Opened, Effect::Writes,
     [](Session& session) {
         const Region region(session);
         if (region.x.Step() == 1 && region.y.Step() == 1) {
             throw NotSupported{"every size can be set"};
         }
         for (const Axis* axis : {&region.x, &region.y}) {
             ExpectBetweenSteps(session, *axis);
         }
     }},
    {"K7", Stage::Opened, Effect::Writes,
     [](Session& session) {
         const Region region(session);
         for (const Axis* axis : {&region.x, &region.y}) {
             const std::int64_t size = axis->SizeAt(std::max(axis->Most() / 2, axis->Least()));
             axis->Place(axis->OffsetAt((axis->Most() - size) / 2), size);
         }
         ExpectPayload(session);
     }},
    {"K8", Stage::Opened, Effect::Writes,
     [](Session& session) {
         const Region region(session);
         ExpectInside(session, region.x);
         ExpectInside(session, region.y);
     }},
    {"K9", Stage::Opened, Effect::Writes,
     [](Session& session) {
         const Region region(session);
         std::minstd_rand random(1); // the same regions in every run
         for (int i = 0; i < kRandomRegions; ++i) {
             ExpectReached(session, region.x, random);
             ExpectReached(session, region.y, random);
         }
     }},
    {"K10", Stage::Opened, Effect::Writes, [](Session& session) { ExpectLocked(session); }},
    {"K11", Stage::Opened, Effect::Writes,
     [](Session& session) {
         const Region region(session);
         for (const Axis* axis : {&region.x, &region.y}) {
             axis->Place(axis->OffsetAt(axis->OffsetLimit()), axis->Least());
         }
         ExpectFrame(session);
     }},
    {"K12", Stage::Opened, Effect::Writes,
     [](Session& session) {
         const Region region(session);
         for (const Axis* axis : {&region.x, &region.y}) {
             axis->Place(axis->OffsetAt(axis->OffsetLimit()), axis->Least());
             axis->Place(axis->WasOffset(), axis->WasSize());
         }
     }},
};

const Group kGroup{'K', kChecks};

} // namespace maravel::certify::region
