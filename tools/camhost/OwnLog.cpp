#include "OwnLog.h"

#include "System.h"
#include "diagnosis/LogFile.h"
#include "diagnosis/Machine.h"

#include <system_error>

namespace maravel::camhost {

using namespace diagnosis;

bool HasOwnLog()
{
    const FileMoment moment = LastChangeOf(OwnLogFile());
    return ReadLogSwitch().On() && moment.secondsAgo >= 0 && moment.secondsAgo <= SecondsSinceStart() + 1;
}

OwnLog::OwnLog(const std::set<Frame>& wanted)
{
    if (!HasOwnLog()) {
        return;
    }
    try {
        const LogReport report = ReadLog(OwnLogFile(), true, [&](const Entry&, const Match& match) {
            if (match.message == nullptr || match.message->event != Event::FrameStored) {
                return;
            }
            const Frame frame(match.channel, static_cast<std::uint64_t>(match.Number(3)));
            if (wanted.contains(frame)) {
                numbers_[frame] = static_cast<std::uint64_t>(match.Number(2));
            }
        });
        if (!report.runs.empty()) {
            run_ = report.runs.back();
        }
    }
    catch (const std::system_error&) {
        // A log that cannot be read tells nothing.
    }
}

const Finding* OwnLog::Fault(std::int64_t channel) const
{
    if (!run_) {
        return nullptr;
    }
    for (const Finding& finding : run_->findings) {
        const bool about = channel < 0 || finding.channel < 0 || finding.channel == channel;
        if (about && finding.fault->severity != Severity::Hint && finding.fault->id != FaultId::HostKilled) {
            return &finding;
        }
    }
    return nullptr;
}

const Finding* OwnLog::FaultIn(const std::string& text) const
{
    if (!run_) {
        return nullptr;
    }
    for (const Finding& finding : run_->findings) {
        for (const Quote& quote : finding.quotes) {
            if (!quote.text.empty() && text.find(quote.text) != std::string::npos) {
                return &finding;
            }
        }
    }
    return nullptr;
}

std::optional<std::uint64_t> OwnLog::NumberOf(const Frame& frame) const
{
    const auto found = numbers_.find(frame);
    return found == numbers_.end() ? std::nullopt : std::optional(found->second);
}

std::string InOneLine(const Finding& finding)
{
    return finding.sentence + " " + finding.advice;
}

} // namespace maravel::camhost
