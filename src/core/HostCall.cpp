#include "core/HostCall.h"

#include <cstdarg>

namespace maravel {

void ReportError(unsigned line, char* errorText, const char* format, ...) noexcept
{
    if (errorText == nullptr) {
        return;
    }
    std::va_list arguments;
    va_start(arguments, format);
    FormatText(errorText, ErrorTextSize, format, arguments);
    va_end(arguments);
    WriteLog(line, "%s\n", errorText);
}

void ReportNoSuchChannel(const HostEntry& entry, char* errorText, std::int64_t channelID,
                         std::uint32_t cameraCount) noexcept
{
    const auto id = static_cast<long long>(channelID);
    const int count = static_cast<int>(cameraCount);
    switch (entry.noSuchChannel) {
    case NoSuchChannelText::Cameras:
        return ReportError(entry.line, errorText, "%s: ERROR. Invalid channelID=%lld. Available cameras=%d",
                           entry.operation, id, count);
    case NoSuchChannelText::CamerasPeriod:
        return ReportError(entry.line, errorText, "%s: ERROR. Invalid channelID=%lld. Available cameras=%d.",
                           entry.operation, id, count);
    case NoSuchChannelText::CapitalCameras:
        return ReportError(entry.line, errorText, "%s: ERROR. Invalid channelID=%lld. Available Cameras=%d",
                           entry.operation, id, count);
    case NoSuchChannelText::CapitalCamerasPeriod:
        return ReportError(entry.line, errorText, "%s: ERROR. Invalid channelID=%lld. Available Cameras=%d.",
                           entry.operation, id, count);
    }
}

bool RejectNull(unsigned line, const ChannelCall& call, const void* pointer) noexcept
{
    if (pointer == nullptr) {
        ReportError(line, call.errorText, "%s: ERROR. Null pointer passed. channelID=%lld.", call.operation,
                    call.channelID);
    }
    return pointer == nullptr;
}

} // namespace maravel
