// What the benchmarks found: figures, and goals that were met or not.
#pragma once

#include "bench/Rounds.h"

#include <cstdio>
#include <string>
#include <vector>

namespace maravel::bench {

enum class Bound
{
    AtLeast,
    AtMost,
    None
};

struct GoalRow
{
    std::string goal;
    std::string measured;
    Bound bound;
    double limit;
    bool met;
};

// A table of speeds: one line per case, one column per subject. A speed of 0 was not measured.
struct SpeedTable
{
    std::string title;
    std::string name; // of its data file, without ending
    std::vector<std::string> subjects;
    struct Line
    {
        std::string label;
        std::vector<Spread> speeds;
    };
    std::vector<Line> lines;
};

class Report
{
public:
    // Adds a goal and prints it to stdout. The median counts.
    void AddGoal(const std::string& goal, const Spread& measured, Bound bound, double limit);

    // A goal of one figure rather than of a ratio.
    void AddGoal(const std::string& goal, double measured, Bound bound, double limit,
                 const char* format = "%.2f");

    // A figure that explains others and is no goal.
    void AddFigure(const std::string& name, const Spread& measured);

    void AddTable(SpeedTable table);

    std::size_t missedGoals() const;

    // Writes goals.md (the lines of a Markdown table), tables.md and, for gnuplot, one .dat file per table
    // into an existing folder. Throws std::runtime_error when it cannot.
    void Save(const std::string& folder) const;

private:
    void Add(GoalRow row);
    std::string Goals() const;
    std::string Tables() const;

    std::vector<GoalRow> goals_;
    std::vector<SpeedTable> tables_;
};

} // namespace maravel::bench
