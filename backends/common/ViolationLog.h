// What callers of a library did wrong, for their tests to ask. Constant-sized, in never-destroyed storage;
// any thread.
#pragma once

#include "Lock.h"
#include "platform/Compiler.h"

#include <cstdint>

namespace maravel::backend {

class ViolationLog
{
public:
    // Notes "ENTRY: text"; the first 200 are kept, all are counted.
    void Add(const char* entry, const char* format, ...) MARAVEL_PRINTF(3, 4);

    // Writes the kept ones, a line each; returns how many there were.
    std::uint32_t Write(char* buffer, std::uint32_t size);
    void Clear();

private:
    static constexpr std::uint32_t MaxLines = 200;

    Mutex mutex_; // a leaf
    std::uint32_t count_ MARAVEL_GUARDED_BY(mutex_) = 0;
    char lines_[MaxLines][200] MARAVEL_GUARDED_BY(mutex_) = {};
};

} // namespace maravel::backend
