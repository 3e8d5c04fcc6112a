// How the entry points of every backend fill lists and buffers of their callers.
#pragma once

#include "sdk/ZvkTypes.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace maravel::backend {

// Fills a caller's list from `count` things; at(i) gives one. A null list only counts; a short one is filled
// and told of.
template <typename T, typename At>
ZvkError_t FillList(T* list, std::uint32_t listLength, std::uint32_t* numFound, std::size_t count, At at)
{
    *numFound = static_cast<std::uint32_t>(count);
    if (list == nullptr) {
        return ZvkErrorSuccess;
    }
    const std::size_t filled = std::min<std::size_t>(listLength, count);
    for (std::size_t i = 0; i < filled; ++i) {
        list[i] = at(i);
    }
    return filled < count ? ZvkErrorMoreData : ZvkErrorSuccess;
}

// Copies bytes out, or tells how many there are.
inline ZvkError_t CopyOut(const char* bytes, std::size_t size, char* buffer, std::uint32_t bufferSize,
                          std::uint32_t* sizeFilled)
{
    if (sizeFilled != nullptr) {
        *sizeFilled = static_cast<std::uint32_t>(size);
    }
    if (buffer == nullptr) {
        return ZvkErrorSuccess;
    }
    if (bufferSize < size) {
        return ZvkErrorMoreData;
    }
    std::memcpy(buffer, bytes, size);
    return ZvkErrorSuccess;
}

} // namespace maravel::backend
