// The head of each record on the page's stream, little-endian. docs/live-view.md describes it for other
// programs.
#pragma once

#include <cstddef>
#include <cstdint>

namespace maravel::view {

enum class RecordKind : std::uint8_t
{
    Image = 1,
    Status =
        2,  // JSON: counters of every channel; comes twice a second, so that silence means a lost connection
    Log = 3 // JSON: lines of the log and findings
};

enum class Encoding : std::uint8_t
{
    Gray8 = 0,
    Rgb8 = 1 // interleaved
};

struct StreamRecord
{
    std::uint32_t magic = 0x3146564D; // 0: "MVF1"
    std::uint32_t payloadBytes = 0;   // 4: after this head
    RecordKind kind = RecordKind::Image;
    Encoding encoding = Encoding::Gray8;
    std::uint16_t channel = 0;
    std::uint32_t fullWidth = 0, fullHeight = 0; // 12: of the camera's image
    std::uint32_t x = 0, y = 0;                  // 20: of the part that is shown, in the camera's pixels
    std::uint32_t width = 0, height = 0;         // 28: of the payload
    std::uint32_t reduction = 1;                 // 36: camera's pixels for one of the payload, in a row
    std::uint32_t pixelType = 0;                 // 40: as the host interface has it
    std::uint32_t reserved = 0;
    std::uint64_t sequence = 0;        // 48: images fetched from the channel so far
    std::uint64_t deviceTimestamp = 0; // 56
};

static_assert(sizeof(StreamRecord) == 64);
static_assert(offsetof(StreamRecord, kind) == 8 && offsetof(StreamRecord, channel) == 10);
static_assert(offsetof(StreamRecord, fullWidth) == 12 && offsetof(StreamRecord, x) == 20);
static_assert(offsetof(StreamRecord, width) == 28 && offsetof(StreamRecord, reduction) == 36);
static_assert(offsetof(StreamRecord, sequence) == 48 && offsetof(StreamRecord, deviceTimestamp) == 56);

} // namespace maravel::view
