#include "Table.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace maravel::camhost {

Table::Table(std::vector<std::string> titles) : widths_(titles.size())
{
    Add(std::move(titles));
}

void Table::Add(std::vector<std::string> cells)
{
    for (std::size_t i = 0; i < cells.size(); ++i) {
        widths_[i] = std::max(widths_[i], cells[i].size());
    }
    lines_.push_back({.cells = std::move(cells)});
}

void Table::Continue(std::size_t column, std::string text)
{
    std::vector<std::string> cells(column);
    cells.push_back(std::move(text));
    lines_.push_back({.cells = std::move(cells)});
}

void Table::Print() const
{
    for (const Line& line : lines_) {
        std::string text;
        for (std::size_t i = 0; i < line.cells.size(); ++i) {
            text += line.cells[i];
            if (i + 1 < line.cells.size()) {
                text.append(widths_[i] + 2 - line.cells[i].size(), ' ');
            }
        }
        text.erase(text.find_last_not_of(' ') + 1);
        std::printf("%s\n", text.c_str());
    }
}

} // namespace maravel::camhost
