#include "../Shell.h"

#include <cstdlib>
#include <filesystem>

namespace maravel::test {

// The interpreter would strip the quotes of a line that begins with one.
int Shell(const std::string& line)
{
    const std::string whole = "cd . && " + line;
    return _wsystem(std::filesystem::path(std::u8string(whole.begin(), whole.end())).wstring().c_str());
}

} // namespace maravel::test
