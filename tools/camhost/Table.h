// Text in aligned columns on standard output.
#pragma once

#include <string>
#include <vector>

namespace maravel::camhost {

class Table
{
public:
    explicit Table(std::vector<std::string> titles);

    void Add(std::vector<std::string> cells);

    // A line below the last one, whose text begins in that column and may run on to the right.
    void Continue(std::size_t column, std::string text);

    void Print() const;

private:
    struct Line
    {
        std::vector<std::string> cells;
    };

    std::vector<Line> lines_;
    std::vector<std::size_t> widths_;
};

} // namespace maravel::camhost
