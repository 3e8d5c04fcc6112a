// What the stand-ins share: the error number that GetLastError answers, one a thread, the folder that stands
// for the machine, and the two forms of text. A byte that is not part of valid UTF-8 travels through wide
// text (UTF-32) as U+DC00 + byte, so that any path survives the way there and back.
#pragma once

#include "platform/Win32.h"

#include <string>
#include <string_view>

namespace maravel::posix {

// Sets the last error. Always FALSE, so that a function that fails can end with it.
BOOL Fail(DWORD error);

// The same with errno's value.
BOOL FailWithErrno(int error);

// The folder that stands for the machine's shared state; empty when neither MARAVEL_PLATFORM_ROOT nor a home
// folder is known.
std::string PlatformRoot();

std::wstring WideText(std::string_view narrow);

// Whether all of it is characters, or bytes that came through WideText.
bool IsText(std::wstring_view wide);

std::string NarrowText(std::wstring_view wide);

// Appends the character as UTF-8; a surrogate or a value above U+10FFFF appends U+FFFD.
void AppendUtf8(std::string& text, char32_t character);

} // namespace maravel::posix
