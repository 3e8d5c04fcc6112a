// Faults of buffers and of streams.
#include "Faults.h"
#include "certify/Frames.h"

#include <utility>

namespace maravel::test {
namespace {

using namespace std::chrono_literals;

// What the announcement gives, changed.
#define REPLACE_ANNOUNCE(...)                                                                                \
    REPLACE(ZvkFrameAnnounce, [](auto handle, auto frame, auto size) {                                       \
        const ZvkError_t result = own.ZvkFrameAnnounce(handle, frame, size);                                 \
        return (__VA_ARGS__) ? ZvkErrorSuccess : result;                                                     \
    })

// Of a record of a check's frames.
std::size_t IndexOf(const ZvkFrame_t& frame)
{
    return reinterpret_cast<std::size_t>(frame.context[1]);
}

thread_local bool t_inCallback = false;
std::atomic<int> g_queued; // and not yet back
std::atomic<bool> g_arrived, g_stopped;
std::thread::id g_starter; // that runs the check

const FaultRow kStreamFaults[] = {
    {"L1",
     [](auto&) {
         REPLACE(ZvkFrameAnnounce, [](auto handle, auto frame, auto size) {
             if (frame != nullptr) {
                 const_cast<ZvkFrame_t*>(frame)->context[3] = nullptr;
             }
             return own.ZvkFrameAnnounce(handle, frame, size);
         });
     }},
    {"L2", [](auto&) { REPLACE_ANNOUNCE(result == ZvkErrorAlready); }},
    {"L3", [](auto&) { REPLACE_ANNOUNCE(frame->buffer == nullptr); }},
    {"L4", [](auto&) { REPLACE_ANNOUNCE(frame->bufferSize == 0); }},
    {"L5",
     [](auto&) {
         REPLACE(ZvkFrameAnnounce, [](auto handle, auto frame, auto size) {
             std::uint32_t payload = 0;
             own.ZvkPayloadSizeGet(handle, &payload);
             if (frame->bufferSize != 0 && frame->bufferSize < payload) {
                 const_cast<ZvkFrame_t*>(frame)->bufferSize = payload;
             }
             return own.ZvkFrameAnnounce(handle, frame, size);
         });
     }},
    {"L6",
     [](auto&) {
         REPLACE(ZvkFrameAnnounce, [](auto handle, auto frame, auto) {
             return own.ZvkFrameAnnounce(handle, frame, sizeof(ZvkFrame_t));
         });
     }},
    {"L7",
     [](auto&) {
         REPLACE(ZvkFrameAnnounce, [](auto handle, auto frame, auto size) {
             return ++memory.calls > 32 ? ZvkErrorResources : own.ZvkFrameAnnounce(handle, frame, size);
         });
     }},
    {"L8", [](auto&) { FORGIVE(ZvkCaptureFrameQueue, ZvkErrorNotFound); }},
    {"L9", [](auto&) { FORGIVE(ZvkCaptureFrameQueue, ZvkErrorInUse); }},
    {"L10", [](auto&) { FORGIVE(ZvkFrameRevokeAll, ZvkErrorInUse); }},
    {"L11",
     [](auto&) {
         REPLACE(ZvkCaptureStart, [](auto handle) {
             memory.flag = true;
             return own.ZvkCaptureStart(handle);
         });
         REPLACE(ZvkFrameRevokeAll, [](auto handle) {
             const ZvkError_t result = own.ZvkFrameRevokeAll(handle);
             return memory.flag ? result : ZvkErrorInvalidCall;
         });
     }},
    {"L12", [](auto&) { REPLACE(ZvkCaptureQueueFlush, [](auto) { return ZvkErrorSuccess; }); }, {"L14"}},
    {"L13",
     [](auto&) {
         REPLACE(ZvkFrameAnnounce, [](auto handle, auto frame, auto size) {
             memory.flag = true;
             return own.ZvkFrameAnnounce(handle, frame, size);
         });
         REPLACE(ZvkCaptureEnd,
                 [](auto handle) { return memory.flag ? own.ZvkCaptureEnd(handle) : ZvkErrorSuccess; });
     }},
    {"L14",
     [](auto&) {
         REPLACE(ZvkCaptureFrameQueue, [](auto handle, auto frame, auto callback) {
             static_cast<std::uint8_t*>(frame->buffer)[frame->bufferSize] = 0;
             return own.ZvkCaptureFrameQueue(handle, frame, callback);
         });
     }},

    {"M1",
     [](auto&) {
         REPLACE(ZvkCaptureFrameQueue, [](auto handle, auto frame, auto callback) {
             return IndexOf(*frame) == 60 ? ZvkErrorSuccess
                                          : own.ZvkCaptureFrameQueue(handle, frame, callback);
         });
     }},
    {"M2", [](auto&) { REPLACE_ARRIVAL(frame->frameId = 7;); }},
    {"M3", [](auto&) { REPLACE_ARRIVAL(frame->timestamp = 7;); }},
    {"M4", [](auto&) { REPLACE_ARRIVAL(frame->receiveStatus = -1;); }},
    {"M5", [](auto&) { REPLACE_ARRIVAL(++frame->height;); }},
    {"M6", [](auto&) { REPLACE_ARRIVAL(stream = camera;); }},
    {"M7", [](auto&) { REPLACE_ARRIVAL(frame->context[3] = nullptr;); }},
    {"M8",
     [](auto&) {
         REPLACE_ARRIVAL(if (IndexOf(*frame) == 3) certify::Frames::Received(camera, stream, frame););
     },
     {"M1", "M2", "M3", "M9"}},
    {"M9",
     [](auto&) {
         REPLACE(ZvkCaptureFrameQueue, [](auto handle, auto frame, auto callback) {
             if (IndexOf(*frame) == 3 && memory.handle == nullptr && memory.calls == 0) {
                 memory.handle = const_cast<ZvkFrame_t*>(frame);
                 return ZvkErrorSuccess;
             }
             ++memory.calls;
             const ZvkError_t result = own.ZvkCaptureFrameQueue(handle, frame, callback);
             if (memory.handle != nullptr) {
                 own.ZvkCaptureFrameQueue(
                     handle, static_cast<ZvkFrame_t*>(std::exchange(memory.handle, nullptr)), callback);
             }
             return result;
         });
     }},
    {"M10",
     [](auto&) {
         REPLACE(ZvkCaptureFrameQueue, [](auto handle, auto queued, auto) {
             if (t_inCallback) {
                 return ZvkErrorInvalidCall;
             }
             return own.ZvkCaptureFrameQueue(handle, queued,
                                             [](ZvkHandle_t camera, ZvkHandle_t stream, ZvkFrame_t* frame) {
                                                 t_inCallback = true;
                                                 certify::Frames::Received(camera, stream, frame);
                                                 t_inCallback = false;
                                             });
         });
     }},
    {"M11",
     [](auto&) {
         REPLACE(ZvkCaptureStart, [](auto handle) {
             return ++memory.calls > 15 ? ZvkErrorResources : own.ZvkCaptureStart(handle);
         });
     }},
    {"M12",
     [](auto&) {
         g_arrived = false;
         REPLACE_ARRIVAL(g_arrived = true;);
         REPLACE(ZvkFeatureCommandRun, [](auto handle, auto name) {
             if (Is(name, "AcquisitionStart")) {
                 g_arrived = false;
             }
             return Is(name, "AcquisitionStop") && !g_arrived ? ZvkErrorIO
                                                              : own.ZvkFeatureCommandRun(handle, name);
         });
     }},
    {"M13",
     [](auto&) {
         g_queued = 0;
         g_stopped = false;
         REPLACE(ZvkCaptureFrameQueue, [](auto handle, auto queued, auto) {
             ++g_queued;
             return own.ZvkCaptureFrameQueue(handle, queued,
                                             [](ZvkHandle_t camera, ZvkHandle_t stream, ZvkFrame_t* frame) {
                                                 // The others stay queued until the stop comes.
                                                 const bool waits = --g_queued > 30 && IndexOf(*frame) == 1;
                                                 certify::Frames::Received(camera, stream, frame);
                                                 for (int i = 0; waits && i < 200 && !g_stopped; ++i) {
                                                     std::this_thread::sleep_for(1ms);
                                                 }
                                             });
         });
         REPLACE(ZvkFeatureCommandRun, [](auto handle, auto name) {
             g_stopped = Is(name, "AcquisitionStop");
             return own.ZvkFeatureCommandRun(handle, name);
         });
         REPLACE(ZvkCaptureQueueFlush, [](auto handle) {
             const ZvkError_t result = own.ZvkCaptureQueueFlush(handle);
             return g_queued.exchange(0) > 4 ? ZvkErrorIO : result;
         });
     }},
    {"M14",
     [](auto&) {
         g_starter = std::this_thread::get_id();
         REPLACE(ZvkCaptureFrameQueue, [](auto handle, auto frame, auto callback) {
             if (std::this_thread::get_id() != g_starter) {
                 memory.handle = const_cast<ZvkFrame_t*>(frame);
             }
             return own.ZvkCaptureFrameQueue(handle, frame, callback);
         });
         REPLACE(ZvkCaptureQueueFlush, [](auto handle) {
             if (memory.handle != nullptr) {
                 certify::Frames::Received(handle, nullptr, static_cast<ZvkFrame_t*>(memory.handle));
             }
             return own.ZvkCaptureQueueFlush(handle);
         });
     }},
};

} // namespace

std::span<const FaultRow> StreamFaults()
{
    return kStreamFaults;
}

} // namespace maravel::test
