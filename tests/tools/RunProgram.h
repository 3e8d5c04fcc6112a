// Runs a program as a person would, and keeps what it said.
#pragma once

#include <string>

namespace maravel::test {

struct ProgramResult
{
    int exitCode;
    std::string output;
    std::string errors;
};

// Through the system's command interpreter; arguments that hold blanks are quoted by the caller. `folder`
// receives the two files that standard output and standard error go to.
ProgramResult RunProgram(const std::string& program, const std::string& arguments, const std::string& folder);

// The folder of this program.
std::string ProgramFolder();

// Sets ZORVIK_HOME for the programs that are run, or removes it for an empty text, and keeps their logs out
// of the caller's home.
void SetSdkVariable(const std::string& folder);

// One command line for the interpreter, and its exit code .
int RunCommandLine(const std::string& commandLine);

} // namespace maravel::test
