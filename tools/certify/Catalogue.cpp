#include "Catalogue.h"

#include "diagnosis/EmbeddedTexts.h"

#include <sstream>

namespace maravel::certify {

namespace {

std::string Trimmed(const std::string& text)
{
    const auto begin = text.find_first_not_of(' ');
    return begin == std::string::npos ? "" : text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

std::vector<std::string> CellsOf(const std::string& line)
{
    std::vector<std::string> cells;
    std::istringstream rest(line.substr(1));
    for (std::string cell; std::getline(rest, cell, '|');) {
        cells.push_back(Trimmed(cell));
    }
    return cells;
}

// "## C. Enumeration (sdk)"
GroupText GroupOf(const std::string& line)
{
    const auto open = line.rfind('(');
    return {.letter = line[3],
            .title = Trimmed(line.substr(6, open - 6)),
            .level = line.substr(open + 1, line.rfind(')') - open - 1),
            .checks = {}};
}

bool IsGroup(const std::string& line)
{
    return line.size() > 6 && line.starts_with("## ") && line.compare(4, 2, ". ") == 0;
}

std::vector<GroupText> ReadDocument()
{
    std::vector<GroupText> groups;
    std::istringstream document(diagnosis::kCertifyDocument);
    for (std::string line; std::getline(document, line);) {
        if (IsGroup(line)) {
            groups.push_back(GroupOf(line));
        }
        if (groups.empty() || !line.starts_with(std::string("| ") + groups.back().letter)) {
            continue;
        }
        const auto cells = CellsOf(line);
        if (cells.size() >= 4) {
            groups.back().checks.push_back({cells[0], cells[1], cells[2], cells[3]});
        }
    }
    return groups;
}

} // namespace

const std::vector<GroupText>& Catalogue()
{
    static const std::vector<GroupText> groups = ReadDocument();
    return groups;
}

const CheckText* FindText(const std::string& id)
{
    for (const GroupText& group : Catalogue()) {
        for (const CheckText& check : group.checks) {
            if (check.id == id) {
                return &check;
            }
        }
    }
    return nullptr;
}

} // namespace maravel::certify
