// One-line messages into the host's text buffer.
#pragma once

#include "platform/Compiler.h"

#include <cstddef>

namespace maravel {

// Size of the host's error-text buffer, terminating null included.
inline constexpr std::size_t ErrorTextSize = 256;

// Formats a message into the buffer, cut to size - 1 characters and always terminated; returns the number of
// characters written.
int FormatErrorText(char* buffer, std::size_t size, const char* format, ...) noexcept MARAVEL_PRINTF(3, 4);

// Copies a text that belongs to somebody else into a host buffer, cut to size - 1 characters and always
// terminated. A null text is an empty one.
void CopyTextBounded(char* buffer, std::size_t size, const char* text) noexcept;

} // namespace maravel
