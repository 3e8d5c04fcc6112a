// Constant vectors of the kernels that take pixels of three bytes apart. Made by the compiler: the kernels
// are compiled for processors that this one need not be, and must not leave shared code behind.
#pragma once

#include <cstddef>
#include <cstdint>

namespace maravel {

template <std::size_t Width>
struct alignas(Width) ByteTable
{
    std::uint8_t bytes[Width];
};

// 255 where a byte's position in its lane leaves the remainder when divided by 3, 0 elsewhere.
template <std::size_t Width, std::size_t Lane = Width>
consteval ByteTable<Width> PositionsModulo3(std::size_t remainder)
{
    ByteTable<Width> table{};
    for (std::size_t i = 0; i < Width; ++i) {
        table.bytes[i] = i % Lane % 3 == remainder ? 255 : 0;
    }
    return table;
}

// Each byte's position in its lane, times a factor.
template <std::size_t Width, std::size_t Lane = Width>
consteval ByteTable<Width> PositionsTimes(std::size_t factor)
{
    ByteTable<Width> table{};
    for (std::size_t i = 0; i < Width; ++i) {
        table.bytes[i] = static_cast<std::uint8_t>(i % Lane * factor);
    }
    return table;
}

} // namespace maravel
