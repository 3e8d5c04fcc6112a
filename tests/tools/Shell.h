// The system's command interpreter.
#pragma once

#include <string>

namespace maravel::test {

// Runs a line (UTF-8) and returns its exit code.
int Shell(const std::string& line);

} // namespace maravel::test
