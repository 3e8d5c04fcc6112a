#include "LogReader.h"
#include "Reports.h"

#include <algorithm>
#include <cstdio>

namespace maravel::diagnosis {
namespace {

constexpr std::size_t kStrip = 60;
constexpr std::size_t kLongestQuote = 200;

std::string Cut(const std::string& text)
{
    if (text.size() <= kLongestQuote) {
        return text;
    }
    std::size_t end = kLongestQuote;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) {
        --end; // not within a character
    }
    return text.substr(0, end) + "...";
}

// Frames a second over the stream's time, as high as its highest.
std::string Strip(const Timeline& timeline, bool blocks)
{
    constexpr const char* kBlocks[] = {" ",      "\u2581", "\u2582", "\u2583", "\u2584",
                                       "\u2585", "\u2586", "\u2587", "\u2588"};
    constexpr const char* kSigns[] = {" ", ".", ":", "-", "=", "+", "*", "#", "@"};
    const std::vector<double> columns = timeline.Columns(kStrip);
    const double highest = columns.empty() ? 0 : *std::ranges::max_element(columns);
    std::string strip;
    for (const double value : columns) {
        const auto step = highest > 0 ? static_cast<std::size_t>(value / highest * 8 + 0.5) : 0;
        const std::size_t shown = value > 0 && step == 0 ? 1 : step; // little is not nothing
        strip += (blocks ? kBlocks : kSigns)[shown];
    }
    return strip;
}

std::string Indented(const std::string& lines)
{
    std::string text;
    for (std::size_t begin = 0; begin < lines.size();) {
        const std::size_t end = lines.find('\n', begin) + 1;
        text += "  " + lines.substr(begin, end - begin);
        begin = end;
    }
    return text;
}

void AppendHead(std::string& text, const RunReport& run)
{
    text += "Run " + FormatTime(run.begin) + " to " + FormatTime(run.end);
    if (!run.adapterVersion.empty()) {
        text += ", adapter V" + run.adapterVersion;
    }
    if (!run.sdkVersion.empty()) {
        text += ", SDK V" + run.sdkVersion;
    }
    if (run.cameras >= 0) {
        text += ", " + std::to_string(run.cameras) + (run.cameras == 1 ? " camera" : " cameras");
    }
    text += "\n";
    if (!run.host.empty()) {
        text += "  program: " + run.host + (run.elevated ? " (as administrator)" : "") + "\n";
    }
    if (!run.sdkPath.empty()) {
        text += "  SDK: " + run.sdkPath + "\n";
    }
}

void AppendChannels(std::string& text, const RunReport& run, const TextStyle& style)
{
    if (run.channels.empty()) {
        return;
    }
    std::size_t width = 6;
    for (const ChannelReport& row : run.channels) {
        width = std::max(width, row.camera.size());
    }
    char line[200];
    text += "\n  CHANNEL  CAMERA" + std::string(width - 6, ' ') +
            "  COMPLETE  INCOMPLETE  MISSING  FRAMES/s min, median, max  LONGEST GAP\n";
    for (const ChannelReport& row : run.channels) {
        std::snprintf(
            line, sizeof(line), "  %8llu  %10llu  %7llu  %9.1f  %6.1f  %6.1f",
            static_cast<unsigned long long>(row.complete), static_cast<unsigned long long>(row.incomplete),
            static_cast<unsigned long long>(row.missing), row.rateMinimum, row.rateMedian, row.rateMaximum);
        std::string index = std::to_string(row.channel);
        index.resize(std::max<std::size_t>(index.size(), 7), ' ');
        text += "  " + index + "  " + row.camera + std::string(width - row.camera.size(), ' ');
        text += line;
        if (row.longestGap > 0) {
            std::snprintf(line, sizeof(line), "  %.3f s at ", static_cast<double>(row.longestGap) / 1000);
            text += line + FormatTime(row.longestGapAt);
        }
        text += "\n";
        if (row.complete > 0) {
            text += "           |" + Strip(row.timeline, style.blocks) + "|\n";
        }
    }
}

} // namespace

std::string FindingAsText(const Finding& finding)
{
    std::string text = std::string(SeverityName(finding.fault->severity)) + ": " + finding.sentence +
                       "\n  do: " + finding.advice + "  [" + finding.fault->name + "]\n";
    for (const Quote& quote : finding.quotes) {
        text += "  line " + std::to_string(quote.line) + ", " + FormatTime(quote.time) + "  " +
                Cut(quote.text) + "\n";
    }
    return text;
}

std::string ReportAsText(const LogReport& report, const TextStyle& style)
{
    std::string text;
    if (report.earlierRuns > 0) {
        text += "(" + std::to_string(report.earlierRuns) + " earlier runs are not shown)\n";
    }
    std::size_t faults = 0;
    for (const RunReport& run : report.runs) {
        AppendHead(text, run);
        text += "\n";
        if (run.Healthy()) {
            text += "  healthy\n";
        }
        for (const Finding& finding : run.findings) {
            faults += finding.fault->severity == Severity::Hint ? 0 : 1;
            text += Indented(FindingAsText(finding));
        }
        AppendChannels(text, run, style);
        text += "\n";
    }
    if (report.runs.empty()) {
        text += "The log is empty: the adapter was not started since it was emptied.\n";
    }
    if (report.unknown > 0) {
        text += std::to_string(report.unknown) + " of " + std::to_string(report.entries) +
                " messages are not known to this version, such as line " +
                std::to_string(report.firstUnknown.front().line) + ": " +
                Cut(report.firstUnknown.front().text) + "\n";
    }
    text += faults == 0 ? "healthy\n" : std::to_string(faults) + (faults == 1 ? " fault\n" : " faults\n");
    return text;
}

namespace {

// What stands for a value, said of any.
std::string WithoutPlaceholders(std::string text)
{
    constexpr std::pair<std::string_view, std::string_view> kWords[] = {
        {"{camera}", "A camera"},
        {"{reason}", "the SDK's reason"},
        {"{n}", "some"},
        {"{total}", "all"},
        {"{seconds}", "some"},
        {"{detail}", ""},
        {"{0}", "what the line names"},
        {": {text}", "."},
        {"{reason-advice}", "What to do depends on the reason; the report says it."}};
    for (const auto& [name, word] : kWords) {
        for (std::size_t at = text.find(name); at != std::string::npos; at = text.find(name)) {
            text.replace(at, name.size(), word);
        }
    }
    return text;
}

} // namespace

std::string Explain(const std::string& text)
{
    if (text.empty()) {
        return {};
    }
    if (const Fault* fault = FindFault(text)) {
        return std::string(fault->name) + " (" + SeverityName(fault->severity) + ")\n  " +
               WithoutPlaceholders(fault->sentence) + "\n  do: " + WithoutPlaceholders(fault->advice) + "\n";
    }
    // A whole line, its message, or words of the message's text.
    LogReader reader;
    std::string answer;
    MessageMatcher matcher;
    const auto add = [&answer](const Message& message) {
        answer += message.text + "\n  " + message.section;
        if (!message.means.empty()) {
            answer += ": " + message.means;
        }
        if (!message.advice.empty()) {
            answer += "\n  do: " + message.advice;
        }
        answer += "\n";
    };
    reader.Feed(text + "\n", [&](const Entry& entry) {
        if (const Match match = matcher.Find(entry.text); match.message != nullptr) {
            add(*match.message);
        }
    });
    for (const Message& message : Messages()) {
        if (answer.empty() || answer.size() < 4000) {
            if (message.text.find(text) != std::string::npos &&
                answer.find(message.text + "\n") == std::string::npos) {
                add(message);
            }
        }
    }
    return answer;
}

} // namespace maravel::diagnosis
