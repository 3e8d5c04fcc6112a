#include "Version.h"

#include "Places.h"
#include "Revision.h"
#include "host/Utf8Path.h"
#include "maravel/VideoChannel.h"

#include <chrono>
#include <cstdio>
#include <system_error>

namespace maravel::camhost {
namespace {

std::string CommitText()
{
    using namespace std::chrono;
    const year_month_day day(floor<days>(sys_seconds(seconds(MARAVEL_BUILD_DATE))));
    char text[96];
    std::snprintf(text, sizeof(text), "%s of %04d-%02u-%02u", MARAVEL_BUILD_COMMIT,
                  static_cast<int>(day.year()), static_cast<unsigned>(day.month()),
                  static_cast<unsigned>(day.day()));
    return MARAVEL_BUILD_DATE == 0 ? MARAVEL_BUILD_COMMIT : text;
}

} // namespace

std::string VersionText()
{
    const auto adapter = OwnAdapter();
    std::error_code error;
    const char* const missing = std::filesystem::exists(adapter, error) ? "" : " (is not there)";
    return std::string("camhost " MARAVEL_PROJECT_VERSION "." MARAVEL_BUILD_REVISION "\n") +
           "revision:  " MARAVEL_BUILD_REVISION + (MARAVEL_BUILD_REVISION_NUMBER == 0 ? " (unknown)" : "") +
           "\ncommit:    " + CommitText() + "\nbuilt for: " MARAVEL_BUILD_TARGET +
           "\ninterface: " + std::to_string(MARAVEL_INTERFACE_VERSION) +
           "\nadapter:   " + host::TextOf(adapter) + missing +
           "\nlicence:   none is stated yet; THIRD-PARTY.md has the notices of what is inside";
}

} // namespace maravel::camhost
