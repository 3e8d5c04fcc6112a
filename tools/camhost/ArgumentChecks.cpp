#include "ArgumentChecks.h"

#include "CommandLine.h"
#include "host/Utf8Path.h"

#include <filesystem>
#include <string>

namespace maravel::camhost {
namespace {

int DigitsAt(const std::string& text, std::size_t at)
{
    const auto digit = [](char c) { return c >= '0' && c <= '9'; };
    return at + 2 <= text.size() && digit(text[at]) && digit(text[at + 1])
               ? (text[at] - '0') * 10 + (text[at + 1] - '0')
               : -1;
}

// The library's own checks know narrow paths only, and print limits of three hundred digits.
CLI::Validator Check(bool (*accepts)(const std::string&), const char* wanted)
{
    return {[=](const std::string& text) -> std::string {
                return accepts(text) ? "" : "'" + text + "' is " + wanted;
            },
            ""};
}

} // namespace

CLI::Validator IsFolder()
{
    return Check(
        [](const std::string& text) {
            std::error_code error;
            return std::filesystem::is_directory(host::PathOf(text), error);
        },
        "no folder");
}

CLI::Validator IsSeconds()
{
    return Check(
        [](const std::string& text) {
            double value = 0;
            return CLI::detail::lexical_cast(text, value) && value > 0 && value <= 1e6;
        },
        "no time; write seconds without a unit, such as 0.01");
}

CLI::Validator IsPixels()
{
    return Check(
        [](const std::string& text) {
            int value = 0;
            return CLI::detail::lexical_cast(text, value) && value >= 0;
        },
        "no number of pixels; write X,Y,WIDTH,HEIGHT such as 0,0,640,480");
}

CLI::Validator IsIndex()
{
    return Check(
        [](const std::string& text) {
            return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos &&
                   text.size() < 6;
        },
        "no index of a channel; write a number such as 0");
}

CLI::Validator IsTimeOfDay()
{
    return Check([](const std::string& text) { return ParseTimeOfDay(text) >= 0; },
                 "no time of day; write 14:05 or 14:05:30");
}

int ParseTimeOfDay(const std::string& text)
{
    if ((text.size() != 5 && text.size() != 8) || text[2] != ':' || (text.size() == 8 && text[5] != ':')) {
        return -1;
    }
    const int hour = DigitsAt(text, 0), minute = DigitsAt(text, 3),
              second = text.size() == 8 ? DigitsAt(text, 6) : 0;
    return hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 59
               ? -1
               : (hour * 60 + minute) * 60 + second;
}

} // namespace maravel::camhost
