// What the image kernels share. There is one source file per kernel and instruction set. It is compiled for
// that instruction set, so it includes nothing that defines inline functions of ours or of the standard
// library: the linker might keep that file's copy, and call it on a processor that lacks the instructions.
//
// How all split kernels work: a step takes three vectors of the same width from the source. Their widths in
// bytes (with AVX2, those of their lanes) leave the remainder 1 when divided by 3, so the bytes of one colour
// stand at different positions modulo 3 in the three vectors: two blends collect all of a colour in one
// vector, and one shuffle puts them in order.
#pragma once

#include "pixels/InstructionSet.h"

#include <cstddef>
#include <cstdint>

namespace maravel {

// Whether an image is better written through the caches or past them.
enum class StoreKind
{
    Cached,   // ordinary stores
    Streaming // past the caches: saves reading the target's lines from memory before they are overwritten
};

// For the next image, to be written to that memory. Remembers the last targets: one that was written a short
// while ago is still in the caches, as with a host that has one buffer, and is best written there; any other
// one would have to be read in first. Any thread.
StoreKind ChooseStores(const void* target, std::size_t byteCount) noexcept;

struct SplitTarget
{
    std::uint8_t* red;
    std::uint8_t* green;
    std::uint8_t* blue;
};

// What a kernel leaves to its caller: the pixels before begin, and those from end on; a pixel may be both.
struct SplitRange
{
    std::size_t begin;
    std::size_t end;
};

using SplitKernel = SplitRange(const std::uint8_t* rgb, std::size_t pixelCount, SplitTarget target,
                               StoreKind stores) noexcept;

SplitKernel SplitPlain; // splits all
SplitKernel SplitSsse3;
SplitKernel SplitAvx2;
SplitKernel SplitAvx512Vbmi;

// Splits all pixels with the kernel of that set. Any thread.
void SplitBy(InstructionSet set, const std::uint8_t* rgb, std::size_t pixelCount, SplitTarget target,
             StoreKind stores) noexcept;

// What one step copies. The destination is aligned to it, and byteCount is a multiple of it.
inline constexpr std::size_t kStreamingStep = 128;

// A copy that writes past the caches.
using StreamingCopy = void(std::uint8_t* destination, const std::uint8_t* source,
                           std::size_t byteCount) noexcept;

StreamingCopy StreamingCopySse2; // every 64-bit processor has it
StreamingCopy StreamingCopyAvx2;

// Constant vectors of the kernels that take pixels of three bytes apart. Made by the compiler: no shared code
// is left behind.
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
