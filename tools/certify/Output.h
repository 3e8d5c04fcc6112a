// Memory that the other side writes into, between two walls.
#pragma once

#include "Check.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace maravel::certify {

// `size` bytes of 0xA5 between two walls of 64 bytes.
class Memory
{
public:
    explicit Memory(std::size_t size) : bytes_(size + 2 * kWall, kFill), size_(size)
    {
        std::fill_n(bytes_.begin(), kWall, kWallByte);
        std::fill_n(bytes_.end() - kWall, kWall, kWallByte);
    }

    std::uint8_t* Data() { return bytes_.data() + kWall; }
    const std::uint8_t* Data() const { return bytes_.data() + kWall; }
    std::size_t Size() const { return size_; }

    // Whether the bytes from `begin` to the end are as they were at first.
    bool IsUntouched(std::size_t begin = 0) const
    {
        return std::all_of(Data() + begin, Data() + size_, [](std::uint8_t b) { return b == kFill; });
    }
    bool WallsStand() const
    {
        const auto isWall = [](std::uint8_t byte) { return byte == kWallByte; };
        return std::all_of(bytes_.begin(), bytes_.begin() + kWall, isWall) &&
               std::all_of(bytes_.end() - kWall, bytes_.end(), isWall);
    }
    void Refill() { std::fill_n(Data(), size_, kFill); }

    static constexpr std::uint8_t kFill = 0xA5;

private:
    static constexpr std::ptrdiff_t kWall = 64;
    static constexpr std::uint8_t kWallByte = 0xC3;

    std::vector<std::uint8_t> bytes_;
    std::size_t size_;
};

// An array of records that the SDK fills; one record unless said otherwise.
template <class T>
class Output
{
public:
    explicit Output(std::size_t count = 1) : memory_(count * sizeof(T)) {}

    T* Get() { return reinterpret_cast<T*>(memory_.Data()); }
    T& operator*() { return *Get(); }
    T* operator->() { return Get(); }
    T& operator[](std::size_t index) { return Get()[index]; }
    // From the record of that index on.
    bool IsUntouched(std::size_t from = 0) const { return memory_.IsUntouched(from * sizeof(T)); }
    bool WallsStand() const { return memory_.WallsStand(); }
    void Refill() { memory_.Refill(); }

private:
    Memory memory_;
};

} // namespace maravel::certify
