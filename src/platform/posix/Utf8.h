// Wide text (UTF-32) and UTF-8. A byte that is not part of valid UTF-8 travels through wide text as
// U+DC00 + byte, so that any path survives the way there and back.
#pragma once

#include <string>
#include <string_view>

namespace maravel::posix {

std::wstring WideText(std::string_view narrow);

// Whether all of it is characters, or bytes that came through WideText.
bool IsText(std::wstring_view wide);

std::string NarrowText(std::wstring_view wide);

// Appends the character as UTF-8; a surrogate or a value above U+10FFFF appends U+FFFD.
void AppendUtf8(std::string& text, char32_t character);

} // namespace maravel::posix
