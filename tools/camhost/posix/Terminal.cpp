#include "../System.h"

#include <cstdlib>
#include <unistd.h>

namespace maravel::camhost {

bool ErrorsGoToTerminal()
{
    return isatty(STDERR_FILENO) == 1;
}

void SetVariable(const std::string& name, const std::string& value)
{
    setenv(name.c_str(), value.c_str(), 1);
}

} // namespace maravel::camhost
