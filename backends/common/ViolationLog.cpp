#include "ViolationLog.h"

#include "CallControl.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace maravel::backend {

void ViolationLog::Add(const char* entry, const char* format, ...)
{
    char text[160];
    std::va_list values;
    va_start(values, format);
    std::vsnprintf(text, sizeof(text), format, values);
    va_end(values);
    Lock lock(mutex_);
    if (count_ < MaxLines) {
        std::snprintf(lines_[count_], sizeof(lines_[count_]), "%.36s: %s", entry, text);
    }
    ++count_;
}

std::uint32_t ViolationLog::Write(char* buffer, std::uint32_t size)
{
    LineWriter writer(buffer, size);
    Lock lock(mutex_);
    for (std::uint32_t i = 0; i < std::min(count_, MaxLines); ++i) {
        writer.Add(lines_[i]);
    }
    return count_;
}

void ViolationLog::Clear()
{
    Lock lock(mutex_);
    count_ = 0;
}

} // namespace maravel::backend
