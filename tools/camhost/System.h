// What camhost asks of the system beside the standard library. All texts are UTF-8.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace maravel::camhost {

// The arguments after the program's name, as the person typed them.
std::vector<std::string> Arguments(int argc, const char* const* argv);

// Whether standard error goes to a terminal.
bool ErrorsGoToTerminal();

// Has terminals show UTF-8.
void PrepareTerminal();

// Whether what reads standard output is likely to show UTF-8.
bool OutputShowsUtf8();

// A variable of this process; empty when it is not set.
std::string Variable(const std::string& name);

// Sets a variable for this process and the libraries that it loads.
void SetVariable(const std::string& name, const std::string& value);

// This program and its folder; empty when the system does not tell.
std::filesystem::path ProgramFile();
std::filesystem::path ProgramFolder();

// Seconds since this program began, rounded up.
std::int64_t SecondsSinceStart();

// From the first call on, requests to end the program (Ctrl-C, a service manager's or a terminal's end) only
// set what EndRequested tells.
void CatchEndRequests();
bool EndRequested();

} // namespace maravel::camhost
