#include "diag/ErrorText.h"

#include "diag/TextFormat.h"

#include <cstdarg>
#include <cstring>

namespace maravel {

int FormatErrorText(char* buffer, std::size_t size, const char* format, ...) noexcept
{
    std::va_list arguments;
    va_start(arguments, format);
    const std::size_t length = FormatText(buffer, size, format, arguments);
    va_end(arguments);
    return static_cast<int>(length);
}

void CopyTextBounded(char* buffer, std::size_t size, const char* text) noexcept
{
    if (text == nullptr) {
        text = "";
    }
    const void* null = std::memchr(text, '\0', size - 1);
    const std::size_t length =
        null != nullptr ? static_cast<std::size_t>(static_cast<const char*>(null) - text) : size - 1;
    std::memcpy(buffer, text, length);
    buffer[length] = '\0';
}

} // namespace maravel
