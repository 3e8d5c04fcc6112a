#include "tools/RunProgram.h"

#include <cstdlib>
#include <filesystem>
#include <sys/wait.h>

namespace maravel::test {

void SetSdkVariable(const std::string& folder)
{
    if (folder.empty())
        unsetenv("ZORVIK_HOME");
    else
        setenv("ZORVIK_HOME", folder.c_str(), 1);
    const auto root = std::filesystem::temp_directory_path() / "camhost tests root";
    setenv("MARAVEL_PLATFORM_ROOT", root.c_str(), 1);
}

int RunCommandLine(const std::string& commandLine)
{
    const int status = std::system(commandLine.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace maravel::test
