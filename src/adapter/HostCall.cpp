#include "adapter/HostCall.h"

#include "diag/TextFormat.h"

#include <cstdarg>

namespace maravel {

void ReportError(unsigned line, char* errorText, const char* format, ...) noexcept
{
    std::va_list arguments;
    va_start(arguments, format);
    FormatText(errorText, ErrorTextSize, format, arguments);
    va_end(arguments);
    WriteLog(line, "%s\n", errorText);
}

VideoChannelData* FindChannel(std::int64_t channelID) noexcept
{
    if (g_apiAccess == nullptr || g_adapterData == nullptr || channelID < 0 ||
        channelID >= static_cast<std::int64_t>(g_adapterData->cameraCount)) {
        return nullptr;
    }
    return &g_adapterData->channels[static_cast<std::size_t>(channelID)];
}

} // namespace maravel
