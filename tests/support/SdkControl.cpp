#include "support/SdkControl.h"

#include <cstring>
#include <gtest/gtest.h>
#include <sstream>

namespace maravel::test {

namespace {

template <class Function>
void Resolve(HMODULE library, const char* name, Function& function)
{
    const FARPROC address = GetProcAddress(library, name);
    ASSERT_NE(address, nullptr) << name;
    std::memcpy(&function, &address, sizeof function);
}

HMODULE Load(const std::string& path)
{
    const HMODULE library = LoadLibraryA(path.c_str());
    EXPECT_NE(library, nullptr) << path << " does not load";
    return library;
}

} // namespace

SdkControl::SdkControl(const std::string& sdkFolder)
    : runtime_(Load(sdkFolder + PathSeparator + "bin" + PathSeparator + "ZvkC.dll")),
      transform_(Load(sdkFolder + PathSeparator + "bin" + PathSeparator + "ZvkImageTransform.dll"))
{
#define RESOLVE(result, name, parameters) Resolve(runtime_, #name, name);
    SIM_CONTROL_FUNCTIONS(RESOLVE)
#undef RESOLVE
#define RESOLVE(result, name, parameters) Resolve(transform_, #name, name);
    SIM_TRANSFORM_FUNCTIONS(RESOLVE)
#undef RESOLVE
}

SdkControl::~SdkControl()
{
    FreeLibrary(transform_);
    FreeLibrary(runtime_);
}

std::vector<std::string> SdkControl::Calls() const
{
    std::string text(4 << 20, '\0');
    SimCalls(text.data(), static_cast<std::uint32_t>(text.size()));
    std::vector<std::string> calls;
    std::istringstream lines(text.c_str());
    for (std::string line; std::getline(lines, line);) {
        calls.push_back(line);
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
