#include "LogReader.h"

#include <cstdio>
#include <cstring>

namespace maravel::diagnosis {
namespace {

constexpr std::size_t kPrefix = 22;             // "[hh:mm:ss:mmm Lnnnnn] "
constexpr std::size_t kLongestLine = 64 * 1024; // what is longer is no log, and is taken in pieces
constexpr std::int64_t kDay = 24LL * 60 * 60 * 1000;

bool IsPrefix(const char* text)
{
    constexpr char kForm[] = "[00:00:00:000 L00000] ";
    for (std::size_t i = 0; i < kPrefix; ++i) {
        const char c = text[i];
        if (kForm[i] == '0' ? c < '0' || c > '9' : c != kForm[i]) {
            return false;
        }
    }
    return true;
}

// The next prefix at or after `from`; npos when there is none.
std::size_t FindPrefix(std::string_view line, std::size_t from)
{
    while (from + kPrefix <= line.size()) {
        const void* found = std::memchr(line.data() + from, '[', line.size() - kPrefix + 1 - from);
        if (found == nullptr) {
            return std::string_view::npos;
        }
        const auto at = static_cast<std::size_t>(static_cast<const char*>(found) - line.data());
        if (IsPrefix(line.data() + at)) {
            return at;
        }
        from = at + 1;
    }
    return std::string_view::npos;
}

int Digits(const char* text, int count)
{
    int value = 0;
    for (int i = 0; i < count; ++i) {
        value = 10 * value + (text[i] - '0');
    }
    return value;
}

} // namespace

void LogReader::Feed(std::string_view bytes, const Sink& sink)
{
    bytes_ += bytes.size();
    while (!bytes.empty()) {
        const std::size_t end = bytes.find('\n');
        std::string_view line = bytes.substr(0, end);
        if (end == std::string_view::npos) {
            pending_ += line;
            if (pending_.size() > kLongestLine) {
                TakeLine(pending_, sink);
                pending_.clear();
            }
            return;
        }
        if (!pending_.empty()) {
            pending_ += line;
            line = pending_;
        }
        TakeLine(line, sink);
        pending_.clear();
        bytes.remove_prefix(end + 1);
    }
}

void LogReader::Finish(const Sink& sink)
{
    if (!pending_.empty()) {
        TakeLine(pending_, sink);
    }
    pending_.clear();
}

// NUL bytes are what a second host's start leaves: it empties the file, and the first one goes on where it
// was.
void LogReader::TakeLine(std::string_view line, const Sink& sink)
{
    ++line_;
    if (line.ends_with('\r')) {
        line.remove_suffix(1);
    }
    if (line.empty() || std::memchr(line.data(), 0, line.size()) == nullptr) {
        return TakePart(line, sink);
    }
    for (std::size_t begin = 0; begin < line.size();) {
        std::size_t end = line.find('\0', begin);
        end = end == std::string_view::npos ? line.size() : end;
        if (end > begin) {
            TakePart(line.substr(begin, end - begin), sink);
        }
        else {
            ++nulBytes_;
        }
        begin = end > begin ? end : end + 1;
    }
}

// A message without a line end is followed by the next one's time.
void LogReader::TakePart(std::string_view part, const Sink& sink)
{
    std::size_t begin = FindPrefix(part, 0);
    if (begin != 0) {
        const std::string_view rest = part.substr(0, begin);
        if (!rest.empty()) {
            sink({.line = line_, .text = rest});
        }
    }
    while (begin != std::string_view::npos) {
        const std::size_t next = FindPrefix(part, begin + kPrefix);
        TakeEntry(part.substr(begin, next == std::string_view::npos ? next : next - begin), sink);
        begin = next;
    }
}

void LogReader::TakeEntry(std::string_view text, const Sink& sink)
{
    Entry entry;
    entry.line = line_;
    entry.time = TimeOf(text);
    entry.sourceLine = static_cast<unsigned>(Digits(text.data() + 15, 5));
    entry.text = text.substr(kPrefix);
    sink(entry);
}

// The lines have no date: a step back of half a day is a new day. Two threads may write across midnight in
// either order.
std::int64_t LogReader::TimeOf(std::string_view prefix)
{
    const char* digits = prefix.data();
    const std::int64_t time =
        ((Digits(digits + 1, 2) * 60LL + Digits(digits + 4, 2)) * 60 + Digits(digits + 7, 2)) * 1000 +
        Digits(digits + 10, 3);
    if (lastTimeOfDay_ >= 0 && time < lastTimeOfDay_ - kDay / 2) {
        ++days_;
    }
    else if (days_ > 0 && time > lastTimeOfDay_ + kDay - 60'000) {
        return time + (days_ - 1) * kDay;
    }
    lastTimeOfDay_ = time;
    return time + days_ * kDay;
}

std::string FormatTime(std::int64_t time)
{
    if (time < 0) {
        return "?";
    }
    char text[32];
    const std::int64_t seconds = time / 1000;
    std::snprintf(text, sizeof(text), "%02d:%02d:%02d:%03d", static_cast<int>(seconds / 3600 % 24),
                  static_cast<int>(seconds / 60 % 60), static_cast<int>(seconds % 60),
                  static_cast<int>(time % 1000));
    return text;
}

} // namespace maravel::diagnosis
