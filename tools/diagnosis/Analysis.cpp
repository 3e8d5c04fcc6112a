#include "Analysis.h"

#include "Run.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace maravel::diagnosis {
namespace {

// What Windows-1252 has at 80 to 9F; unused places stand for themselves.
constexpr char16_t kWindows1252[] = {0x20AC, 0x81,   0x201A, 0x192,  0x201E, 0x2026, 0x2020, 0x2021,
                                     0x2C6,  0x2030, 0x160,  0x2039, 0x152,  0x8D,   0x17D,  0x8F,
                                     0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                     0x2DC,  0x2122, 0x161,  0x203A, 0x153,  0x9D,   0x17E,  0x178};
static_assert(std::size(kWindows1252) == 32);

// Of the characters beyond ASCII that have one unit in UTF-16.
void AppendUtf8(std::string& text, char16_t character)
{
    if (character < 0x800) {
        text += static_cast<char>(0xC0 | character >> 6);
    }
    else {
        text += static_cast<char>(0xE0 | character >> 12);
        text += static_cast<char>(0x80 | (character >> 6 & 0x3F));
    }
    text += static_cast<char>(0x80 | (character & 0x3F));
}

constexpr std::size_t kLongestMessage = 2048;
constexpr std::size_t kMostRuns = 100; // a log holds one as a rule

} // namespace

Analysis::Analysis(Observer observer)
    : observer_(std::move(observer)), sink_([this](const Entry& entry) { Take(entry); })
{
}

Analysis::~Analysis() = default;

void Analysis::Feed(std::string_view bytes)
{
    reader_.Feed(bytes, sink_);
}

void Analysis::Finish()
{
    finishing_ = true; // a line without its end may be cut
    reader_.Finish(sink_);
    FlushHeld();
    finishing_ = false;
}

void Analysis::FlushHeld()
{
    if (held_.line == 0) {
        return;
    }
    const Entry entry = std::exchange(held_, {});
    Handle(entry, Match());
}

// A value that holds a line break goes on in the next line. So a message that is not known waits for what
// follows.
void Analysis::Take(const Entry& entry)
{
    if (entry.time == Entry::NoTime) {
        if (held_.line == 0 || heldText_.size() + entry.text.size() > kLongestMessage) {
            return Handle(entry, Match());
        }
        heldText_ += '\n';
        heldText_ += entry.text;
        held_.text = heldText_;
        if (const Match match = matcher_.Find(held_.text, held_.sourceLine); match.message != nullptr) {
            const Entry whole = std::exchange(held_, {});
            Handle(whole, match);
        }
        return;
    }
    FlushHeld();
    const Match match = matcher_.Find(entry.text, entry.sourceLine);
    if (match.message != nullptr) {
        return Handle(entry, match);
    }
    heldText_ = entry.text;
    held_ = entry;
    held_.text = heldText_;
}

void Analysis::Handle(const Entry& entry, const Match& match)
{
    ++entries_;
    if (match.message != nullptr && match.message->event == Event::Banner && run_ != nullptr &&
        run_->Begun()) {
        finished_.push_back(run_->Report({}));
        if (finished_.size() > kMostRuns) {
            finished_.erase(finished_.begin());
            ++earlierRuns_;
        }
        run_.reset();
    }
    if (run_ == nullptr) {
        run_ = std::make_unique<Run>(reader_.NulBytes());
    }
    if (match.message == nullptr && entry.time != Entry::NoTime && !finishing_) {
        ++unknown_;
        if (firstUnknown_.size() < 3) {
            firstUnknown_.push_back({entry.line, entry.time, ToUtf8(entry.text)});
        }
    }
    run_->Take(entry, match, reader_.NulBytes());
    if (observer_) {
        observer_(entry, match);
    }
}

LogReport Analysis::Report(const Circumstances& circumstances) const
{
    LogReport report;
    report.bytes = reader_.Bytes();
    report.lines = reader_.Lines();
    report.entries = entries_;
    report.unknown = unknown_;
    report.firstUnknown = firstUnknown_;
    report.earlierRuns = earlierRuns_;
    report.runs = finished_;
    if (run_ != nullptr) {
        report.runs.push_back(run_->Report(circumstances));
    }
    return report;
}

std::string ToUtf8(std::string_view text)
{
    std::string result;
    for (std::size_t i = 0; i < text.size();) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const std::size_t follow = byte >= 0xF0 ? 3 : byte >= 0xE0 ? 2 : byte >= 0xC2 ? 1 : 0;
        std::size_t good = 0;
        while (good < follow && i + good + 1 < text.size() &&
               (static_cast<unsigned char>(text[i + good + 1]) & 0xC0) == 0x80) {
            ++good;
        }
        // Overlong forms, surrogates and what lies beyond Unicode are no UTF-8 either.
        const auto second = follow > 0 && good > 0 ? static_cast<unsigned char>(text[i + 1]) : 0u;
        const bool odd = (byte == 0xE0 && second < 0xA0) || (byte == 0xED && second > 0x9F) ||
                         (byte == 0xF0 && second < 0x90) || (byte == 0xF4 && second > 0x8F) || byte > 0xF4;
        if (byte < 0x80) {
            result += byte < 0x20 || byte == 0x7F ? ' ' : text[i];
            ++i;
        }
        else if (follow > 0 && good == follow && !odd) {
            result.append(text.substr(i, follow + 1));
            i += follow + 1;
        }
        else {
            AppendUtf8(result, byte >= 0x80 && byte < 0xA0 ? kWindows1252[byte - 0x80] : byte);
            ++i;
        }
    }
    return result;
}

} // namespace maravel::diagnosis
