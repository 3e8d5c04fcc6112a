#include "LogWatch.h"

#include "camhost/OwnLog.h"

#include <algorithm>
#include <chrono>
#include <system_error>

namespace maravel::view {
namespace {

using namespace diagnosis;

constexpr std::size_t kMostLines = 2000;

} // namespace

LogWatch::LogWatch(std::function<void()> onNews)
    : onNews_(std::move(onNews)), on_(camhost::HasOwnLog()), tail_(OwnLogFile())
{
    if (on_) {
        thread_ = std::thread([this] { Run(); });
    }
}

LogWatch::~LogWatch()
{
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
    }
    ended_.notify_all();
    if (thread_.joinable()) {
        thread_.join();
    }
}

void LogWatch::Run()
{
    for (;;) {
        if (Read()) {
            onNews_();
        }
        std::unique_lock lock(mutex_);
        if (ended_.wait_for(lock, std::chrono::milliseconds(400), [this] { return ending_; })) {
            return;
        }
    }
}

// Lines that come with every frame are counted and not kept: they would push all others out.
void LogWatch::Take(const Entry& entry, const Match& match)
{
    static constexpr const char* kLevels[] = {"normal", "frequent", "warning", "error"};
    if (match.message != nullptr && match.message->level == Level::Frequent) {
        return;
    }
    LogLine line;
    line.time = FormatTime(entry.time);
    line.text = ToUtf8(entry.text);
    line.channel = match.channel;
    line.level =
        match.message == nullptr ? "unknown" : kLevels[static_cast<std::size_t>(match.message->level)];
    if (match.message != nullptr) {
        line.means = match.message->means;
        line.advice = match.message->advice;
    }
    fresh_.push_back(std::move(line));
    if (fresh_.size() > kMostLines) {
        fresh_.erase(fresh_.begin(), fresh_.begin() + kMostLines / 2);
    }
}

bool LogWatch::Read()
try {
    if (analysis_ == nullptr || tail_.WasEmptied()) {
        tail_.Restart();
        analysis_ = std::make_unique<Analysis>(
            [this](const Entry& entry, const Match& match) { Take(entry, match); });
    }
    if (!tail_.ReadInto(*analysis_)) {
        return false;
    }
    Circumstances circumstances;
    circumstances.stillWritten = circumstances.ownLog = true;
    const LogReport report = analysis_->Report(circumstances);

    std::vector<LogFinding> findings;
    std::map<std::int64_t, FrameCounts> counts;
    if (!report.runs.empty()) {
        for (const Finding& finding : report.runs.back().findings) {
            if (finding.fault->id != FaultId::HostKilled) { // it has not ended
                findings.push_back({finding.fault->name, SeverityName(finding.fault->severity),
                                    finding.sentence, finding.advice, finding.channel, finding.count});
            }
        }
        for (const ChannelReport& row : report.runs.back().channels) {
            counts[row.channel] = {row.complete, row.incomplete, row.missing};
        }
    }
    const std::lock_guard lock(mutex_);
    findings_ = std::move(findings);
    counts_ = std::move(counts);
    for (LogLine& line : fresh_) {
        line.number = ++count_;
        lines_.push_back(std::move(line));
    }
    fresh_.clear();
    while (lines_.size() > kMostLines) {
        lines_.pop_front();
    }
    return true;
}
catch (const std::system_error&) {
    return false; // a log that cannot be read tells nothing
}

std::vector<LogLine> LogWatch::LinesAfter(std::uint64_t number, std::size_t most) const
{
    const std::lock_guard lock(mutex_);
    auto first = std::ranges::upper_bound(lines_, number, {}, &LogLine::number);
    const auto count = std::min(most, static_cast<std::size_t>(lines_.end() - first));
    if (number == 0) {
        first = lines_.end() - static_cast<std::ptrdiff_t>(count);
    }
    return {first, first + static_cast<std::ptrdiff_t>(count)};
}

std::vector<LogFinding> LogWatch::Findings() const
{
    const std::lock_guard lock(mutex_);
    return findings_;
}

std::map<std::int64_t, FrameCounts> LogWatch::Counts() const
{
    const std::lock_guard lock(mutex_);
    return counts_;
}

} // namespace maravel::view
