// Which trigger model the host program works with. Host threads under g_adapterMutex.
#pragma once

#include <array>
#include <cstdint>

namespace maravel {

// Major, minor, build, revision.
using FileVersion = std::array<std::uint16_t, 4>;

// From the two halves of a version resource, two 16-bit numbers each.
FileVersion UnpackFileVersion(std::uint32_t mostSignificant, std::uint32_t leastSignificant);

// True for hosts that work with the new trigger model: version 2.3.0.14 and later.
bool UsesNewTriggerModel(const FileVersion& version);

// Logs the host program and its file version and tells which trigger model it works with: true for the new
// one. A version that cannot be read means the old one.
bool CheckTriggerModel();

} // namespace maravel
