// The log as Trace Event JSON, which Chromium's about:tracing and the Perfetto UI show.
#pragma once

#include "Analysis.h"

#include <iosfwd>
#include <map>

namespace maravel::diagnosis {

// A row for each channel: acquisitions as bars, frames and errors as marks, the rate as a curve. Beyond a
// million events single frames are left out; the curve goes on.
class TraceWriter
{
public:
    explicit TraceWriter(std::ostream& out);

    void Take(const Entry& entry, const Match& match);
    void Finish(const LogReport& report);

private:
    struct Channel
    {
        std::int64_t startedAt = -1;
        std::int64_t second = -1;
        unsigned inSecond = 0;
    };

    void Write(const std::string& event);
    void WriteRate(std::int64_t index, Channel& channel);
    void CloseAcquisition(std::int64_t index, Channel& channel, std::int64_t time, const std::string& result);

    std::ostream& out_;
    std::uint64_t events_ = 0;
    int run_ = 1;
    std::int64_t lastTime_ = 0, openChannel_ = 0;
    std::map<std::int64_t, Channel> channels_;
};

} // namespace maravel::diagnosis
