// Steps on a channel's camera that several host entries share. Host threads under g_adapterMutex.
#pragma once

#include "core/HostCall.h"

#include <utility>

namespace maravel {

enum class CameraOpening
{
    AlreadyOpen,
    Opened, // by this call
    Failed  // reported
};

// Opens the channel's camera with full access unless it is open.
CameraOpening OpenCameraIfClosed(const ChannelCall& call);

// Asks the first stream of an open camera to negotiate the largest GigE Vision packet size that the network
// path allows, waits for that (a little over two seconds at most) and logs the size. Does nothing on a stream
// without such a command.
void GigEAdjustPacketSize(const CZorvikAPIAccess& api, ZvkHandle_t cameraHandle);

// Logs which of the features that decide how a channel is configured its camera has.
void LogAvailability(unsigned line, const char* routine, const VideoChannelData& channel);

// What the SDK holds of a channel that captures: the entry point that takes it back, and where the channel
// notes that it is held.
struct Holding
{
    const char* entry;
    ZvkError_t (*RuntimeEntryPoints::*takeBack)(ZvkHandle_t);
    bool VideoChannelData::*held;
};
inline constexpr Holding kCapture = {"ZvkCaptureEnd", &RuntimeEntryPoints::ZvkCaptureEnd,
                                     &VideoChannelData::bCaptureRunning};
inline constexpr Holding kQueue = {"ZvkCaptureQueueFlush", &RuntimeEntryPoints::ZvkCaptureQueueFlush,
                                   &VideoChannelData::bFramesQueued};
inline constexpr Holding kFrames = {"ZvkFrameRevokeAll", &RuntimeEntryPoints::ZvkFrameRevokeAll,
                                    &VideoChannelData::bFramesAnnounced};

// Asks the SDK for it, held or not, and notes a success.
ZvkError_t TakeBack(const CZorvikAPIAccess& api, VideoChannelData& channel, const Holding& holding);

// Forgets what the channel received and counted since its start, and that it was started. Returns the numbers
// of complete and of incomplete frames.
std::pair<std::uint32_t, std::uint32_t> ForgetFrames(VideoChannelData& channel, Patience patience);

// Forgets a camera that the SDK closed, with everything that belonged to it: the handle, its place among the
// acquiring ones, and all of a stream, so that the next set-up and start begin anew.
void ForgetCamera(VideoChannelData& channel, Patience patience);

// Closes the channel's camera, with whatever handle the record holds, and logs under the routine's name how
// that went. A camera that does not close keeps its handle.
void CloseCamera(const CZorvikAPIAccess& api, CAdapterData& data, std::uint32_t channelIndex,
                 const char* routine, Patience patience);

enum class CommandEnd
{
    Done,
    QueryFailed, // the camera would not say whether the command is done
    TimedOut
};

// Waits until a command feature that was just run reports done, for a little over limitMilliseconds at most.
// The camera is asked every 50 ms, and a command that is done at once still costs one such sleep.
CommandEnd AwaitCommand(const CZorvikAPIAccess& api, ZvkHandle_t handle, const char* name,
                        std::int64_t limitMilliseconds);

} // namespace maravel
