#include "soak/SoakAudit.h"

#include <cstdlib>
#include <string_view>

namespace maravel::soak {

namespace {

// No channel has more buffers for frames of this size.
constexpr std::uint64_t kBuffers = 16;

// The number after `key`; 0 without one.
std::uint64_t NumberAfter(const std::string& line, std::string_view key)
{
    const std::size_t at = line.find(key);
    return at == std::string::npos ? 0 : std::strtoull(line.c_str() + at + key.size(), nullptr, 10);
}

} // namespace

std::vector<std::string> Audit(std::istream& log, const std::vector<SimStatistics>& cameras,
                               const std::vector<Acquisitions>& fetched, Sums& sums)
{
    std::vector<std::string> complaints;
    const auto expect = [&](bool isRight, const std::string& what, std::uint64_t a, std::uint64_t b) {
        if (!isRight) {
            complaints.push_back(what + ": " + std::to_string(a) + " and " + std::to_string(b));
        }
    };
    std::vector<std::vector<std::uint64_t>> stored(fetched.size(), {0}); // of each channel's acquisitions
    Sums session = {};
    std::uint64_t all = 0;
    std::uint64_t requeued = 0;
    std::uint64_t lateIncomplete = 0;
    for (std::string line; std::getline(log, line);) {
        const auto has = [&line](const char* text) { return line.find(text) != std::string::npos; };
        if (has("Frame stored in FIFO.")) {
            ++stored.at(NumberAfter(line, "channelID=")).back();
            ++all;
        }
        else if (has("FramesReceived=")) {
            std::vector<std::uint64_t>& channel = stored.at(NumberAfter(line, "channelID="));
            const std::uint64_t complete = NumberAfter(line, "(Complete=");
            expect(complete == channel.back(), "frames stored, and what the stop says", channel.back(),
                   complete);
            channel.push_back(0);
        }
        requeued += has("Requeueing...");
        session[Late] += has("after StopAcquistion was called");
        lateIncomplete += has("\tFrameReceivedCallback Frame incomplete.");
        expect(!has("We drop it."), "a frame that is not the channel's own", 1, 0);
    }
    session[Late] -= lateIncomplete;
    for (std::size_t i = 0; i < fetched.size(); ++i) {
        const std::string channel = "channel " + std::to_string(i) + ": ";
        expect(stored[i].size() == fetched[i].size(), channel + "stops in the log and by the host",
               stored[i].size(), fetched[i].size());
        for (std::size_t k = 0; k < fetched[i].size() && k < stored[i].size(); ++k) {
            const Acquisition& acquisition = fetched[i][k];
            const std::uint64_t left = stored[i][k] - acquisition.fetched; // huge when more was fetched
            expect(left <= (acquisition.isDrained ? 0 : kBuffers), channel + "frames stored and fetched",
                   stored[i][k], acquisition.fetched);
            session[Fetched] += acquisition.fetched;
            session[k + 1 == fetched[i].size() ? Waiting : Discarded] += left;
        }
    }
    for (const SimStatistics& camera : cameras) {
        session[Emitted] += camera.complete;
        session[Incomplete] += camera.incomplete;
        session[Lost] += camera.lost;
    }
    expect(session[Emitted] == all + session[Late], "frames emitted, and stored or late", session[Emitted],
           all + session[Late]);
    expect(session[Incomplete] == requeued + lateIncomplete,
           "incomplete frames emitted, and requeued or late", session[Incomplete], requeued + lateIncomplete);
    for (std::size_t i = 0; i < SumCount; ++i) {
        sums[i] += session[i];
    }
    return complaints;
}

} // namespace maravel::soak
