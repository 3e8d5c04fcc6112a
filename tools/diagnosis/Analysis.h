// Turns the entries of a log into a report. Memory does not grow with the length of the log.
#pragma once

#include "LogReader.h"
#include "LogReport.h"
#include "MessageMatcher.h"

#include <functional>
#include <memory>
#include <set>

namespace maravel::diagnosis {

// Answers why the SDK did not load from a folder that the log names: which of its libraries is at fault and
// what is wrong with it; an empty text when it cannot be told.
struct LibraryVerdict
{
    bool transform = false;
    bool good = false;
    std::string text;
};
using LibraryInspector = std::function<LibraryVerdict(const std::string& sdkFolder)>;

// What may be asked of the file beside its content.
struct Circumstances
{
    bool stillWritten = false; // by a program that runs
    bool ownLog = false;       // the machine's own, so that its registry and its SDK may be looked at
    bool loggingOff = false;   // by the registry, now
    LibraryInspector inspect;
};

class Analysis
{
public:
    // What a caller may want to see of each entry.
    using Observer = std::function<void(const Entry&, const Match&)>;

    explicit Analysis(Observer observer = nullptr);
    ~Analysis();
    Analysis(const Analysis&) = delete;
    Analysis& operator=(const Analysis&) = delete;

    void Feed(std::string_view bytes);

    // The report so far; more may follow.
    LogReport Report(const Circumstances& circumstances) const;

    // Takes the last line also without its end.
    void Finish();

    int Days() const { return reader_.Days(); }

private:
    class Run;

    void Take(const Entry& entry);
    void FlushHeld();
    void Handle(const Entry& entry, const Match& match);

    Observer observer_;
    LogReader reader_;
    LogReader::Sink sink_;
    MessageMatcher matcher_;
    Entry held_; // line 0: none
    std::string heldText_;
    std::unique_ptr<Run> run_;
    std::vector<RunReport> finished_;
    std::uint64_t earlierRuns_ = 0;
    bool finishing_ = false;
    std::uint64_t entries_ = 0, unknown_ = 0;
    std::vector<Quote> firstUnknown_;
};

// Texts of the log are in whatever code page the host had; what is not UTF-8 is taken for Windows-1252.
std::string ToUtf8(std::string_view text);

} // namespace maravel::diagnosis
