#include "../System.h"

#include <cstdio>
#include <cstdlib>
#include <io.h>

namespace maravel::camhost {

bool ErrorsGoToTerminal()
{
    return _isatty(_fileno(stderr)) != 0;
}

// The runtime's copy of the environment and the system's: libraries may look at either.
void SetVariable(const std::string& name, const std::string& value)
{
    _putenv_s(name.c_str(), value.c_str());
}

} // namespace maravel::camhost
