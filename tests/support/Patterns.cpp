#include "support/Patterns.h"

#include <map>
#include <regex>

namespace maravel::test {
namespace {

// Logs are matched line by line.
const std::regex& Compiled(const char* pattern)
{
    static thread_local std::map<std::string, std::regex> compiled;
    return compiled.try_emplace(pattern, pattern).first->second;
}

} // namespace

std::vector<std::string> MatchWhole(const std::string& text, const char* pattern)
{
    std::smatch match;
    if (!std::regex_match(text, match, Compiled(pattern))) {
        return {};
    }
    return {match.begin(), match.end()};
}

bool ContainsPattern(const std::string& text, const char* pattern)
{
    return std::regex_search(text, Compiled(pattern));
}

std::string ReplacePattern(const std::string& text, const char* pattern, const char* with)
{
    return std::regex_replace(text, Compiled(pattern), with);
}

} // namespace maravel::test
