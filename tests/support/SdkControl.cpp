#include "support/SdkControl.h"

#include <sstream>

namespace maravel::test {

std::vector<std::string> SdkControl::Calls(const std::string& upTo) const
{
    std::string text(4 << 20, '\0');
    SimCalls(text.data(), static_cast<std::uint32_t>(text.size()));
    std::vector<std::string> calls;
    std::istringstream lines(text.c_str());
    for (std::string line; std::getline(lines, line);) {
        calls.push_back(line.substr(0, line.find(upTo)));
    }
    return calls;
}

std::string SdkControl::Violations() const
{
    std::string text(64 << 10, '\0');
    SimViolations(text.data(), static_cast<std::uint32_t>(text.size()));
    return text.c_str();
}

SimStateInfo SdkControl::State() const
{
    SimStateInfo state = {};
    SimState(&state);
    return state;
}

SimStatistics SdkControl::Statistics(std::uint32_t camera) const
{
    SimStatistics statistics = {};
    SimCameraStatistics(camera, &statistics);
    return statistics;
}

} // namespace maravel::test
