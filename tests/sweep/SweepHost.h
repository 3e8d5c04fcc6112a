// A host that keeps a record of everything the adapter answered.
#pragma once

#include "maravel/VideoChannel.h"
#include "support/Guarded.h"
#include "support/SdkControl.h"
#include "support/TestPlatform.h"
#include "support/UnkindSdk.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace maravel::sweep {

// What the interface says about the text of an operation.
enum class TextRule
{
    WithFailure,    // a text with every failure, none with a success
    MayEndSilently, // a failure may also be the end of a list, which has no text
    MayWarn,        // a success may leave the text of something that failed on the way
    WithOpenResult, // hand-out: a success has a text when the camera did not open
};

struct Answer
{
    std::string operation;
    TextRule rule;
    std::int32_t status;
    std::int32_t detail; // openResult, or the image status
    std::string text;    // empty: none was written
    bool isLogged;       // the log was open

    bool operator==(const Answer& other) const
    {
        return operation == other.operation && status == other.status && detail == other.detail &&
               text == other.text;
    }
};

enum class SdkLibrary
{
    Runtime,
    Transform
};

// The adapter above the simulated SDK, both freshly loaded. One at a time.
class SweepHost
{
public:
    explicit SweepHost(bool isUnkind = false);
    ~SweepHost();
    SweepHost(const SweepHost&) = delete;
    SweepHost& operator=(const SweepHost&) = delete;

    // Forgets the answers; from here on faults and the log count.
    void BeginRecord();
    const std::vector<Answer>& Answers() const { return answers_; }
    // What was logged since BeginRecord.
    std::string Log() const;

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

    // Host calls. `channel` is a channel's index, whether or not it was handed out.
    void Open();
    void SetUp(int channel, int acqContinuous, int acqTriggered, int lowToHigh = 1);
    void Start(int channel);
    void Stop(int channel);
    void Query(int channel);
    void Attributes(int channel);
    void Fetch(int channel);
    std::string Read(int channel, const std::string& feature);
    void Write(int channel, const std::string& feature, const std::string& value);
    void Execute(int channel, const std::string& feature);
    std::vector<std::string> Names(int channel);
    std::int32_t Type(int channel, const std::string& feature);
    std::vector<std::string> Entries(int channel, const std::string& feature);
    void Attribute(int channel, const std::string& feature, std::uint32_t kind);
    void Release(int channel);
    // Unloads the adapter, which closes everything, and loads it again.
    void Reload();

    // Whether a start succeeded, no image came of it, and the log does not say why.
    bool HasSilentStart() const { return hasSilentStart_; }

    // The channel whose last stop was refused; -1: none.
    int StopRefused() const { return stopRefused_; }

    // Lets the adapter and the SDK go. Returns what is still loaded, empty when nothing is.
    static std::string LeftModules();

    test::PrivateMachine machine;
    test::SdkControl sdk;

private:
    struct Counts
    {
        std::uint64_t calls;
        std::uint64_t transformCalls;
        std::uint64_t faults;
        std::uint64_t transformFaults;
        std::vector<std::string> violations;
    };

    void Load();
    void Unload();
    void CheckStream();
    void CallFromInside();
    void Note(const char* operation, TextRule rule, std::int32_t status, std::int32_t detail = 0);
    char* ClearedText();

    HMODULE adapter_ = nullptr;
    GetVideoChannelFn getVideoChannel_ = nullptr;
    VideoChannelDescriptor callbacks_ = {}; // of any channel: they are the same for all
    test::GuardedBuffer text_{MARAVEL_TEXT_SIZE, 0};
    test::GuardedBuffer value_{MARAVEL_TEXT_SIZE, 0};
    test::GuardedBuffer image_{64 * 1024};
    std::vector<Answer> answers_;
    std::size_t logStart_ = 0;
    std::string earlierLog_;   // since BeginRecord, of starts before the last one
    Counts beforeReload_ = {}; // what EndFaults would have to clear, but for an unload in between
    int stopRefused_ = -1;
    // Since the last start that succeeded: where its log begins, and whether an image came.
    std::size_t startAt_ = std::string::npos;
    bool hasImage_ = false;
    bool hasSilentStart_ = false;
    std::unique_ptr<test::UnkindSdk> unkind_;
};

} // namespace maravel::sweep
