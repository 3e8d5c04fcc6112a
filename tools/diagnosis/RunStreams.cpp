// What the lines of a stream tell: frames, their rates and gaps, and why none came.
#include "Run.h"

#include <algorithm>

namespace maravel::diagnosis {
namespace {

// A stream shorter than this proves nothing when no frame came.
constexpr std::int64_t kPatience = 1000;

// Fewer missing frames than this, and than a twentieth, may be a busy machine's.
constexpr std::uint64_t kFewMissing = 3;

// More than the incomplete frames that stand at the end of a log while other cameras send.
constexpr std::uint64_t kManyUnclaimed = 10;

} // namespace

void Analysis::Run::TakeStream(const Entry& entry, const Match& match)
{
    switch (match.message->event) {
    case Event::HostCalls: {
        Stream& stream = At(match.channel).stream;
        if (match.operation != "StartAcquisition" || stream.called) {
            return;
        }
        stream.called = true;
        stream.since = entry.time;
        stream.start = QuoteOf(entry);
        ++At(match.channel).report.starts;
        break;
    }
    case Event::CameraStarted:
        At(openChannel_).stream.started = true;
        break;
    case Event::FrameIncomplete:
        ++incompleteLines_;
        if (Stream* stream = OnlyStream()) {
            ++stream->incomplete;
            stream->incompleteAtStart += stream->complete == 0 ? 1 : 0;
        }
        else {
            ++unclaimed_;
        }
        Note(FaultId::PacketsLost, Finding::NoChannel, QuoteOf(entry), match);
        break;
    case Event::ImageDescribed:
        TakeFetch();
        break;
    default:
        TakeStop(entry, match);
        break;
    }
}

// The line names no channel. Where several stream, the one with the most images is taken, so that nobody is
// called too slow who is not.
void Analysis::Run::TakeFetch()
{
    Stream* fetched = nullptr;
    for (auto& [index, channel] : channels_) {
        if (channel.stream.called && (fetched == nullptr || channel.stream.waiting > fetched->waiting)) {
            fetched = &channel.stream;
        }
    }
    if (fetched != nullptr && fetched->waiting > 0) {
        --fetched->waiting;
    }
}

// Gives the stream so many of the incomplete frames whose lines could be any stream's.
void Analysis::Run::Claim(Stream& stream, std::uint64_t frames)
{
    frames = std::min(frames, unclaimed_);
    unclaimed_ -= frames;
    stream.incomplete += frames;
}

// A stream of incomplete frames alone leaves no gaps; the lines that are left are its own if no other stream
// is silent.
void Analysis::Run::ClaimForSilentStream()
{
    Stream* silent = nullptr;
    for (auto& [index, channel] : channels_) {
        if (channel.stream.called && channel.stream.complete == 0) {
            if (silent != nullptr) {
                return;
            }
            silent = &channel.stream;
        }
    }
    if (silent != nullptr && unclaimed_ >= kManyUnclaimed) {
        Claim(*silent, unclaimed_);
    }
}

void Analysis::Run::TakeFrame(const Entry& entry, const Match& match)
{
    Channel& channel = At(match.channel);
    Stream& stream = channel.stream;
    const auto number = static_cast<std::uint64_t>(match.Number(2));
    ++channel.report.complete;
    if (stream.complete++ > 0) {
        if (number > stream.lastFrame + 1) {
            const std::uint64_t gap = number - stream.lastFrame - 1;
            stream.gaps += gap;
            Claim(stream, std::min(gap, incompleteLines_ - stream.incompleteLinesBefore));
            if (gap > stream.largestGap) {
                stream.largestGap = gap;
                stream.worstGap = QuoteOf(entry);
            }
        }
        if (entry.time - stream.lastTime > channel.report.longestGap) {
            channel.report.longestGap = entry.time - stream.lastTime;
            channel.report.longestGapAt = stream.lastTime;
        }
    }
    else {
        stream.firstTime = entry.time;
    }
    stream.lastFrame = number;
    stream.incompleteLinesBefore = incompleteLines_;
    stream.lastTime = entry.time;
    stream.lastLine = entry.line;
    stream.highestBuffer = std::max(stream.highestBuffer, match.Number(1));
    stream.mostWaiting = std::max(stream.mostWaiting, ++stream.waiting);
    channel.report.timeline.Add(entry.time);

    const std::int64_t second = entry.time / 1000;
    if (second != stream.second) {
        if (stream.full) {
            ++channel.rates[stream.inSecond];
        }
        stream.full = stream.second >= 0;
        stream.second = second;
        stream.inSecond = 0;
    }
    ++stream.inSecond;
}

void Analysis::Run::TakeStop(const Entry& entry, const Match& match)
{
    Channel& channel = At(match.channel);
    const Quote quote = QuoteOf(entry);
    if (match.message->event == Event::StopFailed) {
        Evidence& lost = evidence_[{FaultId::Unplugged, match.channel}];
        if (lost.count == 1 && channel.stream.complete > 0) {
            lost.detail = ", after " + FormatTime(channel.stream.lastTime) + " and frame " +
                          std::to_string(channel.stream.lastFrame);
        }
        if (lost.count == 0) {
            evidence_.erase({FaultId::Unplugged, match.channel});
        }
        return;
    }
    // The stop knows better than the lines above how many frames of this channel were incomplete.
    const auto incomplete = static_cast<std::uint64_t>(match.Number(3));
    if (incomplete > channel.stream.incomplete) {
        Claim(channel.stream, incomplete - channel.stream.incomplete);
    }
    else {
        unclaimed_ += channel.stream.incomplete - incomplete;
    }
    channel.stream.incomplete = incomplete;
    CloseStream(channel, quote);
}

void Analysis::Run::CloseStream(Channel& channel, const Quote& end)
{
    Stream& stream = channel.stream;
    channel.report.incomplete += stream.incomplete;
    if (stream.complete == 0) {
        JudgeSilence(channel, end);
    }
    else {
        JudgeLosses(channel, end);
    }
    const double seconds = static_cast<double>(stream.lastTime - stream.firstTime) / 1000;
    if (channel.rates.empty() && stream.complete > 1 && seconds > 0) {
        const double rate = static_cast<double>(stream.complete - 1) / seconds;
        channel.report.rateMinimum = channel.report.rateMedian = channel.report.rateMaximum = rate;
    }
    stream = {};
}

void Analysis::Run::JudgeSilence(const Channel& channel, const Quote& end)
{
    const Stream& stream = channel.stream;
    const std::int64_t elapsed = end.time - stream.since;
    FaultId id = FaultId::NoFrames;
    if (stream.incomplete >= 3 || (stream.incomplete > 0 && elapsed >= kPatience)) {
        id = FaultId::AllIncomplete;
    }
    else if (!stream.started || elapsed < kPatience || stream.incomplete > 0) {
        return;
    }
    else if (channel.report.trigger.starts_with("HARDWARE")) {
        id = FaultId::WaitingForPulses;
    }
    Evidence& found = evidence_[{id, channel.report.channel}];
    found.count += 1;
    found.frames += stream.incomplete;
    found.milliseconds = elapsed;
    found.quotes = {stream.start, end};
    if (id == FaultId::AllIncomplete) {
        const auto lines = evidence_.find({FaultId::PacketsLost, Finding::NoChannel});
        if (lines != evidence_.end()) {
            found.quotes.insert(found.quotes.begin() + 1, lines->second.quotes.front());
        }
    }
    if (id == FaultId::WaitingForPulses && !channel.source.empty()) {
        found.detail = " on " + channel.source + (channel.edge.empty() ? "" : " (" + channel.edge + ")");
    }
}

void Analysis::Run::JudgeLosses(Channel& channel, const Quote& end)
{
    const Stream& stream = channel.stream;
    const std::int64_t index = channel.report.channel;
    // The first frame of a stream may come before everything on the way is ready.
    if (stream.incomplete > std::min<std::uint64_t>(stream.incompleteAtStart, 1)) {
        Evidence& found = evidence_[{FaultId::PacketsLost, index}];
        found.count += stream.incomplete;
        found.frames += stream.incomplete;
        found.of += stream.complete + stream.incomplete;
        if (const auto lines = evidence_.find({FaultId::PacketsLost, Finding::NoChannel});
            lines != evidence_.end()) {
            found.quotes = {lines->second.quotes.front()};
        }
        found.quotes.push_back(end);
    }
    const std::uint64_t missing = stream.gaps > stream.incomplete ? stream.gaps - stream.incomplete : 0;
    channel.report.missing += missing;
    if (missing < kFewMissing || missing * 20 < stream.complete) {
        return;
    }
    const bool slow = stream.highestBuffer >= 3 && stream.mostWaiting > stream.highestBuffer;
    Evidence& found = evidence_[{slow ? FaultId::HostTooSlow : FaultId::FramesMissing, index}];
    found.count += 1;
    found.frames += missing;
    found.of += stream.complete;
    found.quotes = {stream.worstGap, end};
    if (slow) {
        found.detail = ", all " + std::to_string(stream.highestBuffer + 1) + " waited for it";
    }
}

} // namespace maravel::diagnosis
