// What a log came to: a report for each run of the adapter that it holds.
#pragma once

#include "Faults.h"

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace maravel::diagnosis {

// A line of the log, as evidence.
struct Quote
{
    std::uint64_t line = 0;
    std::int64_t time = -1;
    std::string text;
};

struct Finding
{
    static constexpr std::int64_t NoChannel = -1;

    const Fault* fault = nullptr;
    std::int64_t channel = NoChannel;
    std::string sentence;
    std::string advice;
    std::vector<Quote> quotes; // at most three
    std::uint64_t count = 0;   // lines that say so
};

// Frames over time in at most `Most` equal pieces, whatever the length.
class Timeline
{
public:
    static constexpr std::size_t Most = 240;

    void Add(std::int64_t time);
    std::int64_t Begin() const { return begin_; }
    std::int64_t Width() const { return width_; } // milliseconds of a piece
    const std::vector<std::uint32_t>& Counts() const { return counts_; }
    // The same in that many columns at most.
    std::vector<double> Columns(std::size_t columns) const;

private:
    std::int64_t begin_ = -1;
    std::int64_t width_ = 100;
    std::vector<std::uint32_t> counts_;
};

struct ChannelReport
{
    std::int64_t channel = 0;
    std::string camera;  // model
    std::string id;      // as the SDK has it
    std::string trigger; // mode of the last set-up
    std::string format;  // of the last start
    std::uint64_t starts = 0;
    std::uint64_t complete = 0;
    std::uint64_t incomplete = 0;
    std::uint64_t missing = 0; // by gaps in the frame numbers, without the incomplete ones
    double rateMinimum = 0, rateMedian = 0, rateMaximum = 0; // frames a second
    std::int64_t longestGap = 0;                             // milliseconds between two frames of one stream
    std::int64_t longestGapAt = -1;
    Timeline timeline;
};

struct RunReport
{
    std::uint64_t firstLine = 0, lastLine = 0;
    std::int64_t begin = -1, end = -1; // times
    std::string adapterVersion, sdkVersion, transformVersion, host, sdkPath;
    std::int64_t cameras = -1; // found at the start; -1: it did not come to that
    bool elevated = false;
    bool shutDown = false;
    std::vector<Finding> findings; // the worst first
    std::vector<ChannelReport> channels;

    bool Healthy() const;
};

struct LogReport
{
    std::string file;
    std::uint64_t bytes = 0, lines = 0, entries = 0;
    std::uint64_t unknown = 0; // entries whose message is not known
    std::vector<Quote> firstUnknown;
    std::uint64_t earlierRuns = 0; // that are not listed, of a log of very many
    std::vector<RunReport> runs;
    std::string date; // of the last entry, YYYY-MM-DD; empty: not known

    bool Healthy() const;
};

} // namespace maravel::diagnosis
