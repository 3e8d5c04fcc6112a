#include "core/HostCall.h"

#include <algorithm>
#include <cstdarg>
#include <exception>
#include <new>

namespace maravel {

bool ReportError(unsigned line, char* errorText, const char* format, ...) noexcept
{
    if (errorText != nullptr) {
        std::va_list arguments;
        va_start(arguments, format);
        FormatText(errorText, ErrorTextSize, format, arguments);
        va_end(arguments);
        WriteLog(line, "%s\n", errorText);
    }
    return false;
}

std::int32_t RunGuarded(unsigned line, const char* operation, char* errorText, std::int32_t (*body)(void*),
                        void* context) noexcept
{
    if (g_adapterMutex.IsHeldHere() || g_frameMutex.IsHeldHere()) {
        ReportError(line, errorText, "%s: ERROR. Called from inside another call of the same thread.",
                    operation);
        return MARAVEL_FAILURE;
    }
    const MutexLock lock(g_adapterMutex);
    try {
        return body(context);
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

VideoChannelData* AdmitCall(const HostEntry& entry, char* errorText, std::int64_t channelID,
                            std::initializer_list<const void*> pointers) noexcept
{
    if (g_apiAccess == nullptr || g_adapterData == nullptr) {
        entry.notStarted == nullptr
            ? ReportError(entry.line, errorText, "%s: ERROR. Invalid class pointer.", entry.operation)
            : ReportError(entry.line, errorText, "%s", entry.notStarted);
        return nullptr;
    }
    VideoChannelData* channel = FindChannel(channelID);
    if (channel == nullptr) {
        using enum NoSuchChannelText;
        const NoSuchChannelText words = entry.noSuchChannel;
        ReportError(entry.line, errorText,
                    words == Cameras          ? "%s: ERROR. Invalid channelID=%lld. Available cameras=%d"
                    : words == CamerasPeriod  ? "%s: ERROR. Invalid channelID=%lld. Available cameras=%d."
                    : words == CapitalCameras ? "%s: ERROR. Invalid channelID=%lld. Available Cameras=%d"
                                              : "%s: ERROR. Invalid channelID=%lld. Available Cameras=%d.",
                    entry.operation, static_cast<long long>(channelID),
                    static_cast<int>(g_adapterData->cameraCount));
        return nullptr;
    }
    if (std::find(pointers.begin(), pointers.end(), nullptr) != pointers.end()) {
        ReportError(entry.line, errorText, "%s: ERROR. Null pointer passed. channelID=%lld.", entry.operation,
                    static_cast<long long>(channelID));
        return nullptr;
    }
    return channel;
}

} // namespace maravel
