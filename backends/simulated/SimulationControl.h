/* How a test or a person steers the simulated cameras behind ZvkC.dll. The functions are exported by that
 * library beside the SDK's own entry points; SIM_CONTROL_FUNCTIONS lists them once, to be expanded into
 * prototypes or into a table of pointers resolved by name. Valid C (C11) and C++.
 *
 * Any function may be called from any thread, also before ZvkStartup and after ZvkShutdown, unless it says
 * otherwise. Cameras are numbered from 0 in the order of the description. Functions with an int32_t result
 * give one of the SDK's result codes, 0 for success. A text buffer is filled with whole lines as far as they
 * fit and always terminated; a null buffer with size 0 only counts.
 */
#ifndef MARAVEL_SIMULATIONCONTROL_H
#define MARAVEL_SIMULATIONCONTROL_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* One call that is to fail, see SimFailCall. */
typedef struct SimFault
{
    const char* entry; /* name of the entry point; null: any */
    uint32_t nth;      /* 1: the next call */
    int32_t code;      /* the result of that call */
    uint32_t forever;  /* non-zero: that call and every later one */
} SimFault;

/* Which fields of a SimFrameRequest count; the others are as the camera would fill them. */
enum
{
    SimFrameHasStatus = 0x01,
    SimFrameHasFrameId = 0x02,
    SimFrameHasTimestamp = 0x04,
    SimFrameHasPixelFormat = 0x08,
    SimFrameHasSize = 0x10,   /* width and height */
    SimFrameHasOffset = 0x20, /* offsetX and offsetY */
    SimFrameHasBytes =
        0x40 /* bytes and byteCount; as many as fit go into the buffer, the rest stays as it was */
};

/* A frame to emit now. */
typedef struct SimFrameRequest
{
    uint32_t fields; /* SimFrameHas... */
    int32_t receiveStatus;
    uint64_t frameId;
    uint64_t timestamp;
    uint32_t pixelFormat;
    uint32_t width;
    uint32_t height;
    uint32_t offsetX;
    uint32_t offsetY;
    uint32_t byteCount;
    const void* bytes;
} SimFrameRequest;

/* What the library holds at this moment. */
typedef struct SimStateInfo
{
    uint32_t started;          /* 1 between ZvkStartup and ZvkShutdown */
    uint32_t describedCameras; /* of the running description; 0 when not started */
    uint32_t openCameras;
    uint32_t capturingCameras; /* between ZvkCaptureStart and ZvkCaptureEnd */
    uint32_t acquiringCameras; /* between AcquisitionStart and AcquisitionStop */
    uint32_t announcedFrames;  /* queued ones included */
    uint32_t queuedFrames;
    uint32_t workerThreads; /* threads of the library whose work has not ended */
} SimStateInfo;

/* What became of a camera's frames since ZvkStartup. */
typedef struct SimStatistics
{
    uint64_t complete;   /* emitted with status 0 */
    uint64_t incomplete; /* emitted with another status */
    uint64_t lost;       /* no frame was queued */
    uint64_t flushed;    /* queued frames taken back unfilled */
    uint64_t missedTriggers;
} SimStatistics;

/* For SimInvokeCallback: the handle that the camera (or its stream) has, or had last. */
#ifdef __cplusplus
#define SIM_OWN_HANDLE (reinterpret_cast<void*>(UINTPTR_MAX))
#else
#define SIM_OWN_HANDLE ((void*)UINTPTR_MAX)
#endif

/* clang-format off */
#define SIM_CONTROL_FUNCTIONS(FUNCTION) \
    /* Ends faults, replacements, scripts, held commands and unplugging, drops the text of SimSetDescription, and \
     * clears the records of calls, violations and the last error. A running session goes on. */ \
    FUNCTION(void, SimReset, (void)) \
    /* From the next ZvkStartup on the cameras are those of this text (at most 65,535 bytes) instead of the file's; \
     * null: the file's again. Picture folders in it count from the SDK folder. */ \
    FUNCTION(int32_t, SimSetDescription, (const char* tomlText)) \
    /* Why the last ZvkStartup failed: one line "cameras.toml:LINE:COLUMN: ...", empty when it did not. Returns its \
     * length. */ \
    FUNCTION(uint32_t, SimLastError, (char* buffer, uint32_t size)) \
    \
    /* The nth call from now (1: the next one) of the entry point, null: of any, fails with code, once or from then \
     * on for ever, without effect and without outputs. ZvkShutdown has no result and does not count. */ \
    FUNCTION(int32_t, SimFailCall, (const char* entry, uint32_t nth, int32_t code, uint32_t forever)) \
    FUNCTION(int32_t, SimFailCalls, (const SimFault* faults, uint32_t count)) \
    /* Calls that failed that way since SimReset. */ \
    FUNCTION(uint32_t, SimFaultsFired, (void)) \
    /* Calls of the entry point go to a function of the same signature; null ends that. */ \
    FUNCTION(int32_t, SimReplaceEntry, (const char* entry, void* function)) \
    /* The library's own implementation, for a replacement to forward to; null for an unknown name. */ \
    FUNCTION(void*, SimOriginalEntry, (const char* entry)) \
    /* The i-th following ZvkCamerasList sees counts[i] cameras, never more than described; the last count stays. \
     * n (at most 64) 0 ends it. */ \
    FUNCTION(int32_t, SimScriptCameraCounts, (const uint32_t* counts, uint32_t n)) \
    \
    /* Emits a frame into the oldest queued record, on the library's thread, and returns after the callback has. \
     * The camera must capture; acquiring is not needed. Null request: an ordinary frame. ZvkErrorNotAvailable \
     * when nothing is queued. Not to be called from a callback. */ \
    FUNCTION(int32_t, SimEmitFrame, (uint32_t cameraIndex, const SimFrameRequest* request)) \
    /* Calls the last frame callback that the camera was given, with these arguments (SIM_OWN_HANDLE: the camera's \
     * own), on a thread of the library, whatever the state; returns after it has. */ \
    FUNCTION(int32_t, SimInvokeCallback, (uint32_t cameraIndex, void* cameraHandle, void* streamHandle, void* frame)) \
    /* A pulse on an input line such as "Line0". */ \
    FUNCTION(int32_t, SimPulseLine, (uint32_t cameraIndex, const char* line)) \
    /* While held, the command (of the camera or its stream) is not done. */ \
    FUNCTION(int32_t, SimHoldCommand, (uint32_t cameraIndex, const char* name, uint32_t hold)) \
    /* Faults in words, as cameras.toml lists them: "unplug 0 after 2s; incomplete 1 every 3". They come on top of the \
     * description's; those that shape a camera (incomplete, silent, busy) count from the next ZvkStartup. \
     * ZvkErrorBadParameter: `error` says why in one line. */ \
    FUNCTION(int32_t, SimPlanFaults, (const char* text, char* error, uint32_t size)) \
    /* An unplugged camera is not listed, cannot be opened, sends nothing and answers ZvkErrorIO. */ \
    FUNCTION(int32_t, SimUnplug, (uint32_t cameraIndex, uint32_t unplugged)) \
    \
    /* A feature of the camera or, failing that, its stream, as text, whatever its access and whether or not the \
     * camera is open. Nothing is recorded. Needs a started library. */ \
    FUNCTION(int32_t, SimReadFeature, (uint32_t cameraIndex, const char* name, char* buffer, uint32_t size)) \
    FUNCTION(int32_t, SimWriteFeature, (uint32_t cameraIndex, const char* name, const char* value)) \
    /* The handles of the camera and its stream while it is open. */ \
    FUNCTION(int32_t, SimCameraHandles, (uint32_t cameraIndex, void** cameraHandle, void** streamHandle)) \
    \
    /* Calls since SimClearCalls or SimReset, of one entry point or (null) of all; failed ones count. */ \
    FUNCTION(uint64_t, SimCallCount, (const char* entry)) \
    /* The last 10,000 calls, oldest first, a line each, such as \
     * "ZvkFeatureEnumSet(camera 0, TriggerMode, Off) = 0". Returns how many are kept. */ \
    FUNCTION(uint32_t, SimCalls, (char* buffer, uint32_t size)) \
    FUNCTION(void, SimClearCalls, (void)) \
    /* What the caller did wrong, a line each (the first 200), beginning with the entry point's name. Returns the \
     * number of violations. */ \
    FUNCTION(uint32_t, SimViolations, (char* buffer, uint32_t size)) \
    FUNCTION(void, SimClearViolations, (void)) \
    \
    FUNCTION(void, SimState, (SimStateInfo* state)) \
    /* Needs a started library. */ \
    FUNCTION(int32_t, SimCameraStatistics, (uint32_t cameraIndex, SimStatistics* statistics))
/* clang-format on */

#ifdef __cplusplus
}
#endif

#endif /* MARAVEL_SIMULATIONCONTROL_H */
