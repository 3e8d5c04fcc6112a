// Whether something grows from round to round.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace maravel::test {

// How much a round adds to what is measured in each: the middle one of the slopes between any two rounds, but
// for the first ones, which fill caches and pools. What is kept once, or now and then for a while, does not
// show in it; what every round keeps does.
inline double GrowthPerRound(const std::vector<double>& measured, std::size_t first)
{
    std::vector<double> slopes;
    for (std::size_t i = first; i < measured.size(); ++i) {
        for (std::size_t j = i + 1; j < measured.size(); ++j) {
            slopes.push_back((measured[j] - measured[i]) / static_cast<double>(j - i));
        }
    }
    if (slopes.empty()) {
        return 0.0;
    }
    const auto middle = slopes.begin() + static_cast<std::ptrdiff_t>(slopes.size() / 2);
    std::nth_element(slopes.begin(), middle, slopes.end());
    return *middle;
}

} // namespace maravel::test
