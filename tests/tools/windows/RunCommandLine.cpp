#include "tools/RunProgram.h"

#include <cstdlib>

namespace maravel::test {

// The interpreter strips the outermost quotes of a line that begins with one.
int RunCommandLine(const std::string& commandLine)
{
    return std::system(('"' + commandLine + '"').c_str());
}

} // namespace maravel::test
