#include "imagetransform/UnpackSamples.h"

#include <cstring>

namespace maravel::imagetransform {
namespace {

void UnpackWords(const std::uint8_t* source, std::size_t count, unsigned depth, std::uint8_t* destination)
{
    const unsigned shift = depth - 8;
    for (std::size_t i = 0; i < count; ++i) {
        const unsigned word = source[2 * i] | (unsigned{source[2 * i + 1]} << 8);
        destination[i] = static_cast<std::uint8_t>(word >> shift);
    }
}

// The wanted 8 bits lie across two bytes at most.
void UnpackBits(const std::uint8_t* source, std::size_t first, std::size_t count, unsigned depth,
                std::uint8_t* destination)
{
    std::size_t bit = first * depth + (depth - 8);
    for (std::size_t i = 0; i < count; ++i, bit += depth) {
        const std::uint8_t* bytes = source + bit / 8;
        const unsigned offset = bit % 8;
        const unsigned word = offset == 0 ? bytes[0] : bytes[0] | (unsigned{bytes[1]} << 8);
        destination[i] = static_cast<std::uint8_t>(word >> offset);
    }
}

// The outer two of each three bytes are the top 8 bits of their samples.
void UnpackPairs(const std::uint8_t* source, std::size_t first, std::size_t count, std::uint8_t* destination)
{
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t sample = first + i;
        destination[i] = source[sample / 2 * 3 + sample % 2 * 2];
    }
}

} // namespace

void UnpackSamples(const PixelFormat& format, const std::uint8_t* source, std::size_t first,
                   std::size_t count, std::uint8_t* destination)
{
    switch (format.packing) {
    case Packing::Byte:
        std::memcpy(destination, source + first, count);
        break;
    case Packing::Word:
        UnpackWords(source + 2 * first, count, format.depth, destination);
        break;
    case Packing::Lsb:
        UnpackBits(source, first, count, format.depth, destination);
        break;
    case Packing::GigE12Pairs:
        UnpackPairs(source, first, count, destination);
        break;
    }
}

} // namespace maravel::imagetransform
