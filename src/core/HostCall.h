// What every host entry does before and after its own work, once. Host threads.
#pragma once

#include "core/AdapterState.h"
#include "diag/Log.h"
#include "diag/TextFormat.h"
#include "maravel/VideoChannel.h"

#include <cstdint>
#include <initializer_list>

namespace maravel {

// Formats a message into the host's text buffer and logs it. Without a buffer (null) it says nothing. Always
// false, so that a step that fails can end with it.
bool ReportError(unsigned line, char* errorText, const char* format, ...) noexcept MARAVEL_PRINTF(3, 4);

// What a callback's body works with. That it exists means that g_adapterMutex is held, the adapter is started
// and the channel exists.
struct ChannelCall
{
    const char* operation; // the first value of every message
    char* errorText;       // the host's buffer, never null
    long long channelID;
    const CZorvikAPIAccess& api;
    CAdapterData& data;
    VideoChannelData& channel;
    const ZvkCameraInfo_t& camera;

    int ChannelNumber() const noexcept { return static_cast<int>(channelID); }
    const char* ModelName() const noexcept { return TextOrEmpty(camera.modelName); }
    const char* CameraId() const noexcept { return TextOrEmpty(camera.cameraIdString); }
};

// The words in which an entry refuses a channel that does not exist. Hosts compare them.
enum class NoSuchChannelText
{
    Cameras,             // "... Available cameras=%d"
    CamerasPeriod,       // "... Available cameras=%d."
    CapitalCameras,      // "... Available Cameras=%d"
    CapitalCamerasPeriod // "... Available Cameras=%d."
};

// One channel callback: where it stands, its name in messages, and how it refuses.
struct HostEntry
{
    unsigned line;
    const char* operation;
    NoSuchChannelText noSuchChannel;
    const char* notStarted = nullptr; // the whole text, where it is not "...: ERROR. Invalid class pointer."
};

// The channel of a call that can be served; null, with a report, for one that cannot.
VideoChannelData* AdmitCall(const HostEntry& entry, char* errorText, std::int64_t channelID,
                            std::initializer_list<const void*> pointers) noexcept
    MARAVEL_REQUIRES(g_adapterMutex);

// The one guard: runs the body under g_adapterMutex, turns whatever it throws into the failure status with a
// text, and answers a call that comes from inside another call of the same thread (an SDK function that lets
// the host's timers run) at once, since it could only wait for itself. An entry whose interface has no text
// passes null.
std::int32_t RunGuarded(unsigned line, const char* operation, char* errorText, std::int32_t (*body)(void*),
                        void* context) noexcept;

template <class Body>
std::int32_t Guarded(unsigned line, const char* operation, char* errorText, Body body) noexcept
{
    return RunGuarded(
        line, operation, errorText,
        [](void* context) MARAVEL_REQUIRES(g_adapterMutex) { return (*static_cast<Body*>(context))(); },
        &body);
}

// The same for an entry whose text buffer the host owes.
template <class Body>
std::int32_t GuardedCall(unsigned line, const char* operation, char* errorText, Body body) noexcept
{
    if (errorText == nullptr) {
        WriteLog(line, "%s: ERROR. No buffer for the error text.\n", operation);
        return MARAVEL_FAILURE;
    }
    return Guarded(line, operation, errorText, body);
}

// The same for a channel callback: checks bindings, adapter data, channel and the pointers that the callback
// needs of the host, in that order, and hands the body a ChannelCall. The body tells whether it succeeded.
template <class Body>
std::int32_t HostCall(const HostEntry& entry, char* errorText, std::int64_t channelID,
                      std::initializer_list<const void*> pointers, Body body) noexcept
{
    return GuardedCall(
        entry.line, entry.operation, errorText, [&]() MARAVEL_REQUIRES(g_adapterMutex) -> std::int32_t {
            VideoChannelData* channel = AdmitCall(entry, errorText, channelID, pointers);
            if (channel == nullptr) {
                return MARAVEL_FAILURE;
            }
            const auto index = static_cast<std::size_t>(channelID);
            const bool succeeded = body(ChannelCall{entry.operation, errorText, channelID, *g_apiAccess,
                                                    *g_adapterData, *channel, g_adapterData->cameras[index]});
            return succeeded ? MARAVEL_SUCCESS : MARAVEL_FAILURE;
        });
}

} // namespace maravel
