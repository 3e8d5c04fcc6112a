// Regular expressions (ECMAScript). The templates behind them compile for long: once here, and in no other
// file.
#pragma once

#include <string>
#include <vector>

namespace maravel::test {

// The whole text and the pattern's groups; nothing when the text as a whole does not match.
std::vector<std::string> MatchWhole(const std::string& text, const char* pattern);

bool ContainsPattern(const std::string& text, const char* pattern);

// `with` may name groups ("$1").
std::string ReplacePattern(const std::string& text, const char* pattern, const char* with);

} // namespace maravel::test
