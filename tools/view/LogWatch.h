// The adapter's log of this very process, followed while it grows: what every line means, what went wrong,
// and the camera's own count of its frames, which the host interface does not hand on.
#pragma once

#include "diagnosis/LogFile.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace maravel::view {

struct LogLine
{
    std::uint64_t number = 0; // counts from 1
    std::string time, text, level, means, advice;
    std::int64_t channel = -1;
};

struct LogFinding
{
    std::string name, severity, sentence, advice;
    std::int64_t channel = -1;
    std::uint64_t count = 0;

    bool operator==(const LogFinding&) const = default;
};

struct FrameCounts
{
    std::uint64_t complete = 0, incomplete = 0, missing = 0;
};

class LogWatch
{
public:
    // `onNews` is called on a thread of its own.
    explicit LogWatch(std::function<void()> onNews);
    ~LogWatch();
    LogWatch(const LogWatch&) = delete;
    LogWatch& operator=(const LogWatch&) = delete;

    bool On() const { return on_; }
    // The lines behind that number, `most` at most and the oldest first; without a number (0) the newest
    // ones.
    std::vector<LogLine> LinesAfter(std::uint64_t number, std::size_t most) const;
    std::vector<LogFinding> Findings() const;
    std::map<std::int64_t, FrameCounts> Counts() const; // by channel, over the whole run

private:
    void Run();
    bool Read();
    void Take(const diagnosis::Entry& entry, const diagnosis::Match& match);

    const std::function<void()> onNews_;
    const bool on_;
    diagnosis::LogTail tail_;
    std::unique_ptr<diagnosis::Analysis> analysis_;
    std::vector<LogLine> fresh_;

    mutable std::mutex mutex_; // guards the fields below
    std::condition_variable ended_;
    bool ending_ = false;
    std::uint64_t count_ = 0;
    std::deque<LogLine> lines_; // the latest
    std::vector<LogFinding> findings_;
    std::map<std::int64_t, FrameCounts> counts_;
    std::thread thread_;
};

} // namespace maravel::view
