// Steps on a channel's camera that several callbacks share.
#pragma once

#include "adapter/HostCall.h"

namespace maravel {

enum class CameraOpening
{
    AlreadyOpen,
    Opened, // by this call
    Failed  // reported
};

// Opens the channel's camera with full access unless it is open.
CameraOpening OpenCameraIfClosed(const ChannelCall& call);

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
