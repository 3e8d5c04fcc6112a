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

std::string SpreadText(const Spread& spread)
{
    return Number("%.2f", spread.median) + " (" + Number("%.2f", spread.lower) + " to " +
           Number("%.2f", spread.upper) + ")";
}

// How the row came out, for people.
const char* Verdict(const GoalRow& row, const char* pass, const char* fail)
{
    if (row.bound == Bound::None) {
        return "";
    }
    return row.met ? pass : fail;
}

bool Holds(double value, Bound bound, double limit)
{
    return bound == Bound::None || (bound == Bound::AtLeast ? value >= limit : value <= limit);
}

std::string LimitText(const GoalRow& row)
{
    if (row.bound == Bound::None) {
        return {};
    }
    return std::string(row.bound == Bound::AtLeast ? ">= " : "<= ") + Number("%.6g", row.limit);
}

void WriteFile(const std::string& path, const std::string& text)
{
    std::ofstream file(path, std::ios::binary);
    file << text;
    if (!file.flush()) {
        throw std::runtime_error("cannot write " + path);
    }
}

} // namespace

void Report::AddGoal(const std::string& goal, const Spread& measured, Bound bound, double limit)
{
    Add({goal, SpreadText(measured), bound, limit, Holds(measured.median, bound, limit)});
}

void Report::AddFigure(const std::string& name, const Spread& measured)
{
    Add({name, SpreadText(measured), Bound::None, 0, true});
}

void Report::AddGoal(const std::string& goal, double measured, Bound bound, double limit, const char* format)
{
    Add({goal, Number(format, measured), bound, limit, Holds(measured, bound, limit)});
}

void Report::Add(GoalRow row)
{
    std::printf("%-4s  %-78s %-22s %s\n", Verdict(row, "pass", "FAIL"), row.goal.c_str(),
                row.measured.c_str(), LimitText(row).c_str());
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
    for (const GoalRow& row : goals_) {
        text += "| " + row.goal + " | " + row.measured + " | " + LimitText(row) + " | " +
                Verdict(row, "pass", "**fail**") + " |\n";
    }
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
            for (const Spread& speed : line.speeds) {
                text += " " + (speed.median > 0 ? Number("%.2f", speed.median) : "–") + " |";
            }
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
        for (const std::string& subject : table.subjects) {
            text += "\t" + subject;
        }
        for (const SpeedTable::Line& line : table.lines) {
            text += "\n\"" + line.label + "\"";
            for (const Spread& speed : line.speeds) {
                text += "\t" + Number("%.4f", speed.median);
            }
        }
        WriteFile(folder + "/" + table.name + ".dat", text + "\n");
    }
}

} // namespace maravel::bench
