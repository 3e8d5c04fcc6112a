#include "soak/SoakAudit.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
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

void Audit(std::istream& log, const std::vector<SimStatistics>& cameras,
           const std::vector<Acquisitions>& fetched, Sums& sums)
{
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
            EXPECT_EQ(NumberAfter(line, "(Complete="), channel.back()) << line;
            channel.push_back(0);
        }
        requeued += has("Requeueing...");
        session[Late] += has("after StopAcquistion was called");
        lateIncomplete += has("\tFrameReceivedCallback Frame incomplete.");
        EXPECT_FALSE(has("We drop it.")) << line;
    }
    session[Late] -= lateIncomplete;
    for (std::size_t i = 0; i < fetched.size(); ++i) {
        ASSERT_EQ(stored[i].size(), fetched[i].size()) << "stops of channel " << i;
        for (std::size_t k = 0; k < fetched[i].size(); ++k) {
            const Acquisition& acquisition = fetched[i][k];
            const std::uint64_t left = stored[i][k] - acquisition.fetched; // huge when more was fetched
            EXPECT_LE(left, acquisition.isDrained ? 0 : kBuffers)
                << "frames of channel " << i << ": stored " << stored[i][k] << ", fetched "
                << acquisition.fetched;
            session[Fetched] += acquisition.fetched;
            session[k + 1 == fetched[i].size() ? Waiting : Discarded] += left;
        }
    }
    for (const SimStatistics& camera : cameras) {
        session[Emitted] += camera.complete;
        session[Incomplete] += camera.incomplete;
        session[Lost] += camera.lost;
    }
    EXPECT_EQ(session[Emitted], all + session[Late]) << "complete frames stored or late";
    EXPECT_EQ(session[Incomplete], requeued + lateIncomplete) << "incomplete frames requeued or late";
    for (std::size_t i = 0; i < SumCount; ++i) {
        sums[i] += session[i];
    }
}

} // namespace maravel::soak
