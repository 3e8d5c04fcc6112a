// Cuts the bytes of a log into its entries. Takes whatever two hosts, a full disk or a cut copy leave:
// messages without a line end, NUL bytes, lines without a beginning.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace maravel::diagnosis {

struct Entry
{
    static constexpr std::int64_t NoTime = -1;

    std::uint64_t line = 0;     // of the file, from 1
    std::int64_t time = NoTime; // milliseconds since the midnight before the first entry
    unsigned sourceLine = 0; // 0: the text has no beginning, it is what is left of a line or goes on from one
    std::string_view text;   // without the time and the source line
};

class LogReader
{
public:
    using Sink = std::function<void(const Entry&)>;

    // The next bytes of the file, cut anywhere. The entries are valid during the call only.
    void Feed(std::string_view bytes, const Sink& sink);
    // Takes what is left as the last line.
    void Finish(const Sink& sink);

    std::uint64_t Bytes() const { return bytes_; }
    std::uint64_t Lines() const { return line_; }
    std::uint64_t NulBytes() const { return nulBytes_; }
    int Days() const { return days_; } // midnights that passed

private:
    void TakeLine(std::string_view line, const Sink& sink);
    void TakePart(std::string_view part, const Sink& sink);
    void TakeEntry(std::string_view text, const Sink& sink);
    std::int64_t TimeOf(std::string_view prefix);

    std::string pending_; // the beginning of a line
    std::uint64_t bytes_ = 0;
    std::uint64_t line_ = 0;
    std::uint64_t nulBytes_ = 0;
    std::int64_t lastTimeOfDay_ = -1;
    int days_ = 0;
};

// "hh:mm:ss:mmm", as the log has it.
std::string FormatTime(std::int64_t time);

} // namespace maravel::diagnosis
