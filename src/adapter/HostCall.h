// What every host callback does before and after its own work, once.
#pragma once

#include "adapter/AdapterState.h"
#include "diag/ErrorText.h"
#include "diag/Log.h"
#include "maravel/VideoChannel.h"

#include <cstdint>
#include <exception>
#include <new>
#include <string_view>

namespace maravel {

// A message format of a host entry, checked when compiled: its conversions must be exactly the ones wanted,
// in order, so that a text that is printed elsewhere than where it stands still cannot print garbage.
class RejectionText
{
public:
    template <std::size_t N>
    consteval RejectionText(const char (&format)[N], std::string_view wanted) : format_(format)
    {
        std::size_t matched = 0;
        for (std::size_t i = 0; i + 1 < N; ++i) {
            if (format[i] != '%') {
                continue;
            }
            for (++i; format[i] == 'l'; ++i) {
                Match(wanted, matched, 'l');
            }
            Match(wanted, matched, format[i]);
        }
        if (matched != wanted.size()) {
            throw "too few conversions";
        }
    }

    constexpr const char* Get() const noexcept { return format_; }

private:
    static consteval void Match(std::string_view wanted, std::size_t& matched, char c)
    {
        if (matched == wanted.size() || wanted[matched] != c) {
            throw "a conversion that is not wanted";
        }
        ++matched;
    }

    const char* format_;
};

// "%s" takes the operation.
struct NotStartedText : RejectionText
{
    template <std::size_t N>
    consteval NotStartedText(const char (&format)[N]) : RejectionText(format, "s")
    {
    }
};

// "%s", "%lld" and "%d" take the operation, the channel and the number of cameras.
struct NoSuchChannelText : RejectionText
{
    template <std::size_t N>
    consteval NoSuchChannelText(const char (&format)[N]) : RejectionText(format, "slldd")
    {
    }
};

// One host entry: where it stands, its name in messages, and its own words for the two rejections that every
// entry makes.
struct HostEntry
{
    unsigned line;
    const char* operation;
    NotStartedText notStarted;
    NoSuchChannelText noSuchChannel;
};

// Formats a message into the host's text buffer and logs it.
void ReportError(unsigned line, char* errorText, const char* format, ...) noexcept MARAVEL_PRINTF(3, 4);

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

// The channel's record; null when the adapter is not started or there is no such channel.
VideoChannelData* FindChannel(std::int64_t channelID) noexcept MARAVEL_REQUIRES(g_adapterMutex);

// Runs the body under g_adapterMutex. Refuses a null errorText. Whatever the body throws becomes a failure
// with a text. Every host entry ends up here, and nothing leaves it.
template <class Body>
std::int32_t GuardedCall(unsigned line, const char* operation, char* errorText, Body body) noexcept
{
    if (errorText == nullptr) {
        WriteLog(line, "%s: ERROR. No buffer for the error text.\n", operation);
        return MARAVEL_FAILURE;
    }
    const MutexLock lock(g_adapterMutex);
    try {
        return body();
    }
    catch (const std::bad_alloc&) {
        ReportError(line, errorText, "%s: ERROR. Out of memory.", operation);
    }
    catch (const std::exception& exception) {
        ReportError(line, errorText, "%s: ERROR. Unexpected failure: %s", operation, exception.what());
    }
    catch (...) {
        ReportError(line, errorText, "%s: ERROR. Unexpected failure.", operation);
    }
    return MARAVEL_FAILURE;
}

// The guard of the channel callbacks: checks bindings, adapter data and channel, in that order, and hands the
// body a ChannelCall.
template <class Body>
std::int32_t HostCall(const HostEntry& entry, char* errorText, std::int64_t channelID, Body body) noexcept
{
    return GuardedCall(
        entry.line, entry.operation, errorText, [&]() MARAVEL_REQUIRES(g_adapterMutex) -> std::int32_t {
            if (g_apiAccess == nullptr || g_adapterData == nullptr) {
                ReportError(entry.line, errorText, entry.notStarted.Get(), entry.operation);
                return MARAVEL_FAILURE;
            }
            VideoChannelData* channel = FindChannel(channelID);
            if (channel == nullptr) {
                ReportError(entry.line, errorText, entry.noSuchChannel.Get(), entry.operation,
                            static_cast<long long>(channelID), static_cast<int>(g_adapterData->cameraCount));
                return MARAVEL_FAILURE;
            }
            ChannelCall call{entry.operation,
                             errorText,
                             channelID,
                             *g_apiAccess,
                             *g_adapterData,
                             *channel,
                             g_adapterData->cameras[static_cast<std::size_t>(channelID)]};
            return body(call);
        });
}

// Refuses a null pointer that the host passed for something a callback needs.
inline bool RejectNull(unsigned line, const ChannelCall& call, const void* pointer) noexcept
{
    if (pointer == nullptr) {
        ReportError(line, call.errorText, "%s: ERROR. Null pointer passed. channelID=%lld.", call.operation,
                    call.channelID);
    }
    return pointer == nullptr;
}

} // namespace maravel
