// A host that keeps a record of everything the adapter answered.
#pragma once

#include "support/TestHost.h"

#include <cstdint>
#include <string>
#include <vector>

namespace maravel::sweep {

using test::Answer;
using test::TextRule;

enum class SdkLibrary
{
    Runtime,
    Transform
};

// The adapter above the simulated SDK, both freshly loaded. One at a time.
class SweepHost : public test::TestHost
{
public:
    explicit SweepHost(bool isUnkind = false);

    // Forgets the answers; from here on faults and the log count.
    void BeginRecord();
    const std::vector<Answer>& Answers() const { return answers_; }
    // What was logged since BeginRecord.
    std::string LogSinceRecord() const { return earlierLog_ + LogText(logStart_); }

    // The nth call of that library from now on fails.
    void FailCall(SdkLibrary library, std::uint32_t nth, std::int32_t code, bool forever);
    // Ends all faults and counts from 0 again; the cameras stay.
    void EndFaults();
    // Since EndFaults: calls that could have failed, and calls that did.
    std::uint64_t Calls(SdkLibrary library) const;
    std::uint64_t FaultsFired(SdkLibrary library) const;
    // What the adapter did wrong with the SDK since EndFaults, but for what follows from a refused closing
    // step.
    std::vector<std::string> Violations() const;

    // Host calls that take more than the call itself.
    void Open();
    void SetUp(int channel, int acqContinuous, int acqTriggered, int lowToHigh = 1);
    void Start(int channel);
    void Stop(int channel);
    // What a host that polls does: image status, attributes, image.
    void Poll(int channel);
    // Unloads the adapter, which closes everything, and loads it again.
    void Reload();

    // Whether a start succeeded, no image came of it, and the log does not say why.
    bool HasSilentStart() const { return hasSilentStart_; }

    // The channel whose last stop was refused; -1: none.
    int StopRefused() const { return stopRefused_; }

protected:
    void Note(const Answer& answer) override;

private:
    struct Counts
    {
        std::uint64_t calls[2];
        std::uint64_t faults[2];
        std::vector<std::string> violations;
    };

    void Load();
    void CheckStream();
    void CallFromInside();

    test::GuardedBuffer image_{64 * 1024};
    std::vector<Answer> answers_;
    std::string earlierLog_;   // since BeginRecord, of starts before the last one
    Counts beforeReload_ = {}; // what EndFaults would have to clear, but for an unload in between
    int stopRefused_ = -1;
    // Since the last start that succeeded: where its log begins, and whether an image came.
    std::size_t startAt_ = std::string::npos;
    bool hasImage_ = false;
    bool hasSilentStart_ = false;
};

} // namespace maravel::sweep
