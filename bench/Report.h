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
    AtMost
};

struct GoalRow
{
    std::string goal;
    std::string measured;
    Bound bound;
    double limit;
    bool met;
};

// A table of speeds: one line per case, one column per subject.
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

    void AddTable(SpeedTable table);

    std::size_t missedGoals() const;

    // Everything as Markdown.
    void WriteMarkdown(std::FILE* file) const;

    // One file per table into the folder, as gnuplot reads it: label, then a median per subject.
    void WritePlotData(const std::string& folder) const;

private:
    void Add(GoalRow row);

    std::vector<GoalRow> goals_;
    std::vector<SpeedTable> tables_;
};

} // namespace maravel::bench
