// Memory of the host with guard bytes round it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace maravel::test {

// `size` bytes of the given fill between two walls; whoever writes past either end fails the test.
class GuardedBuffer
{
public:
    explicit GuardedBuffer(std::size_t size, unsigned char fill = 0xA5)
        : bytes_(size + 2 * kWall, kWallByte), size_(size)
    {
        std::memset(Data(), fill, size);
    }
    GuardedBuffer(const GuardedBuffer&) = delete;
    GuardedBuffer& operator=(const GuardedBuffer&) = delete;
    ~GuardedBuffer()
    {
        const auto isWall = [](unsigned char byte) { return byte == kWallByte; };
        EXPECT_TRUE(std::all_of(bytes_.begin(), bytes_.begin() + kWall, isWall))
            << "written below a host buffer";
        EXPECT_TRUE(std::all_of(bytes_.end() - kWall, bytes_.end(), isWall)) << "written above a host buffer";
    }

    unsigned char* Data() { return bytes_.data() + kWall; }
    const unsigned char* Data() const { return bytes_.data() + kWall; }
    char* Text() { return reinterpret_cast<char*>(Data()); }
    std::size_t Size() const { return size_; }

    // The bytes up to the first null, or up to the end.
    std::string AsText() const
    {
        const auto* end = std::find(Data(), Data() + size_, 0);
        return {Data(), end};
    }
    std::vector<unsigned char> AsBytes() const { return {Data(), Data() + size_}; }
    bool IsFilledWith(unsigned char fill) const
    {
        return std::all_of(Data(), Data() + size_, [fill](unsigned char byte) { return byte == fill; });
    }

private:
    static constexpr std::ptrdiff_t kWall = 64;
    static constexpr unsigned char kWallByte = 0xC3;

    std::vector<unsigned char> bytes_;
    std::size_t size_;
};

// A record of the host between two walls, every byte of it 0xA5 at first.
template <class Record>
class Guarded
{
public:
    Guarded() = default;
    explicit Guarded(std::int32_t structSize) { (*this)->structSize = structSize; }
    Record* operator->() { return reinterpret_cast<Record*>(buffer_.Data()); }
    Record& operator*() { return *reinterpret_cast<Record*>(buffer_.Data()); }
    Record* Get() { return reinterpret_cast<Record*>(buffer_.Data()); }
    const unsigned char* Bytes() const { return buffer_.Data(); }

private:
    GuardedBuffer buffer_{sizeof(Record)};
};

} // namespace maravel::test
