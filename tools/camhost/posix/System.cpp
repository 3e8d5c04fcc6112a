#include "../System.h"

#include <csignal>
#include <cstdlib>
#include <system_error>
#include <unistd.h>

namespace maravel::camhost {
namespace {

volatile std::sig_atomic_t g_endRequested = 0;

} // namespace

std::vector<std::string> Arguments(int argc, const char* const* argv)
{
    return {argv + (argc > 0 ? 1 : 0), argv + argc};
}

bool ErrorsGoToTerminal()
{
    return isatty(STDERR_FILENO) == 1;
}

void PrepareTerminal() {}

bool OutputShowsUtf8()
{
    for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        if (const std::string value = Variable(name); !value.empty()) {
            return value.find("UTF-8") != std::string::npos || value.find("utf8") != std::string::npos;
        }
    }
    return false;
}

std::string Variable(const std::string& name)
{
    const char* value = std::getenv(name.c_str());
    return value == nullptr ? "" : value;
}

void SetVariable(const std::string& name, const std::string& value)
{
    setenv(name.c_str(), value.c_str(), 1);
}

std::filesystem::path ProgramFile()
{
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error);
}

void CatchEndRequests()
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        std::signal(signal, [](int) { g_endRequested = 1; });
    }
}

bool EndRequested()
{
    return g_endRequested != 0;
}

} // namespace maravel::camhost
