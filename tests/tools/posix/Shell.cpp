#include "../Shell.h"

#include <cstdlib>
#include <sys/wait.h>

namespace maravel::test {

int Shell(const std::string& line)
{
    const int status = std::system(line.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace maravel::test
