// What stands between an exported entry point and its implementation: the record of calls, calls that are
// told to fail, and entry points that a test has replaced. One object per library, in never-destroyed
// storage; all of it may be used from any thread, before the library is started and after it is shut down.
#pragma once

#include "Lock.h"
#include "sdk/ZvkTypes.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace maravel::backend {

// One argument of a recorded call. Texts are cut.
struct CallArgument
{
    enum class Kind : std::uint8_t
    {
        Handle,
        Text,
        Integer,
        Real,
        Pointer
    };
    Kind kind;
    union
    {
        const void* pointer;
        std::int64_t integer;
        double real;
        char text[40];
    };
};

struct CallRecord
{
    std::uint32_t entry;
    std::int32_t result;
    std::uint32_t argumentCount;
    CallArgument arguments[4];
};

struct EntryDescription
{
    const char* name;
    bool hasResult; // entry points without a result cannot fail and do not count towards a fault
};

class CallControl
{
public:
    static constexpr std::size_t MaxEntries = 64;
    static constexpr std::size_t MaxFaults = 256;
    static constexpr std::size_t NoEntry = static_cast<std::size_t>(-1);
    // Instead of a result: the process ends, or the call does not.
    static constexpr ZvkError_t Crash = INT32_MAX;
    static constexpr ZvkError_t Hang = INT32_MAX - 1;

    // `ring` keeps the last calls; its oldest one gives way. Both arrays outlive the object.
    constexpr CallControl(const EntryDescription* entries, std::size_t entryCount, CallRecord* ring,
                          std::size_t ringSize)
        : entries_(entries), entryCount_(entryCount), ring_(ring), ringSize_(ringSize)
    {
    }

    // The dispatch. TakeFault tells whether this call is to fail, and with what.
    bool TakeFault(std::size_t entry, ZvkError_t* code)
    {
        return faultCount_.load(std::memory_order_relaxed) != 0 && TakeArmedFault(entry, code);
    }
    void* Replacement(std::size_t entry) const
    {
        return replacements_[entry].load(std::memory_order_acquire);
    }
    void Record(std::size_t entry, const CallArgument* arguments, std::size_t argumentCount,
                ZvkError_t result);

    // The position of an entry point's name; NoEntry for an unknown one.
    std::size_t IndexOf(const char* name) const;

    // The nth call from now, counting from 1, of the entry point (null: of any) fails with `code`, once or
    // from then on for ever. False: unknown name, nth 0, or too many faults.
    bool FailCall(const char* name, std::uint32_t nth, ZvkError_t code, bool forever);
    std::uint32_t FaultsFired() const { return faultsFired_.load(); }

    // Calls of the entry point go to `function` from now on; null ends that. False: unknown name.
    bool ReplaceEntry(const char* name, void* function);

    // Calls since the last Clear, of one entry point or (null) of all.
    std::uint64_t CallCount(const char* name) const;

    // Writes the kept calls, oldest first, a line each, as many whole lines as fit; returns how many are
    // kept.
    std::uint32_t WriteCalls(char* buffer, std::uint32_t size);
    void ClearCalls();

    // Ends faults and replacements and clears the record.
    void Reset();

private:
    struct Fault
    {
        std::size_t entry; // NoEntry: any
        std::uint32_t remaining;
        ZvkError_t code;
        bool forever;
    };

    bool TakeArmedFault(std::size_t entry, ZvkError_t* code);
    std::size_t FormatRecord(const CallRecord& record, char* line, std::size_t size) const;

    const EntryDescription* const entries_;
    const std::size_t entryCount_;
    CallRecord* const ring_;
    const std::size_t ringSize_;

    std::array<std::atomic<void*>, MaxEntries> replacements_{};
    std::array<std::atomic<std::uint64_t>, MaxEntries> counts_{};
    std::atomic<std::size_t> faultCount_{0}; // written under mutex_; read without for the fault-free way
    std::atomic<std::uint32_t> faultsFired_{0};

    mutable Mutex mutex_; // a leaf: nothing else is locked or called under it
    std::array<Fault, MaxFaults> faults_ MARAVEL_GUARDED_BY(mutex_){};
    std::uint64_t recorded_ MARAVEL_GUARDED_BY(mutex_) = 0;
};

// Copies lines into a caller's buffer: whole ones only, terminated. Null and 0 only count.
class LineWriter
{
public:
    LineWriter(char* buffer, std::uint32_t size) : buffer_(buffer), size_(buffer == nullptr ? 0 : size)
    {
        if (size_ > 0) {
            buffer_[0] = '\0';
        }
    }
    void Add(const char* line);

private:
    char* buffer_;
    std::size_t size_;
    std::size_t used_ = 0;
    bool full_ = false;
};

} // namespace maravel::backend
