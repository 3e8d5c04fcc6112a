#include "CallControl.h"

#include "Handles.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace maravel::backend {

std::size_t CallControl::IndexOf(const char* name) const
{
    for (std::size_t i = 0; i < entryCount_; ++i) {
        if (std::strcmp(entries_[i].name, name) == 0) {
            return i;
        }
    }
    return NoEntry;
}

bool CallControl::TakeArmedFault(std::size_t entry, ZvkError_t* code)
{
    if (!entries_[entry].hasResult) {
        return false;
    }
    Lock lock(mutex_);
    bool fired = false;
    std::size_t count = faultCount_.load(std::memory_order_relaxed);
    for (std::size_t i = 0; i < count;) {
        Fault& fault = faults_[i];
        const bool concerned = fault.entry == NoEntry || fault.entry == entry;
        if (concerned && fault.remaining > 1) {
            --fault.remaining;
        }
        else if (concerned && !fired) {
            fired = true;
            *code = fault.code;
            if (fault.code == Crash) {
                std::abort();
            }
            if (fault.code == Hang) {
                lock.Unlock();
                for (;;) {
                    std::this_thread::sleep_for(std::chrono::hours(1));
                }
            }
            if (!fault.forever) {
                std::move(faults_.begin() + static_cast<std::ptrdiff_t>(i) + 1,
                          faults_.begin() + static_cast<std::ptrdiff_t>(count),
                          faults_.begin() + static_cast<std::ptrdiff_t>(i));
                --count;
                continue;
            }
        }
        ++i;
    }
    faultCount_.store(count, std::memory_order_relaxed);
    if (fired) {
        faultsFired_.fetch_add(1);
    }
    return fired;
}

bool CallControl::FailCall(const char* name, std::uint32_t nth, ZvkError_t code, bool forever)
{
    const std::size_t entry = name == nullptr ? NoEntry : IndexOf(name);
    if (nth == 0 || (name != nullptr && entry == NoEntry)) {
        return false;
    }
    Lock lock(mutex_);
    const std::size_t count = faultCount_.load(std::memory_order_relaxed);
    if (count == MaxFaults) {
        return false;
    }
    faults_[count] = {entry, nth, code, forever};
    faultCount_.store(count + 1, std::memory_order_relaxed);
    return true;
}

bool CallControl::ReplaceEntry(const char* name, void* function)
{
    const std::size_t entry = IndexOf(name);
    if (entry == NoEntry) {
        return false;
    }
    replacements_[entry].store(function, std::memory_order_release);
    return true;
}

std::uint64_t CallControl::CallCount(const char* name) const
{
    if (name != nullptr) {
        const std::size_t entry = IndexOf(name);
        return entry == NoEntry ? 0 : counts_[entry].load();
    }
    std::uint64_t sum = 0;
    for (const auto& count : counts_) {
        sum += count.load();
    }
    return sum;
}

void CallControl::Record(std::size_t entry, const CallArgument* arguments, std::size_t argumentCount,
                         ZvkError_t result)
{
    counts_[entry].fetch_add(1, std::memory_order_relaxed);
    Lock lock(mutex_);
    CallRecord& record = ring_[recorded_ % ringSize_];
    record.entry = static_cast<std::uint32_t>(entry);
    record.result = result;
    record.argumentCount = static_cast<std::uint32_t>(argumentCount);
    std::copy_n(arguments, argumentCount, record.arguments);
    ++recorded_;
}

std::size_t CallControl::FormatRecord(const CallRecord& record, char* line, std::size_t size) const
{
    const EntryDescription& entry = entries_[record.entry];
    std::size_t used = static_cast<std::size_t>(std::snprintf(line, size, "%s(", entry.name));
    for (std::size_t i = 0; i < record.argumentCount; ++i) {
        const CallArgument& argument = record.arguments[i];
        char text[64];
        switch (argument.kind) {
        case CallArgument::Kind::Handle:
            DescribeHandle(argument.pointer, text, sizeof(text));
            break;
        case CallArgument::Kind::Text:
            std::snprintf(text, sizeof(text), "%s", argument.text);
            break;
        case CallArgument::Kind::Integer:
            std::snprintf(text, sizeof(text), "%lld", static_cast<long long>(argument.integer));
            break;
        case CallArgument::Kind::Real:
            std::snprintf(text, sizeof(text), "%.6g", argument.real);
            break;
        case CallArgument::Kind::Pointer:
            std::snprintf(text, sizeof(text), "%p", argument.pointer);
            break;
        }
        used +=
            static_cast<std::size_t>(std::snprintf(line + used, size - used, i == 0 ? "%s" : ", %s", text));
    }
    if (entry.hasResult) {
        used += static_cast<std::size_t>(std::snprintf(line + used, size - used, ") = %d", record.result));
    }
    else {
        used += static_cast<std::size_t>(std::snprintf(line + used, size - used, ")"));
    }
    return used;
}

std::uint32_t CallControl::WriteCalls(char* buffer, std::uint32_t size)
{
    LineWriter writer(buffer, size);
    Lock lock(mutex_);
    const std::uint64_t kept = std::min<std::uint64_t>(recorded_, ringSize_);
    for (std::uint64_t i = recorded_ - kept; i < recorded_; ++i) {
        char line[512];
        FormatRecord(ring_[i % ringSize_], line, sizeof(line));
        writer.Add(line);
    }
    return static_cast<std::uint32_t>(kept);
}

void CallControl::ClearCalls()
{
    Lock lock(mutex_);
    recorded_ = 0;
    for (auto& count : counts_) {
        count.store(0);
    }
}

void CallControl::Reset()
{
    ClearCalls();
    for (auto& replacement : replacements_) {
        replacement.store(nullptr, std::memory_order_release);
    }
    Lock lock(mutex_);
    faultCount_.store(0, std::memory_order_relaxed);
    faultsFired_.store(0);
}

void LineWriter::Add(const char* line)
{
    const std::size_t length = std::strlen(line);
    if (full_ || used_ + length + 2 > size_) {
        full_ = true;
        return;
    }
    std::memcpy(buffer_ + used_, line, length);
    used_ += length;
    buffer_[used_++] = '\n';
    buffer_[used_] = '\0';
}

} // namespace maravel::backend
