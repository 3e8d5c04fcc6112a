#include "Trace.h"

#include <cstdio>
#include <ostream>

namespace maravel::diagnosis {
namespace {

constexpr std::uint64_t kMostEvents = 1'000'000;

std::string EscapeJson(std::string_view text)
{
    std::string escaped;
    for (const char c : ToUtf8(text)) {
        if (c == '"' || c == '\\') {
            escaped += '\\';
        }
        escaped += c;
    }
    return escaped;
}

// The beginning of an event, up to its own fields.
std::string Head(const char* phase, const std::string& name, int run, std::int64_t channel, std::int64_t time)
{
    return std::string(R"({"ph":")") + phase + R"(","name":")" + EscapeJson(name) + R"(","pid":)" +
           std::to_string(run) + R"(,"tid":)" + std::to_string(channel < 0 ? 0 : channel) + R"(,"ts":)" +
           std::to_string(time * 1000);
}

} // namespace

TraceWriter::TraceWriter(std::ostream& out) : out_(out)
{
    out_ << "{\"displayTimeUnit\":\"ms\",\"traceEvents\":[\n";
}

void TraceWriter::Write(const std::string& event)
{
    out_ << (events_ == 0 ? "" : ",\n") << event << '}';
    ++events_;
}

void TraceWriter::WriteRate(std::int64_t index, Channel& channel)
{
    if (channel.second >= 0) {
        Write(Head("C", "frames/s of channel " + std::to_string(index), run_, index, channel.second * 1000) +
              R"(,"args":{"frames":)" + std::to_string(channel.inSecond) + "}");
    }
}

void TraceWriter::CloseAcquisition(std::int64_t index, Channel& channel, std::int64_t time,
                                   const std::string& result)
{
    if (channel.startedAt < 0) {
        return;
    }
    WriteRate(index, channel);
    Write(Head("X", "acquisition", run_, index, channel.startedAt) + R"(,"dur":)" +
          std::to_string((time - channel.startedAt) * 1000) + R"(,"args":{"result":")" + EscapeJson(result) +
          "\"}");
    channel = {};
}

void TraceWriter::Take(const Entry& entry, const Match& match)
{
    if (entry.time == Entry::NoTime || match.message == nullptr) {
        return;
    }
    lastTime_ = entry.time;
    if (match.channel != Match::NoChannel) {
        openChannel_ = match.channel;
    }
    const std::int64_t index = openChannel_;
    switch (match.message->event) {
    case Event::Banner:
        for (auto& [known, channel] : channels_) {
            CloseAcquisition(known, channel, entry.time, "no stop");
        }
        channels_.clear();
        run_ += events_ > 0 ? 1 : 0;
        Write(Head("i", "start", run_, 0, entry.time) + R"(,"s":"p")");
        return;
    case Event::CameraStarted:
        channels_[index].startedAt = entry.time;
        return;
    case Event::Stopped:
        CloseAcquisition(index, channels_[index], entry.time, std::string(entry.text));
        return;
    case Event::FrameStored: {
        Channel& channel = channels_[index];
        if (entry.time / 1000 != channel.second) {
            WriteRate(index, channel);
            channel.second = entry.time / 1000;
            channel.inSecond = 0;
        }
        ++channel.inSecond;
        if (events_ < kMostEvents) {
            Write(Head("i", "frame", run_, index, entry.time) + R"(,"s":"t","args":{"frame":)" +
                  std::string(match.Value(2)) + R"(,"device time":)" + std::string(match.Value(3)) + "}");
        }
        return;
    }
    default:
        break;
    }
    const Level level = match.message->level;
    if (events_ < kMostEvents && (level == Level::Error || level == Level::Warning)) {
        Write(Head("i", level == Level::Error ? "error" : "warning", run_, index, entry.time) +
              R"(,"s":"g","args":{"line":)" + std::to_string(entry.line) + R"(,"text":")" +
              EscapeJson(entry.text) + "\"}");
    }
}

void TraceWriter::Finish(const LogReport& report)
{
    for (auto& [index, channel] : channels_) {
        CloseAcquisition(index, channel, lastTime_, "no stop");
    }
    if (!report.runs.empty()) {
        for (const ChannelReport& row : report.runs.back().channels) {
            Write(R"({"ph":"M","name":"thread_name","pid":)" + std::to_string(run_) + R"(,"tid":)" +
                  std::to_string(row.channel) + R"(,"args":{"name":"channel )" + std::to_string(row.channel) +
                  " " + EscapeJson(row.camera) + "\"}");
        }
    }
    out_ << "\n]}\n";
}

} // namespace maravel::diagnosis
