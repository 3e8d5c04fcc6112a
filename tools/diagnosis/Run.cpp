#include "Run.h"

#include "Verdict.h"

#include <algorithm>
#include <unordered_map>

namespace maravel::diagnosis {
namespace {

// A stream shorter than this proves nothing when no frame came.
constexpr std::int64_t kPatience = 1000;

// Fewer missing frames than this, and than a twentieth, may be a busy machine's.
constexpr std::uint64_t kFewMissing = 3;

// Bytes: what every network takes, and what is left of that where packets travel within others.
constexpr std::int64_t kUsualPackets = 1500;
constexpr std::int64_t kSmallPackets = 1400;

Quote QuoteOf(const Entry& entry)
{
    return {entry.line, entry.time, ToUtf8(entry.text)};
}

const std::vector<const TextRule*>& RulesFor(const Message& message)
{
    static const auto rules = [] {
        std::unordered_map<const Message*, std::vector<const TextRule*>> all;
        for (const Message& known : Messages())
            for (const TextRule& rule : TextRules())
                if (known.text.find(rule.part) != std::string::npos)
                    all[&known].push_back(&rule);
        return all;
    }();
    static const std::vector<const TextRule*> none;
    const auto found = rules.find(&message);
    return found == rules.end() ? none : found->second;
}

// What stands between the first two quotes of a text.
std::string Quoted(std::string_view text)
{
    const std::size_t begin = text.find('\'');
    const std::size_t end = text.find('\'', begin + 1);
    return begin == std::string_view::npos || end == std::string_view::npos
               ? std::string()
               : std::string(text.substr(begin + 1, end - begin - 1));
}

} // namespace

Analysis::Run::Channel& Analysis::Run::At(std::int64_t channel)
{
    Channel& found = channels_[channel];
    found.report.channel = channel;
    return found;
}

// Some lines name no channel; they can be told apart while one channel streams.
Analysis::Run::Stream* Analysis::Run::OnlyStream()
{
    Stream* only = nullptr;
    for (auto& [index, channel] : channels_) {
        if (!channel.stream.called)
            continue;
        if (only != nullptr)
            return nullptr;
        only = &channel.stream;
    }
    return only;
}

void Analysis::Run::Note(FaultId id, std::int64_t channel, const Quote& quote, const Match& match)
{
    Evidence& evidence = evidence_[{id, channel}];
    if (evidence.count++ == 0) {
        evidence.reason = ToUtf8(match.reason);
        evidence.code = match.code;
        for (std::size_t i = 0; i < match.valueCount; ++i)
            evidence.values.push_back(ToUtf8(match.values[i]));
    }
    if (evidence.quotes.size() == 3)
        evidence.quotes.pop_back();
    evidence.quotes.push_back(quote);
}

void Analysis::Run::NoteByText(const Entry& entry, const Match& match)
{
    for (const TextRule* rule : RulesFor(*match.message)) {
        if (rule->operation != nullptr && match.operation != rule->operation)
            continue;
        const std::string reason = " " + std::string(match.reason) + " ";
        if (rule->reasons != nullptr &&
            std::string_view(rule->reasons).find(reason) == std::string_view::npos)
            continue;
        Note(rule->id, match.channel, QuoteOf(entry), match);
        return;
    }
}

void Analysis::Run::Take(const Entry& entry, const Match& match, std::uint64_t nulBytes)
{
    ++entries_;
    nulBytes_ = nulBytes;
    if (report_.firstLine == 0)
        report_.firstLine = entry.line;
    report_.lastLine = entry.line;
    if (entry.time != Entry::NoTime) {
        if (report_.begin < 0)
            report_.begin = entry.time;
        report_.end = entry.time;
        last_.line = entry.line;
        last_.time = entry.time;
        last_.text.assign(entry.text);
    }
    if (match.message == nullptr)
        return;
    if (match.message->level == Level::Warning || match.message->level == Level::Error)
        NoteByText(entry, match);
    if (match.channel != Match::NoChannel && match.message->level != Level::Frequent)
        openChannel_ = match.channel;
    switch (match.message->event) {
    case Event::None:
        return;
    case Event::FrameStored:
        return TakeFrame(entry, match);
    case Event::HostCalls:
    case Event::CameraStarted:
    case Event::FrameIncomplete:
    case Event::ImageDescribed:
    case Event::Stopped:
    case Event::StopFailed:
        return TakeStream(entry, match);
    case Event::CameraOpened:
    case Event::PacketSize:
    case Event::ExposureAuto:
    case Event::TriggerMode:
    case Event::EntrySet:
    case Event::PixelFormat:
        return TakeSetup(entry, match);
    default:
        return TakeStart(entry, match);
    }
}

void Analysis::Run::TakeStart(const Entry& entry, const Match& match)
{
    const auto version = [&match](std::size_t count) {
        std::string text(match.Value(0));
        for (std::size_t i = 1; i < count; ++i)
            text += "." + std::string(match.Value(i));
        return text;
    };
    switch (match.message->event) {
    case Event::Banner:
        banner_ = true;
        break;
    case Event::AdapterVersion:
        report_.adapterVersion = ToUtf8(version(4));
        break;
    case Event::Elevated:
        report_.elevated = match.Value(0) == "1";
        break;
    case Event::HostProgram:
        report_.host = ToUtf8(match.Value(0));
        break;
    case Event::SdkPath:
        report_.sdkPath = ToUtf8(match.Value(0));
        break;
    case Event::SdkStarted:
        report_.sdkVersion = version(4);
        break;
    case Event::CamerasFound:
        report_.cameras = match.Number(0);
        if (report_.cameras == 0)
            Note(FaultId::NoCamera, Finding::NoChannel, QuoteOf(entry), match);
        break;
    case Event::NoFurtherChannel:
        // The adapter says nothing when a library does not load: the next step is missing.
        if (!report_.sdkPath.empty() && !initialized_ &&
            !evidence_.contains({FaultId::SdkTooOld, Finding::NoChannel}))
            Note(FaultId::LibraryNotLoaded, Finding::NoChannel, QuoteOf(entry), match);
        break;
    case Event::Step:
        initialized_ |= match.operation == "InitializeAdapter";
        report_.shutDown |= match.operation == "ShutdownAdapter" || match.operation == "Exit";
        break;
    default:
        break;
    }
}

void Analysis::Run::TakeSetup(const Entry& entry, const Match& match)
{
    Channel& channel = At(match.channel != Match::NoChannel ? match.channel : openChannel_);
    const std::int64_t index = channel.report.channel;
    switch (match.message->event) {
    case Event::CameraOpened:
        channel.report.camera = ToUtf8(match.Value(1));
        channel.report.id = ToUtf8(match.Value(2));
        break;
    case Event::PacketSize:
        if (match.Number(0) <= kUsualPackets)
            Note(match.Number(0) < kSmallPackets ? FaultId::SmallPackets : FaultId::SmallishPackets, index,
                 QuoteOf(entry), match);
        break;
    case Event::ExposureAuto:
        if (match.Value(0) == "0")
            Note(FaultId::AutoExposure, index, QuoteOf(entry), match);
        break;
    case Event::TriggerMode:
        channel.report.trigger = Quoted(match.message->text);
        break;
    case Event::EntrySet:
        if (match.operation.ends_with("TriggerSource"))
            channel.source = ToUtf8(match.Value(0));
        else if (match.operation == "SetTriggerActivation")
            channel.edge = ToUtf8(match.Value(0));
        break;
    default:
        channel.report.format = ToUtf8(match.Value(0));
        break;
    }
}

void Analysis::Run::TakeStream(const Entry& entry, const Match& match)
{
    switch (match.message->event) {
    case Event::HostCalls: {
        Stream& stream = At(match.channel).stream;
        if (match.operation != "StartAcquisition" || stream.called)
            return;
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
        if (Stream* stream = OnlyStream()) {
            ++stream->incomplete;
            stream->incompleteAtStart += stream->complete == 0 ? 1 : 0;
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
    for (auto& [index, channel] : channels_)
        if (channel.stream.called && (fetched == nullptr || channel.stream.waiting > fetched->waiting))
            fetched = &channel.stream;
    if (fetched != nullptr && fetched->waiting > 0)
        --fetched->waiting;
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
    stream.lastTime = entry.time;
    stream.lastLine = entry.line;
    stream.highestBuffer = std::max(stream.highestBuffer, match.Number(1));
    stream.mostWaiting = std::max(stream.mostWaiting, ++stream.waiting);
    channel.report.timeline.Add(entry.time);

    const std::int64_t second = entry.time / 1000;
    if (second != stream.second) {
        if (stream.full)
            ++channel.rates[stream.inSecond];
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
        if (lost.count == 1 && channel.stream.complete > 0)
            lost.detail = ", after " + FormatTime(channel.stream.lastTime) + " and frame " +
                          std::to_string(channel.stream.lastFrame);
        if (lost.count == 0)
            evidence_.erase({FaultId::Unplugged, match.channel});
        return;
    }
    // The stop knows better than the lines above how many frames of this channel were incomplete.
    channel.stream.incomplete = static_cast<std::uint64_t>(match.Number(3));
    CloseStream(channel, quote, evidence_);
}

void Analysis::Run::CloseStream(Channel& channel, const Quote& end, EvidenceMap& evidence)
{
    Stream& stream = channel.stream;
    channel.report.incomplete += stream.incomplete;
    if (stream.complete == 0)
        JudgeSilence(channel, end, evidence);
    else
        JudgeLosses(channel, end, evidence);
    const double seconds = static_cast<double>(stream.lastTime - stream.firstTime) / 1000;
    if (channel.rates.empty() && stream.complete > 1 && seconds > 0) {
        const double rate = static_cast<double>(stream.complete - 1) / seconds;
        channel.report.rateMinimum = channel.report.rateMedian = channel.report.rateMaximum = rate;
    }
    stream = {};
}

void Analysis::Run::JudgeSilence(const Channel& channel, const Quote& end, EvidenceMap& evidence)
{
    const Stream& stream = channel.stream;
    const std::int64_t elapsed = end.time - stream.since;
    FaultId id = FaultId::NoFrames;
    if (stream.incomplete >= 3 || (stream.incomplete > 0 && elapsed >= kPatience))
        id = FaultId::AllIncomplete;
    else if (!stream.started || elapsed < kPatience || stream.incomplete > 0)
        return;
    else if (channel.report.trigger.starts_with("HARDWARE"))
        id = FaultId::WaitingForPulses;
    Evidence& found = evidence[{id, channel.report.channel}];
    found.count += 1;
    found.frames += stream.incomplete;
    found.milliseconds = elapsed;
    found.quotes = {stream.start, end};
    if (id == FaultId::AllIncomplete) {
        const auto lines = evidence.find({FaultId::PacketsLost, Finding::NoChannel});
        if (lines != evidence.end())
            found.quotes.insert(found.quotes.begin() + 1, lines->second.quotes.front());
    }
    if (id == FaultId::WaitingForPulses && !channel.source.empty())
        found.detail = " on " + channel.source + (channel.edge.empty() ? "" : " (" + channel.edge + ")");
}

void Analysis::Run::JudgeLosses(Channel& channel, const Quote& end, EvidenceMap& evidence)
{
    const Stream& stream = channel.stream;
    const std::int64_t index = channel.report.channel;
    // The first frame of a stream may come before everything on the way is ready.
    if (stream.incomplete > std::min<std::uint64_t>(stream.incompleteAtStart, 1)) {
        Evidence& found = evidence[{FaultId::PacketsLost, index}];
        found.count += stream.incomplete;
        found.frames += stream.incomplete;
        found.of += stream.complete + stream.incomplete;
        if (const auto lines = evidence.find({FaultId::PacketsLost, Finding::NoChannel});
            lines != evidence.end())
            found.quotes = {lines->second.quotes.front()};
        found.quotes.push_back(end);
    }
    const std::uint64_t missing = stream.gaps > stream.incomplete ? stream.gaps - stream.incomplete : 0;
    channel.report.missing += missing;
    if (missing < kFewMissing || missing * 20 < stream.complete)
        return;
    const bool slow = stream.highestBuffer >= 3 && stream.mostWaiting > stream.highestBuffer;
    Evidence& found = evidence[{slow ? FaultId::HostTooSlow : FaultId::FramesMissing, index}];
    found.count += 1;
    found.frames += missing;
    found.of += stream.complete;
    found.quotes = {stream.worstGap, end};
    if (slow)
        found.detail = ", all " + std::to_string(stream.highestBuffer + 1) + " waited for it";
}

RunReport Analysis::Run::Report(const Circumstances& circumstances) const
{
    RunReport report = report_;
    std::map<std::int64_t, Channel> channels = channels_;
    EvidenceMap evidence = evidence_;
    for (auto& [index, channel] : channels)
        if (channel.stream.called)
            CloseStream(channel, last_, evidence);
    evidence.erase({FaultId::PacketsLost, Finding::NoChannel});
    if (nulBytes_ > nulBytesBefore_) {
        Evidence& found = evidence[{FaultId::TwoHosts, Finding::NoChannel}];
        found.count = nulBytes_ - nulBytesBefore_;
    }
    // A call that fails in the hand-out leaves a run that never was.
    if (!report.shutDown && !circumstances.stillWritten && banner_) {
        Evidence& found = evidence[{FaultId::HostKilled, Finding::NoChannel}];
        found.count = 1;
        found.quotes = {{last_.line, last_.time, ToUtf8(last_.text)}};
    }
    if (circumstances.loggingOff)
        evidence[{FaultId::LoggingOff, Finding::NoChannel}].count = 1;

    std::map<std::int64_t, std::string> names;
    for (auto& [index, channel] : channels) {
        if (index < 0)
            continue;
        ChannelReport& row = channel.report;
        std::uint64_t seconds = 0, below = 0;
        for (const auto& [rate, count] : channel.rates)
            seconds += count;
        if (seconds > 0) {
            row.rateMinimum = channel.rates.begin()->first;
            row.rateMaximum = channel.rates.rbegin()->first;
        }
        for (const auto& [rate, count] : channel.rates) {
            if (below <= seconds / 2)
                row.rateMedian = rate;
            below += count;
        }
        names[index] = row.camera;
        if (!row.camera.empty() || row.starts > 0 || row.complete > 0)
            report.channels.push_back(row);
    }
    report.findings = Judge(evidence, report, names, circumstances);
    return report;
}

} // namespace maravel::diagnosis
