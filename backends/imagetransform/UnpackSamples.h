// Brings the samples of a Mono or Bayer format down to bytes.
#pragma once

#include "imagetransform/PixelFormats.h"

#include <cstddef>
#include <cstdint>

namespace maravel::imagetransform {

// Writes the top 8 bits of samples first .. first + count - 1, counted from the start of the image. Reads
// only bytes that hold a bit of one of them. Family::Mono and Family::Bayer.
void UnpackSamples(const PixelFormat& format, const std::uint8_t* source, std::size_t first,
                   std::size_t count, std::uint8_t* destination);

} // namespace maravel::imagetransform
