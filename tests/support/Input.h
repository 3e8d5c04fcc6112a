// Draws values from bytes: a fuzzer's input, or what a generator gives. Past their end everything is zero.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace maravel::test {

class Input
{
public:
    Input(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

    bool AtEnd() const { return size_ == 0; }

    template <class T>
    T Take()
    {
        T value{};
        const std::size_t taken = std::min(sizeof value, size_);
        std::memcpy(&value, data_, taken);
        Skip(taken);
        return value;
    }

    std::string TakeText()
    {
        const std::size_t length = std::min<std::size_t>(Take<std::uint8_t>(), size_);
        std::string text(reinterpret_cast<const char*>(data_), length);
        Skip(length);
        return text;
    }

    std::string TakeRest()
    {
        std::string text(reinterpret_cast<const char*>(data_), size_);
        Skip(size_);
        return text;
    }

private:
    void Skip(std::size_t count)
    {
        data_ += count;
        size_ -= count;
    }

    const std::uint8_t* data_;
    std::size_t size_;
};

} // namespace maravel::test
