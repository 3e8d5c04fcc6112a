#include "Run.h"

#include "Verdict.h"

#include <algorithm>
#include <unordered_map>

namespace maravel::diagnosis {
namespace {

// Bytes: what every network takes, and what is left of that where packets travel within others.
constexpr std::int64_t kUsualPackets = 1500;
constexpr std::int64_t kSmallPackets = 1400;

const std::vector<const TextRule*>& RulesFor(const Message& message)
{
    static const auto rules = [] {
        std::unordered_map<const Message*, std::vector<const TextRule*>> all;
        for (const Message& known : Messages()) {
            for (const TextRule& rule : TextRules()) {
                if (known.text.find(rule.part) != std::string::npos) {
                    all[&known].push_back(&rule);
                }
            }
        }
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

Quote QuoteOf(const Entry& entry)
{
    return {entry.line, entry.time, ToUtf8(entry.text)};
}

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
        if (!channel.stream.called) {
            continue;
        }
        if (only != nullptr) {
            return nullptr;
        }
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
        for (std::size_t i = 0; i < match.valueCount; ++i) {
            evidence.values.push_back(ToUtf8(match.values[i]));
        }
    }
    if (evidence.quotes.size() == 3) {
        evidence.quotes.pop_back();
    }
    evidence.quotes.push_back(quote);
}

void Analysis::Run::NoteByText(const Entry& entry, const Match& match)
{
    for (const TextRule* rule : RulesFor(*match.message)) {
        if (rule->operation != nullptr && match.operation != rule->operation) {
            continue;
        }
        const std::string reason = " " + std::string(match.reason) + " ";
        if (rule->reasons != nullptr &&
            std::string_view(rule->reasons).find(reason) == std::string_view::npos) {
            continue;
        }
        Note(rule->id, match.channel, QuoteOf(entry), match);
        return;
    }
}

void Analysis::Run::Take(const Entry& entry, const Match& match, std::uint64_t nulBytes)
{
    ++entries_;
    nulBytes_ = nulBytes;
    if (report_.firstLine == 0) {
        report_.firstLine = entry.line;
    }
    report_.lastLine = entry.line;
    if (entry.time != Entry::NoTime) {
        if (report_.begin < 0) {
            report_.begin = entry.time;
        }
        report_.end = entry.time;
        last_.line = entry.line;
        last_.time = entry.time;
        last_.text.assign(entry.text);
    }
    if (match.message == nullptr) {
        return;
    }
    if (match.message->level == Level::Warning || match.message->level == Level::Error) {
        NoteByText(entry, match);
    }
    if (match.channel != Match::NoChannel && match.message->level != Level::Frequent) {
        openChannel_ = match.channel;
    }
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
    const auto version = [&match](std::size_t first) {
        std::string text(match.Value(first));
        for (std::size_t i = first + 1; i < first + 4; ++i) {
            text += "." + ToUtf8(match.Value(i));
        }
        return text;
    };
    switch (match.message->event) {
    case Event::Banner:
        banner_ = true;
        break;
    case Event::AdapterVersion:
        report_.adapterVersion = version(0);
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
        report_.sdkVersion = version(0);
        report_.transformVersion = version(4);
        break;
    case Event::CamerasFound:
        report_.cameras = match.Number(0);
        if (report_.cameras == 0) {
            Note(FaultId::NoCamera, Finding::NoChannel, QuoteOf(entry), match);
        }
        break;
    case Event::NoFurtherChannel:
        // The adapter says nothing when a library does not load: the next step is missing.
        if (!report_.sdkPath.empty() && !initialized_ &&
            !evidence_.contains({FaultId::SdkTooOld, Finding::NoChannel})) {
            Note(FaultId::LibraryNotLoaded, Finding::NoChannel, QuoteOf(entry), match);
        }
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
        if (match.Number(0) <= kUsualPackets) {
            Note(match.Number(0) < kSmallPackets ? FaultId::SmallPackets : FaultId::SmallishPackets, index,
                 QuoteOf(entry), match);
        }
        break;
    case Event::ExposureAuto:
        if (match.Value(0) == "0") {
            Note(FaultId::AutoExposure, index, QuoteOf(entry), match);
        }
        break;
    case Event::TriggerMode:
        channel.report.trigger = Quoted(match.message->text);
        break;
    case Event::EntrySet:
        if (match.operation.ends_with("TriggerSource")) {
            channel.source = ToUtf8(match.Value(0));
        }
        else if (match.operation == "SetTriggerActivation") {
            channel.edge = ToUtf8(match.Value(0));
        }
        break;
    default:
        channel.report.format = ToUtf8(match.Value(0));
        break;
    }
}

// What the run as a whole tells, beside its single lines.
void Analysis::Run::JudgeEnd(const Circumstances& circumstances)
{
    JudgeUnclaimed();
    if (nulBytes_ > nulBytesBefore_) {
        evidence_[{FaultId::TwoHosts, Finding::NoChannel}].count = nulBytes_ - nulBytesBefore_;
    }
    if (!report_.shutDown && !circumstances.stillWritten && banner_) {
        Evidence& found = evidence_[{FaultId::HostKilled, Finding::NoChannel}];
        found.count = 1;
        found.quotes = {{last_.line, last_.time, ToUtf8(last_.text)}};
    }
    if (circumstances.loggingOff) {
        evidence_[{FaultId::LoggingOff, Finding::NoChannel}].count = 1;
    }
}

// The channels have the incomplete frames that were found to be theirs.
void Analysis::Run::JudgeUnclaimed()
{
    const auto lines = evidence_.find({FaultId::PacketsLost, Finding::NoChannel});
    if (lines == evidence_.end()) {
        return;
    }
    // The first frame of a stream may come before everything on the way is ready.
    if (unclaimed_ <= channels_.size()) {
        evidence_.erase(lines);
        return;
    }
    lines->second.count = lines->second.frames = unclaimed_;
    lines->second.of = incompleteLines_;
    for (const auto& [index, channel] : channels_) {
        lines->second.of += channel.report.complete;
    }
}

ChannelReport Analysis::Run::RowOf(const Channel& channel)
{
    ChannelReport row = channel.report;
    std::uint64_t seconds = 0, below = 0;
    for (const auto& [rate, count] : channel.rates) {
        seconds += count;
    }
    if (seconds == 0) {
        return row;
    }
    row.rateMinimum = channel.rates.begin()->first;
    row.rateMaximum = channel.rates.rbegin()->first;
    for (const auto& [rate, count] : channel.rates) {
        if (below <= seconds / 2) {
            row.rateMedian = rate;
        }
        below += count;
    }
    return row;
}

RunReport Analysis::Run::Report(const Circumstances& circumstances) const
{
    RunReport report = report_;
    Run ended = *this;
    std::map<std::int64_t, std::string> names;
    ended.ClaimForSilentStream();
    for (auto& [index, channel] : ended.channels_) {
        if (channel.stream.called) {
            ended.CloseStream(channel, last_);
        }
    }
    ended.JudgeEnd(circumstances);
    for (const auto& [index, channel] : ended.channels_) {
        if (index < 0) {
            continue;
        }
        const ChannelReport row = RowOf(channel);
        names[index] = row.camera;
        if (!row.camera.empty() || row.starts > 0 || row.complete > 0) {
            report.channels.push_back(row);
        }
    }
    report.findings = Judge(ended.evidence_, report, names, circumstances);
    return report;
}

} // namespace maravel::diagnosis
