#include "LogReport.h"

#include <algorithm>

namespace maravel::diagnosis {

void Timeline::Add(std::int64_t time)
{
    if (begin_ < 0) {
        begin_ = time;
    }
    if (time < begin_) {
        return;
    }
    while ((time - begin_) / width_ >= static_cast<std::int64_t>(Most)) {
        for (std::size_t i = 0; i < counts_.size(); ++i) {
            i % 2 == 0 ? counts_[i / 2] = counts_[i] : counts_[i / 2] += counts_[i];
        }
        counts_.resize((counts_.size() + 1) / 2);
        width_ *= 2;
    }
    const auto piece = static_cast<std::size_t>((time - begin_) / width_);
    if (counts_.size() <= piece) {
        counts_.resize(piece + 1);
    }
    ++counts_[piece];
}

std::vector<double> Timeline::Columns(std::size_t columns) const
{
    const std::size_t count = std::min(columns, counts_.size());
    std::vector<double> values(count);
    for (std::size_t column = 0; column < count; ++column) {
        const std::size_t begin = column * counts_.size() / count;
        const std::size_t end = (column + 1) * counts_.size() / count;
        for (std::size_t i = begin; i < end; ++i) {
            values[column] += counts_[i];
        }
        values[column] *= 1000.0 / (static_cast<double>(width_) * static_cast<double>(end - begin));
    }
    return values;
}

bool RunReport::Healthy() const
{
    return std::ranges::all_of(findings,
                               [](const Finding& f) { return f.fault->severity == Severity::Hint; });
}

bool LogReport::Healthy() const
{
    return std::ranges::all_of(runs, &RunReport::Healthy);
}

} // namespace maravel::diagnosis
