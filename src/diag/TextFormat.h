// The printf formatting behind every log line and error text, and the texts that go into the host's buffers.
// Any thread.
#pragma once

#include "platform/Compiler.h"

#include <cstdarg>
#include <cstddef>

namespace maravel {

// Formats into the buffer, at most size - 1 characters and a terminating null, and returns the number of
// characters written. Knows the conversions that the adapter's texts use: %s %d %u %X %lld %llu %f %%, with a
// zero flag and a width. Unlike the C library's own it never depends on the host's locale and never fails; a
// null text prints as "(null)".
std::size_t FormatText(char* buffer, std::size_t size, const char* format, std::va_list arguments) noexcept;

// Size of the host's error-text buffer, terminating null included.
inline constexpr std::size_t ErrorTextSize = 256;

// The same for a caller that has the values themselves: of a message to the host, or of any other short text.
int FormatErrorText(char* buffer, std::size_t size, const char* format, ...) noexcept MARAVEL_PRINTF(3, 4);

// Copies a text that belongs to somebody else into a host buffer, cut to size - 1 characters and always
// terminated. A null text is an empty one.
void CopyTextBounded(char* buffer, std::size_t size, const char* text) noexcept;

} // namespace maravel
