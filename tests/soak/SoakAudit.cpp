#include "soak/SoakAudit.h"

#include <cstdlib>
#include <sstream>

namespace maravel::soak {

namespace {

// No channel has more buffers for frames of this size.
constexpr std::uint64_t kBuffers = 16;

struct StopLine
{
    std::uint64_t complete;
    std::uint64_t incomplete;
};

struct LoggedChannel
{
    std::uint64_t stored = 0;
    std::vector<StopLine> stops;
};

struct LoggedSession
{
    std::vector<LoggedChannel> channels;
    std::uint64_t requeued = 0; // incomplete ones
    std::uint64_t late = 0;     // of both kinds
    std::uint64_t lateIncomplete = 0;
    std::uint64_t refused = 0; // frames that were not the channel's own: never
};

// The number after `key`.
std::uint64_t NumberAfter(const std::string& line, const char* key)
{
    const std::size_t at = line.find(key);
    return at == std::string::npos ? 0
                                   : std::strtoull(line.c_str() + at + std::string(key).size(), nullptr, 10);
}

bool Has(const std::string& line, const char* text)
{
    return line.find(text) != std::string::npos;
}

LoggedSession ReadLog(const std::string& log, std::size_t channelCount)
{
    LoggedSession session;
    session.channels.resize(channelCount);
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);) {
        const auto channel = static_cast<std::size_t>(NumberAfter(line, "channelID="));
        if (Has(line, "Frame stored in FIFO.") && channel < channelCount) {
            ++session.channels[channel].stored;
        }
        else if (Has(line, "FramesReceived=") && channel < channelCount) {
            session.channels[channel].stops.push_back(
                {NumberAfter(line, "(Complete="), NumberAfter(line, "Incomplete=")});
        }
        else if (Has(line, "Requeueing...")) {
            ++session.requeued;
        }
        else if (Has(line, "after StopAcquistion was called")) {
            ++session.late;
        }
        else if (Has(line, "\tFrameReceivedCallback Frame incomplete.")) {
            ++session.lateIncomplete;
        }
        else if (Has(line, "We drop it.")) {
            ++session.refused;
        }
    }
    return session;
}

// What was stored of one channel was fetched, or waits, or went with a stop.
void AuditChannel(std::size_t index, const LoggedChannel& logged, const Ledger& books, Totals* totals,
                  std::vector<std::string>* complaints)
{
    const auto complain = [&](const std::string& what, std::uint64_t a, std::uint64_t b) {
        complaints->push_back("channel " + std::to_string(index) + ": " + what + ": " + std::to_string(a) +
                              " and " + std::to_string(b));
    };
    if (logged.stops.size() != books.stopped.size()) {
        complain("stops in the log and in the books", logged.stops.size(), books.stopped.size());
        return;
    }
    std::uint64_t stored = 0;
    for (std::size_t i = 0; i < logged.stops.size(); ++i) {
        const std::uint64_t complete = logged.stops[i].complete;
        const Acquisition& acquisition = books.stopped[i];
        stored += complete;
        const std::uint64_t discarded = complete - acquisition.fetched;
        if (acquisition.fetched > complete || discarded > kBuffers ||
            (acquisition.isDrained && discarded != 0)) {
            complain("stored and fetched before stop " + std::to_string(i), complete, acquisition.fetched);
        }
        totals->discardedAtStop += discarded;
    }
    const std::uint64_t waiting = logged.stored - stored - books.fetchedSinceStop;
    if (logged.stored < stored + books.fetchedSinceStop || waiting > kBuffers) {
        complain("stored, and stopped or fetched", logged.stored, stored + books.fetchedSinceStop);
    }
    totals->waiting += waiting;
    totals->fetched += books.fetched;
    totals->calls += books.calls;
    totals->refusals += books.refusals;
}

} // namespace

std::vector<std::string> Audit(const std::string& log, const std::vector<SimStatistics>& cameras,
                               const std::vector<const Ledger*>& books, Totals* totals)
{
    std::vector<std::string> complaints;
    const LoggedSession session = ReadLog(log, books.size());
    std::uint64_t stored = 0;
    for (std::size_t i = 0; i < books.size(); ++i) {
        stored += session.channels[i].stored;
        AuditChannel(i, session.channels[i], *books[i], totals, &complaints);
    }
    std::uint64_t emitted = 0;
    std::uint64_t incomplete = 0;
    for (const SimStatistics& camera : cameras) {
        emitted += camera.complete;
        incomplete += camera.incomplete;
        totals->lostWithoutBuffer += camera.lost;
    }
    const std::uint64_t late = session.late - session.lateIncomplete;
    if (emitted != stored + late) {
        complaints.push_back("emitted " + std::to_string(emitted) + ", but stored " + std::to_string(stored) +
                             " and dropped after a stop " + std::to_string(late));
    }
    if (incomplete != session.requeued + session.lateIncomplete) {
        complaints.push_back("incomplete " + std::to_string(incomplete) + ", but requeued " +
                             std::to_string(session.requeued) + " and dropped after a stop " +
                             std::to_string(session.lateIncomplete));
    }
    if (session.refused != 0) {
        complaints.push_back("frames that were not the channel's own: " + std::to_string(session.refused));
    }
    totals->emitted += emitted;
    totals->arrivedAfterStop += late;
    totals->incomplete += incomplete;
    return complaints;
}

} // namespace maravel::soak
