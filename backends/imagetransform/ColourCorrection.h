// What is done to the colours of a picture after its conversion: a matrix, then gamma.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace maravel::imagetransform {

class ColourCorrection
{
public:
    // Row by row, for red, green and blue. False when a number is none or beyond -16..16.
    bool SetMatrix(const float (&matrix)[9]);

    // False when it is none or beyond 0.1..10.
    bool SetGamma(float gamma);

    bool IsNeeded() const { return hasMatrix_ || hasGamma_; }

    // Changes three bytes a pixel.
    void Apply(std::uint8_t* pixels, std::size_t count, bool redFirst) const;

private:
    static constexpr int kBits = 12; // of the fraction

    bool hasMatrix_ = false;
    bool hasGamma_ = false;
    std::array<int, 9> matrix_ = {};
    std::array<std::uint8_t, 256> gamma_ = {};
};

} // namespace maravel::imagetransform
