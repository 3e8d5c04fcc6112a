// The adapter's log of this very run: what it tells of a failure, and what the host interface does not tell.
#pragma once

#include "diagnosis/LogReport.h"

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>

namespace maravel::camhost {

// Whether the adapter of this process writes a log: logging is on, and the file is not another run's. Once
// the adapter was started.
bool HasOwnLog();

class OwnLog
{
public:
    // A frame by its channel and the camera's time stamp.
    using Frame = std::pair<std::int64_t, std::uint64_t>;

    // Reads it; nothing is known afterwards where logging is off or the file is another run's. Looks for the
    // numbers of these frames.
    explicit OwnLog(const std::set<Frame>& wanted = {});

    // The worst thing that went wrong, of that channel or of all (null: nothing is known).
    const diagnosis::Finding* Fault(std::int64_t channel = diagnosis::Finding::NoChannel) const;

    // The fault that a text of the adapter reports; null: it is none, or not known.
    const diagnosis::Finding* FaultIn(const std::string& text) const;

    // The camera's number of the frame.
    std::optional<std::uint64_t> NumberOf(const Frame& frame) const;

private:
    std::optional<diagnosis::RunReport> run_;
    std::map<Frame, std::uint64_t> numbers_;
};

// A finding as the end of a line.
std::string InOneLine(const diagnosis::Finding& finding);

} // namespace maravel::camhost
