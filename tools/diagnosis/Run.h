// One run of the adapter, from its start to its end, as its lines tell it.
#pragma once

#include "Analysis.h"

#include <map>

namespace maravel::diagnosis {

// Lines that say the same of the same channel.
struct RunEvidence
{
    std::vector<Quote> quotes; // the first two, and the last one
    std::uint64_t count = 0;
    std::string reason;
    std::int64_t code = 0;
    std::vector<std::string> values; // of the first line
    std::uint64_t frames = 0, of = 0;
    std::int64_t milliseconds = 0;
    std::string detail;
};

// A line as evidence.
Quote QuoteOf(const Entry& entry);

class Analysis::Run
{
public:
    explicit Run(std::uint64_t nulBytesBefore) : nulBytes_(nulBytesBefore), nulBytesBefore_(nulBytesBefore) {}

    // Whether the banner of its start was seen or anything happened before it.
    bool Begun() const { return banner_ || entries_ > kBannerLines; }
    void Take(const Entry& entry, const Match& match, std::uint64_t nulBytes);
    RunReport Report(const Circumstances& circumstances) const;

    using Evidence = RunEvidence;
    using Key = std::pair<FaultId, std::int64_t>;
    using EvidenceMap = std::map<Key, Evidence>;

private:
    static constexpr std::uint64_t kBannerLines = 1; // the row of signs above it

    // One stream of a channel, from its start to its stop.
    struct Stream
    {
        bool called = false;  // the host wanted it
        bool started = false; // the camera took the command
        std::int64_t since = -1;
        std::uint64_t complete = 0;
        // As far as they can be told apart, or as the stop tells: where several stream, those that a gap in
        // the frame numbers has room for.
        std::uint64_t incomplete = 0;
        std::uint64_t incompleteAtStart = 0; // before the first complete one
        std::uint64_t gaps = 0;              // frame numbers that were left out
        std::uint64_t lastFrame = 0;
        std::uint64_t incompleteLinesBefore = 0; // of all streams, before the last complete frame
        std::int64_t firstTime = -1, lastTime = -1;
        std::uint64_t lastLine = 0;
        std::int64_t highestBuffer = -1;
        std::int64_t waiting = 0; // frames that were stored and not described since
        std::int64_t mostWaiting = 0;
        std::int64_t second = -1; // of the rate
        std::uint32_t inSecond = 0;
        bool full = false; // the second before was a whole one of the stream
        Quote start, worstGap;
        std::uint64_t largestGap = 0;
    };
    struct Channel
    {
        ChannelReport report;
        Stream stream;
        std::map<std::uint32_t, std::uint64_t> rates; // seconds with that many frames
        std::string source, edge;
    };

    void Note(FaultId id, std::int64_t channel, const Quote& quote, const Match& match);
    void NoteByText(const Entry& entry, const Match& match);
    void TakeStart(const Entry& entry, const Match& match);
    void TakeSetup(const Entry& entry, const Match& match);
    void TakeStream(const Entry& entry, const Match& match);
    void TakeFetch();
    void TakeFrame(const Entry& entry, const Match& match);
    void TakeStop(const Entry& entry, const Match& match);
    void Claim(Stream& stream, std::uint64_t frames);
    void ClaimForSilentStream();
    Channel& At(std::int64_t channel);
    Stream* OnlyStream();

    void CloseStream(Channel& channel, const Quote& end);
    void JudgeSilence(const Channel& channel, const Quote& end);
    void JudgeLosses(Channel& channel, const Quote& end);
    void JudgeEnd(const Circumstances& circumstances);
    void JudgeUnclaimed();
    static ChannelReport RowOf(const Channel& channel);

    bool banner_ = false;
    std::uint64_t entries_ = 0;
    std::uint64_t nulBytes_, nulBytesBefore_;
    Quote last_;
    RunReport report_;
    bool initialized_ = false;
    std::int64_t openChannel_ = Finding::NoChannel; // of the call that is under way
    std::map<std::int64_t, Channel> channels_;
    std::uint64_t incompleteLines_ = 0;
    std::uint64_t unclaimed_ = 0; // those of them that no stream was found for
    EvidenceMap evidence_;
};

} // namespace maravel::diagnosis
