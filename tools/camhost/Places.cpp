#include "Places.h"

#include "System.h"

#include <system_error>

namespace maravel::camhost {
namespace {

namespace fs = std::filesystem;

fs::path FirstThatExists(const fs::path& beside, const fs::path& installed)
{
    std::error_code error;
    return !fs::exists(beside, error) && fs::exists(installed, error) ? installed : beside;
}

// Relative to this program, so that the whole tree may be moved.
fs::path Installed(const fs::path& name)
{
    return (ProgramFolder() / MARAVEL_MODULE_FOLDER / name).lexically_normal();
}

} // namespace

fs::path OwnAdapter()
{
    return FirstThatExists(ProgramFolder() / MARAVEL_ADAPTER_FILE, Installed(MARAVEL_ADAPTER_FILE));
}

fs::path OwnSdk()
{
    return FirstThatExists(ProgramFolder().parent_path() / "sdk", Installed("sdk-simulated"));
}

} // namespace maravel::camhost
