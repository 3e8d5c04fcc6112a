#include "bench/Report.h"

#include <algorithm>
#include <fstream>
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

void WriteFile(const std::string& path, const std::string& text)
{
    std::ofstream file(path, std::ios::binary);
    file << text;
    if (!file.flush())
        throw std::runtime_error("cannot write " + path);
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

std::string Report::Goals() const
{
    std::string text;
    for (const GoalRow& row : goals_)
        text += "| " + row.goal + " | " + row.measured + " | " + LimitText(row) + " | " +
                (row.met ? "pass" : "**fail**") + " |\n";
    return text;
}

std::string Report::Tables() const
{
    std::string text;
    for (const SpeedTable& table : tables_) {
        std::string ruler = "|---|";
        text += "\n" + table.title + ":\n\n| |";
        for (const std::string& subject : table.subjects) {
            text += " " + subject + " |";
            ruler += "---|";
        }
        text += "\n" + ruler + "\n";
        for (const SpeedTable::Line& line : table.lines) {
            text += "| " + line.label + " |";
            for (const Spread& speed : line.speeds)
                text += " " + Number("%.2f", speed.median) + " |";
            text += "\n";
        }
    }
    return text;
}

void Report::Save(const std::string& folder) const
{
    WriteFile(folder + "/goals.md", Goals());
    WriteFile(folder + "/tables.md", Tables());
    for (const SpeedTable& table : tables_) {
        std::string text = "case";
        for (const std::string& subject : table.subjects)
            text += "\t" + subject;
        for (const SpeedTable::Line& line : table.lines) {
            text += "\n\"" + line.label + "\"";
            for (const Spread& speed : line.speeds)
                text += "\t" + Number("%.4f", speed.median);
        }
        WriteFile(folder + "/" + table.name + ".dat", text + "\n");
    }
}

} // namespace maravel::bench
