// What camhost asks of the system beside the standard library.
#pragma once

#include <string>

namespace maravel::camhost {

// Whether standard error goes to a terminal.
bool ErrorsGoToTerminal();

// Sets a variable for this process and the libraries that it loads.
void SetVariable(const std::string& name, const std::string& value);

// The folder of this program; empty when the system does not tell.
std::string ProgramFolder();

} // namespace maravel::camhost
