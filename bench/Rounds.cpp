#include "bench/Rounds.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <numeric>
#include <random>
#include <stdexcept>

namespace maravel::bench {

double Quantile(std::vector<double> values, double share)
{
    std::sort(values.begin(), values.end());
    const double position = share * static_cast<double>(values.size() - 1);
    return values[static_cast<std::size_t>(std::lround(position))];
}

Spread SpreadOf(std::vector<double> values)
{
    return {Quantile(values, 0.25), Quantile(values, 0.5), Quantile(values, 0.75)};
}

double SteadyClockStopwatch(const std::string&, std::size_t repeats, const std::function<void()>& operation)
{
    const auto start = std::chrono::steady_clock::now();
    for (std::size_t i = 0; i < repeats; ++i) {
        operation();
    }
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    return elapsed.count() / static_cast<double>(repeats);
}

Rounds::Rounds(const std::vector<Subject>& subjects, const RoundSettings& settings)
    : seconds_(subjects.size(), std::vector<double>(settings.rounds))
{
    for (const Subject& subject : subjects) {
        names_.push_back(subject.name);
    }

    std::vector<std::size_t> order(subjects.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::mt19937 random(1); // the same orders in every run
    for (std::size_t round = 0; round < settings.rounds; ++round) {
        std::shuffle(order.begin(), order.end(), random);
        for (const std::size_t i : order) {
            for (std::size_t warmUp = 0; warmUp < settings.warmUps; ++warmUp) {
                subjects[i].operation();
            }
            seconds_[i][round] = settings.stopwatch(names_[i], settings.repeats, subjects[i].operation);
        }
    }
}

Spread Rounds::Seconds(const std::string& subject) const
{
    return SpreadOf(TimesOf(subject));
}

Spread Rounds::SpeedAgainst(const std::string& subject, const std::string& reference) const
{
    const std::vector<double>& own = TimesOf(subject);
    const std::vector<double>& other = TimesOf(reference);
    std::vector<double> ratios;
    for (std::size_t round = 0; round < own.size(); ++round) {
        ratios.push_back(other[round] / own[round]);
    }
    return SpreadOf(std::move(ratios));
}

Spread Rounds::SpeedAgainstBest(const std::string& subject, const std::vector<std::string>& references) const
{
    return SpeedAgainst(subject, *std::ranges::min_element(references, {}, [this](const std::string& name) {
                            return Seconds(name).median;
                        }));
}

const std::vector<double>& Rounds::TimesOf(const std::string& subject) const
{
    const auto found = std::find(names_.begin(), names_.end(), subject);
    if (found == names_.end()) {
        throw std::logic_error("no subject " + subject);
    }
    return seconds_[static_cast<std::size_t>(found - names_.begin())];
}

} // namespace maravel::bench
