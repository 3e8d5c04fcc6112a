#include "imagetransform/ColourCorrection.h"

#include <algorithm>
#include <cmath>

namespace maravel::imagetransform {

bool ColourCorrection::SetMatrix(const float (&matrix)[9])
{
    const auto usable = [](float factor) { return factor >= -16 && factor <= 16; };
    if (!std::ranges::all_of(matrix, usable)) {
        return false;
    }
    std::ranges::transform(matrix, matrix_.begin(),
                           [](float factor) { return static_cast<int>(std::lround(factor * (1 << kBits))); });
    hasMatrix_ = true;
    return true;
}

bool ColourCorrection::SetGamma(float gamma)
{
    if (!(gamma >= 0.1f && gamma <= 10)) {
        return false;
    }
    for (std::size_t i = 0; i < gamma_.size(); ++i) {
        gamma_[i] = static_cast<std::uint8_t>(
            std::lround(255 * std::pow(static_cast<double>(i) / 255, 1 / static_cast<double>(gamma))));
    }
    hasGamma_ = true;
    return true;
}

void ColourCorrection::Apply(std::uint8_t* pixels, std::size_t count, bool redFirst) const
{
    const std::size_t red = redFirst ? 0 : 2, blue = redFirst ? 2 : 0;
    if (hasMatrix_) {
        const std::array<int, 9> m = matrix_;
        const auto clamp = [](int sum) {
            return static_cast<std::uint8_t>(std::clamp((sum + (1 << (kBits - 1))) >> kBits, 0, 255));
        };
        for (std::uint8_t* pixel = pixels; pixel != pixels + 3 * count; pixel += 3) {
            const int r = pixel[red], g = pixel[1], b = pixel[blue];
            pixel[red] = clamp(m[0] * r + m[1] * g + m[2] * b);
            pixel[1] = clamp(m[3] * r + m[4] * g + m[5] * b);
            pixel[blue] = clamp(m[6] * r + m[7] * g + m[8] * b);
        }
    }
    if (hasGamma_) {
        std::ranges::transform(pixels, pixels + 3 * count, pixels,
                               [this](std::uint8_t value) { return gamma_[value]; });
    }
}

} // namespace maravel::imagetransform
