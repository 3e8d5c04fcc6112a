#include "tools/RunProgram.h"

#include "platform/Win32.h"

#include <algorithm>
#include <fstream>
#include <sstream>

namespace maravel::test {
namespace {

// Lines end in '\n' whatever the system.
std::string ReadText(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    std::string content = text.str();
    std::erase(content, '\r');
    return content;
}

} // namespace

ProgramResult RunProgram(const std::string& program, const std::string& arguments, const std::string& folder)
{
    const std::string output = folder + "/output.txt";
    const std::string errors = folder + "/errors.txt";
    ProgramResult result;
    result.exitCode =
        RunCommandLine('"' + program + "\" " + arguments + " >\"" + output + "\" 2>\"" + errors + '"');
    result.output = ReadText(output);
    result.errors = ReadText(errors);
    return result;
}

std::string ProgramFolder()
{
    char path[1024];
    DWORD size = sizeof(path);
    QueryFullProcessImageNameA(GetCurrentProcess(), 0, path, &size);
    const std::string program(path, size);
    return program.substr(0, program.find_last_of("/\\"));
}

} // namespace maravel::test
