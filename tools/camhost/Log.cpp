#include "Log.h"

#include "Failure.h"
#include "OutputFile.h"
#include "System.h"
#include "diagnosis/LogFile.h"
#include "diagnosis/Reports.h"
#include "diagnosis/Trace.h"
#include "host/Utf8Path.h"

#include <chrono>
#include <cstdio>
#include <optional>
#include <set>
#include <system_error>
#include <thread>
#include <tuple>

namespace maravel::camhost {
namespace {

using namespace diagnosis;
namespace fs = std::filesystem;

// What of a log was asked for.
class Selection
{
public:
    explicit Selection(const Options& options)
        : channel_(options.channel.empty() ? -1 : std::stoll(options.channel)),
          since_(options.since.empty() ? -1 : ParseTimeOfDay(options.since) * 1000LL)
    {
    }

    bool Has(std::int64_t channel, std::int64_t time) const
    {
        return (channel_ < 0 || channel == channel_) && (since_ < 0 || time >= since_);
    }
    void ApplyTo(LogReport& report) const
    {
        for (RunReport& run : report.runs) {
            std::erase_if(run.findings, [this](const Finding& finding) {
                const std::int64_t time = finding.quotes.empty() ? run_end_ : finding.quotes.back().time;
                return !Has(finding.channel < 0 ? channel_ : finding.channel, time);
            });
            std::erase_if(run.channels,
                          [this](const ChannelReport& row) { return !Has(row.channel, run_end_); });
        }
    }

private:
    static constexpr std::int64_t run_end_ = INT64_MAX; // what has no time of its own is shown
    const std::int64_t channel_;
    const std::int64_t since_;
};

void PrintLine(const Entry& entry, const Match& match, const Selection& selection)
{
    if (!selection.Has(match.channel, entry.time)) {
        return;
    }
    constexpr const char* kSigns[] = {" ", " ", "!", "E"};
    const char* sign =
        match.message == nullptr ? "?" : kSigns[static_cast<std::size_t>(match.message->level)];
    std::printf("%s %6llu  %s  %s\n", sign, static_cast<unsigned long long>(entry.line),
                FormatTime(entry.time).c_str(), ToUtf8(entry.text).c_str());
    if (match.message != nullptr && match.message->level != Level::Frequent &&
        !match.message->means.empty()) {
        std::printf("%26s- %s%s%s\n", "", match.message->means.c_str(),
                    match.message->advice.empty() ? "" : "; do: ", match.message->advice.c_str());
    }
}

// A fault is told once for each channel.
class Told
{
public:
    void Print(const LogReport& report)
    {
        for (const RunReport& run : report.runs) {
            for (const Finding& finding : run.findings) {
                if (told_.emplace(run.firstLine, finding.fault->id, finding.channel).second) {
                    Print(run, finding);
                }
            }
        }
        std::fflush(stdout);
    }
    bool AnyFault() const { return fault_; }
    void Forget() { told_.clear(); }

private:
    void Print(const RunReport& run, const Finding& finding)
    {
        std::printf("%s  %s", FormatTime(run.end).c_str(), FindingAsText(finding).c_str());
        fault_ |= finding.fault->severity != Severity::Hint;
    }

    std::set<std::tuple<std::uint64_t, FaultId, std::int64_t>> told_;
    bool fault_ = false;
};

int Follow(const fs::path& file, bool own, const Options& options)
{
    CatchEndRequests();
    const Selection selection(options);
    const Analysis::Observer observer = [&](const Entry& entry, const Match& match) {
        if (options.lines) {
            PrintLine(entry, match, selection);
        }
    };
    auto analysis = std::make_unique<Analysis>(observer);
    LogTail tail(file);
    Told told;
    while (!EndRequested() && std::ferror(stdout) == 0) {
        if (tail.WasEmptied()) {
            std::printf("-- the adapter was started anew\n");
            analysis = std::make_unique<Analysis>(observer);
            tail.Restart();
            told.Forget();
        }
        if (fs::exists(file) && tail.ReadInto(*analysis)) {
            LogReport report = FinishReport(*analysis, file, CircumstancesOf(file, own, true));
            selection.ApplyTo(report);
            told.Print(report);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
    return told.AnyFault() ? ExitRefused : ExitDone;
}

void WriteText(const std::string& path, const std::string& text)
{
    WriteWholeFile(host::PathOf(path), {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

int Summarise(const fs::path& file, bool own, const Options& options)
{
    const Selection selection(options);
    std::optional<OutputFile> traceFile;
    std::optional<TraceWriter> trace;
    if (!options.trace.empty()) {
        trace.emplace(traceFile.emplace(host::PathOf(options.trace)).Stream());
    }
    Analysis::Observer observer;
    if (trace || options.lines) {
        observer = [&](const Entry& entry, const Match& match) {
            if (trace) {
                trace->Take(entry, match);
            }
            if (options.lines) {
                PrintLine(entry, match, selection);
            }
        };
    }
    LogReport report = ReadLog(file, own, observer);
    selection.ApplyTo(report);
    if (trace) {
        trace->Finish(report);
        traceFile->Commit();
    }
    if (!options.html.empty()) {
        WriteText(options.html, ReportAsHtml(report));
    }
    if (options.lines) {
        std::printf("\n");
    }
    const TextStyle style = {.blocks = OutputShowsUtf8()};
    std::fputs((options.json ? ReportAsJson(report) : ReportAsText(report, style)).c_str(), stdout);
    return report.Healthy() ? ExitDone : ExitRefused;
}

} // namespace

int ShowLog(const Options& options)
{
    if (options.lnav) {
        std::fputs(LnavFormat().c_str(), stdout);
        return ExitDone;
    }
    if (options.explain) {
        const std::string text = Explain(*options.explain);
        if (text.empty()) {
            throw Failure(ExitRefused,
                          "nothing is known of '" + *options.explain +
                              "'; give a line of the log, words of a message, or a fault's name");
        }
        std::fputs(text.c_str(), stdout);
        return ExitDone;
    }
    const bool own = options.file.empty();
    const fs::path file = own ? OwnLogFile() : host::PathOf(options.file);
    std::error_code error;
    if (fs::is_directory(file, error)) {
        throw Failure(ExitNoLog, host::TextOf(file) + " is a folder; name the log in it");
    }
    if (!fs::exists(file, error)) {
        if (own && !ReadLogSwitch().On()) {
            throw Failure(ExitNoLog, Describe(FaultId::LoggingOff).sentence + std::string(" ") +
                                         Describe(FaultId::LoggingOff).advice);
        }
        if (!options.follow) {
            throw Failure(ExitNoLog, "there is no log " + host::TextOf(file) +
                                         (own ? "; the adapter makes it when a program starts it" : ""));
        }
    }
    try {
        return options.follow ? Follow(file, own, options) : Summarise(file, own, options);
    }
    catch (const std::system_error& failure) {
        throw Failure(ExitNoLog, "cannot read " + host::TextOf(file) + ": " + failure.code().message());
    }
}

} // namespace maravel::camhost
