#include "tools/RunProgram.h"

#include <cstdlib>
#include <sys/wait.h>

namespace maravel::test {

int RunCommandLine(const std::string& commandLine)
{
    const int status = std::system(commandLine.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace maravel::test
