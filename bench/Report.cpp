#include "bench/Report.h"

#include <algorithm>
#include <memory>
#include <stdexcept>

namespace maravel::bench {
namespace {

std::string Number(const char* format, double value)
{
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

bool Holds(double value, Bound bound, double limit)
{
    return bound == Bound::AtLeast ? value >= limit : value <= limit;
}

std::string LimitText(const GoalRow& row)
{
    return std::string(row.bound == Bound::AtLeast ? ">= " : "<= ") + Number("%.6g", row.limit);
}

} // namespace

void Report::AddGoal(const std::string& goal, const Spread& measured, Bound bound, double limit)
{
    Add({goal,
         Number("%.2f", measured.median) + " (" + Number("%.2f", measured.lower) + " to " +
             Number("%.2f", measured.upper) + ")",
         bound, limit, Holds(measured.median, bound, limit)});
}

void Report::AddGoal(const std::string& goal, double measured, Bound bound, double limit, const char* format)
{
    Add({goal, Number(format, measured), bound, limit, Holds(measured, bound, limit)});
}

void Report::Add(GoalRow row)
{
    std::printf("%-4s  %-78s %-22s %s\n", row.met ? "pass" : "FAIL", row.goal.c_str(), row.measured.c_str(),
                LimitText(row).c_str());
    std::fflush(stdout);
    goals_.push_back(std::move(row));
}

void Report::AddTable(SpeedTable table)
{
    tables_.push_back(std::move(table));
}

std::size_t Report::missedGoals() const
{
    return static_cast<std::size_t>(
        std::count_if(goals_.begin(), goals_.end(), [](const GoalRow& row) { return !row.met; }));
}

void Report::WriteMarkdown(std::FILE* file) const
{
    std::fprintf(file, "| Goal | Measured, median (quartiles) | Limit | |\n|---|---|---|---|\n");
    for (const GoalRow& row : goals_)
        std::fprintf(file, "| %s | %s | %s | %s |\n", row.goal.c_str(), row.measured.c_str(),
                     LimitText(row).c_str(), row.met ? "pass" : "**fail**");

    for (const SpeedTable& table : tables_) {
        std::fprintf(file, "\n%s\n\n| |", table.title.c_str());
        for (const std::string& subject : table.subjects)
            std::fprintf(file, " %s |", subject.c_str());
        std::fprintf(file, "\n|---|");
        for (std::size_t i = 0; i < table.subjects.size(); ++i)
            std::fprintf(file, "---|");
        std::fprintf(file, "\n");
        for (const SpeedTable::Line& line : table.lines) {
            std::fprintf(file, "| %s |", line.label.c_str());
            for (const Spread& speed : line.speeds)
                std::fprintf(file, " %.2f |", speed.median);
            std::fprintf(file, "\n");
        }
    }
}

void Report::WritePlotData(const std::string& folder) const
{
    for (const SpeedTable& table : tables_) {
        const std::string path = folder + "/" + table.name + ".dat";
        const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "w"),
                                                                   std::fclose);
        if (!file)
            throw std::runtime_error("cannot write " + path);
        std::fprintf(file.get(), "case");
        for (const std::string& subject : table.subjects)
            std::fprintf(file.get(), "\t%s", subject.c_str());
        std::fprintf(file.get(), "\n");
        for (const SpeedTable::Line& line : table.lines) {
            std::fprintf(file.get(), "\"%s\"", line.label.c_str());
            for (const Spread& speed : line.speeds)
                std::fprintf(file.get(), "\t%.4f", speed.median);
            std::fprintf(file.get(), "\n");
        }
    }
}

} // namespace maravel::bench
