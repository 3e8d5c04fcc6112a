// Frame records and their buffers: announcing, queueing, and getting them back.
#include "Frames.h"
#include "Groups.h"

#include <algorithm>

namespace maravel::certify::buffer {

constexpr std::size_t kMostBytes = 256U << 20; // that one check announces

std::uint32_t PayloadOf(const Session& session)
{
    std::uint32_t payload = 0;
    CERTIFY_OK(session.Sdk().ZvkPayloadSizeGet(session.Camera(), &payload));
    CERTIFY(payload > 0, "the payload size is 0");
    return payload;
}

ZvkFrame_t RecordOf(void* buffer, std::size_t size)
{
    ZvkFrame_t record{};
    record.buffer = buffer;
    record.bufferSize = static_cast<std::uint32_t>(size);
    return record;
}

// Announces it and takes it back, whatever that comes to.
ZvkError_t Announced(const Session& session, const ZvkFrame_t& record,
                     std::uint32_t size = sizeof(ZvkFrame_t))
{
    const ZvkError_t result = session.Sdk().ZvkFrameAnnounce(session.Camera(), &record, size);
    if (result == ZvkErrorSuccess) {
        session.Sdk().ZvkFrameRevokeAll(session.Camera());
    }
    return result;
}

// An SDK may take a buffer that is too small, as long as it stays within and says so.
void StreamInto(Session& session, std::size_t size)
{
    Frames frames(session, 1, Frames::Requeue::No, size);
    frames.StartCapture();
    if (session.Sdk().ZvkCaptureFrameQueue(session.Camera(), &frames.Record(0), &Frames::Received) != 0) {
        return;
    }
    frames.StartAcquisition();
    frames.WaitFor(1);
    frames.StopAcquisition();
    CERTIFY(frames.WallsStand(), "it wrote past a buffer that is smaller than the payload");
    for (const Arrival& arrival : frames.Arrivals()) {
        CERTIFY(arrival.frame.receiveStatus != 0, "a frame without room came as a complete one");
    }
}

const Check kChecks[] = {
    {"L1", Stage::Opened, Effect::Writes,
     [](Session& session) {
         Memory memory(PayloadOf(session));
         ZvkFrame_t record = RecordOf(memory.Data(), memory.Size());
         for (void*& own : record.context) {
             own = &own;
         }
         const ZvkFrame_t before = record;
         CERTIFY_OK(Announced(session, record));
         CERTIFY(record.buffer == before.buffer && record.bufferSize == before.bufferSize,
                 "announcing changed the record's buffer");
         CERTIFY(std::ranges::equal(record.context, before.context),
                 "announcing changed the record's context");
     }},
    {"L2", Stage::Opened, Effect::Writes,
     [](Session& session) {
         Frames frames(session, 1);
         CERTIFY_REFUSED(
             session.Sdk().ZvkFrameAnnounce(session.Camera(), &frames.Record(0), sizeof(ZvkFrame_t)),
             ZvkErrorAlready);
     }},
    {"L3", Stage::Opened, Effect::Writes,
     [](Session& session) {
         const ZvkFrame_t record = RecordOf(nullptr, PayloadOf(session));
         CERTIFY_REFUSED(Announced(session, record), ZvkErrorBadParameter);
     }},
    {"L4", Stage::Opened, Effect::Writes,
     [](Session& session) {
         Memory memory(PayloadOf(session));
         const ZvkFrame_t record = RecordOf(memory.Data(), 0);
         CERTIFY_REFUSED(Announced(session, record), ZvkErrorBadParameter);
     }},
    {"L5", Stage::Opened, Effect::Writes,
     [](Session& session) {
         constexpr std::size_t kShort = 16; // less than the wall behind the buffer
         const std::size_t payload = PayloadOf(session);
         if (payload <= kShort) {
             throw Skip{"the payload is too small"};
         }
         Memory memory(payload - kShort);
         if (Announced(session, RecordOf(memory.Data(), memory.Size())) == ZvkErrorSuccess) {
             StreamInto(session, memory.Size());
         }
     }},
    {"L6", Stage::Opened, Effect::Writes,
     [](Session& session) {
         constexpr std::uint32_t kSize = sizeof(ZvkFrame_t);
         Memory memory(PayloadOf(session));
         const ZvkFrame_t record = RecordOf(memory.Data(), memory.Size());
         for (const std::uint32_t size : {0U, kSize - 8, kSize + 8}) {
             CERTIFY_REFUSED(Announced(session, record, size), ZvkErrorStructSize);
         }
     }},
    {"L7", Stage::Opened, Effect::Writes,
     [](Session& session) {
         // The adapter announces 16 at most; more than 64 shows nothing more.
         const std::size_t count = std::clamp<std::size_t>(kMostBytes / PayloadOf(session), 4, 64);
         const Frames frames(session, count);
         session.Tell(std::to_string(count) + " frames announced");
     }},
    {"L8", Stage::Opened, Effect::Writes,
     [](Session& session) {
         Frames frames(session, 1);
         frames.StartCapture();
         Memory memory(PayloadOf(session));
         const ZvkFrame_t stranger = RecordOf(memory.Data(), memory.Size());
         CERTIFY_REFUSED(session.Sdk().ZvkCaptureFrameQueue(session.Camera(), &stranger, &Frames::Received),
                         ZvkErrorNotFound);
     }},
    {"L9", Stage::Opened, Effect::Writes,
     [](Session& session) {
         Frames frames(session, 2);
         frames.StartCapture();
         frames.QueueAll();
         CERTIFY_REFUSED(
             session.Sdk().ZvkCaptureFrameQueue(session.Camera(), &frames.Record(0), &Frames::Received),
             ZvkErrorInUse);
     }},
    {"L10", Stage::Opened, Effect::Writes,
     [](Session& session) {
         Frames frames(session, 2);
         frames.StartCapture();
         frames.QueueAll();
         // Both are well: a refusal, and frames that are really given back.
         if (session.Sdk().ZvkFrameRevokeAll(session.Camera()) == ZvkErrorSuccess) {
             CERTIFY_OK(
                 session.Sdk().ZvkFrameAnnounce(session.Camera(), &frames.Record(0), sizeof(ZvkFrame_t)));
         }
     }},
    {"L11", Stage::Opened, Effect::Writes,
     [](Session& session) {
         Frames frames(session, 3);
         CERTIFY_OK(session.Sdk().ZvkFrameRevokeAll(session.Camera()));
         for (std::size_t i = 0; i < frames.Size(); ++i) {
             CERTIFY_OK(
                 session.Sdk().ZvkFrameAnnounce(session.Camera(), &frames.Record(i), sizeof(ZvkFrame_t)));
         }
     }},
    {"L12", Stage::Opened, Effect::Writes,
     [](Session& session) {
         Frames frames(session, 3);
         frames.StartCapture();
         frames.QueueAll();
         CERTIFY_OK(session.Sdk().ZvkCaptureEnd(session.Camera()));
         CERTIFY_OK(session.Sdk().ZvkCaptureQueueFlush(session.Camera()));
         CERTIFY_OK(session.Sdk().ZvkFrameRevokeAll(session.Camera()));
     }},
    {"L13", Stage::Opened, Effect::Writes,
     [](Session& session) {
         if (session.Sdk().ZvkCaptureStart(session.Camera()) == ZvkErrorSuccess) {
             CERTIFY_OK(session.Sdk().ZvkCaptureEnd(session.Camera()));
         }
         Frames frames(session, 2);
         frames.Start();
         CERTIFY(frames.WaitFor(2), "after a capture without frames no frame came");
         frames.Stop();
     }},
    {"L14", Stage::Opened, Effect::Writes,
     [](Session& session) {
         Frames frames(session, 4, Frames::Requeue::InCallback);
         frames.Start();
         CERTIFY(frames.WaitFor(8), "the frames do not come");
         frames.Stop();
         CERTIFY(frames.WallsStand(), "it wrote before or behind a buffer");
     }},
};

const Group kGroup{'L', kChecks};

} // namespace maravel::certify::buffer
