// Faults of buffers.
#include "Faults.h"

namespace maravel::test {
namespace {

// What the announcement gives, changed.
#define REPLACE_ANNOUNCE(...)                                                                                \
    REPLACE(ZvkFrameAnnounce, [](auto handle, auto frame, auto size) {                                       \
        const ZvkError_t result = own.ZvkFrameAnnounce(handle, frame, size);                                 \
        return (__VA_ARGS__) ? ZvkErrorSuccess : result;                                                     \
    })
#define REPLACE_QUEUE(wrong)                                                                                 \
    REPLACE(ZvkCaptureFrameQueue, [](auto handle, auto frame, auto callback) {                               \
        const ZvkError_t result = own.ZvkCaptureFrameQueue(handle, frame, callback);                         \
        return result == (wrong) ? ZvkErrorSuccess : result;                                                 \
    })

const FaultRow kFaults[] = {
    {"L1",
     [](auto&) {
         REPLACE(ZvkFrameAnnounce, [](auto handle, auto frame, auto size) {
             if (frame != nullptr)
                 const_cast<ZvkFrame_t*>(frame)->context[3] = nullptr;
             return own.ZvkFrameAnnounce(handle, frame, size);
         });
     },
     {}},
    {"L2", [](auto&) { REPLACE_ANNOUNCE(result == ZvkErrorAlready); }, {}},
    {"L3", [](auto&) { REPLACE_ANNOUNCE(frame->buffer == nullptr); }, {}},
    {"L4", [](auto&) { REPLACE_ANNOUNCE(frame->bufferSize == 0); }, {}},
    {"L5",
     [](auto&) {
         REPLACE(ZvkFrameAnnounce, [](auto handle, auto frame, auto size) {
             std::uint32_t payload = 0;
             own.ZvkPayloadSizeGet(handle, &payload);
             if (frame->bufferSize != 0 && frame->bufferSize < payload)
                 const_cast<ZvkFrame_t*>(frame)->bufferSize = payload;
             return own.ZvkFrameAnnounce(handle, frame, size);
         });
     },
     {}},
    {"L6",
     [](auto&) {
         REPLACE(ZvkFrameAnnounce, [](auto handle, auto frame, auto) {
             return own.ZvkFrameAnnounce(handle, frame, sizeof(ZvkFrame_t));
         });
     },
     {}},
    {"L7",
     [](auto&) {
         REPLACE(ZvkFrameAnnounce, [](auto handle, auto frame, auto size) {
             return ++memory.calls > 32 ? ZvkErrorResources : own.ZvkFrameAnnounce(handle, frame, size);
         });
     },
     {}},
    {"L8", [](auto&) { REPLACE_QUEUE(ZvkErrorNotFound); }, {}},
    {"L9", [](auto&) { REPLACE_QUEUE(ZvkErrorInUse); }, {}},
    {"L10",
     [](auto&) {
         REPLACE(ZvkFrameRevokeAll, [](auto handle) {
             const ZvkError_t result = own.ZvkFrameRevokeAll(handle);
             return result == ZvkErrorInUse ? ZvkErrorSuccess : result;
         });
     },
     {}},
    {"L11",
     [](auto&) {
         REPLACE(ZvkCaptureStart, [](auto handle) {
             memory.flag = true;
             return own.ZvkCaptureStart(handle);
         });
         REPLACE(ZvkFrameRevokeAll,
                 [](auto handle) { return memory.flag ? own.ZvkFrameRevokeAll(handle) : ZvkErrorSuccess; });
     },
     {}},
    {"L12", [](auto&) { REPLACE(ZvkCaptureQueueFlush, [](auto) { return ZvkErrorSuccess; }); }, {"L14"}},
    {"L13",
     [](auto&) {
         REPLACE(ZvkFrameAnnounce, [](auto handle, auto frame, auto size) {
             memory.flag = true;
             return own.ZvkFrameAnnounce(handle, frame, size);
         });
         REPLACE(ZvkCaptureEnd,
                 [](auto handle) { return memory.flag ? own.ZvkCaptureEnd(handle) : ZvkErrorSuccess; });
     },
     {}},
    {"L14",
     [](auto&) {
         REPLACE(ZvkCaptureFrameQueue, [](auto handle, auto frame, auto callback) {
             static_cast<std::uint8_t*>(frame->buffer)[frame->bufferSize] = 0;
             return own.ZvkCaptureFrameQueue(handle, frame, callback);
         });
     },
     {}},
};

} // namespace

std::span<const FaultRow> StreamFaults()
{
    return kFaults;
}

} // namespace maravel::test
