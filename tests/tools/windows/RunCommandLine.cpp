#include "tools/RunProgram.h"

#include <cstdlib>

namespace maravel::test {

// An empty text removes the variable.
void SetSdkVariable(const std::string& folder)
{
    _putenv_s("ZORVIK_HOME", folder.c_str());
}

// The interpreter strips the outermost quotes of a line that begins with one.
int RunCommandLine(const std::string& commandLine)
{
    return std::system(('"' + commandLine + '"').c_str());
}

} // namespace maravel::test
