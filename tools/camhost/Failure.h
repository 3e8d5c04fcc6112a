// How a command of camhost ends when it cannot do what it was asked for.
#pragma once

#include <stdexcept>
#include <string>

namespace maravel::camhost {

// What camhost returns; --help explains them.
enum ExitCode : int
{
    ExitDone = 0,
    ExitRefused = 1,
    ExitWrongArguments = 2,
    ExitNotLoaded = 3,
    ExitNoLog = 4
};

// One line for the person at the terminal.
class Failure : public std::runtime_error
{
public:
    Failure(ExitCode code, const std::string& text) : std::runtime_error(text), code_(code) {}

    ExitCode Code() const { return code_; }

private:
    ExitCode code_;
};

} // namespace maravel::camhost
