// Comparing operations on a machine that others use too: every round runs all subjects in a new random order,
// and only times of the same round are compared.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace maravel::bench {

// Quartiles of a set of figures.
struct Spread
{
    double lower = 0;
    double median = 0;
    double upper = 0;
};

// The values must not be empty.
Spread SpreadOf(std::vector<double> values);

// The value that the given share (0 to 1) of the values do not exceed. The values must not be empty.
double Quantile(std::vector<double> values, double share);

struct Subject
{
    std::string name;
    std::function<void()> operation; // does its work once
};

// Runs the operation `repeats` times and returns the seconds of one.
using Stopwatch = std::function<double(const std::string& name, std::size_t repeats,
                                       const std::function<void()>& operation)>;

double SteadyClockStopwatch(const std::string& name, std::size_t repeats,
                            const std::function<void()>& operation);

struct RoundSettings
{
    std::size_t rounds = 31;
    std::size_t repeats = 1; // timed runs of a subject in a round
    std::size_t warmUps = 1; // runs before them, so that none pays for what its forerunner left in the caches
    Stopwatch stopwatch = SteadyClockStopwatch;
};

class Rounds
{
public:
    // Measures at once.
    Rounds(const std::vector<Subject>& subjects, const RoundSettings& settings);

    // Seconds of one operation.
    Spread Seconds(const std::string& subject) const;

    // How many times the work of the reference the subject does in the same time: above 1, it is faster.
    Spread SpeedAgainst(const std::string& subject, const std::string& reference) const;

    // The same against the reference with the lowest median. (The fastest of each round would be the
    // luckiest: of two references as fast as the subject one is ahead of it in two rounds of three.)
    Spread SpeedAgainstBest(const std::string& subject, const std::vector<std::string>& references) const;

private:
    const std::vector<double>& TimesOf(const std::string& subject) const;

    std::vector<std::string> names_;
    std::vector<std::vector<double>> seconds_; // by subject, by round
};

} // namespace maravel::bench
