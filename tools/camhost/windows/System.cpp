#include "../System.h"

#include "host/Utf8Path.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <io.h>
#include <windows.h>

#include <shellapi.h>

namespace maravel::camhost {
namespace {

std::atomic<bool> g_endRequested{false};

// The system ends the program when this returns after a closed window or a logoff, so it waits for the
// cameras to be stopped; the time that the system allows for that is shorter.
BOOL WINAPI OnEndRequest(DWORD kind)
{
    g_endRequested = true;
    if (kind != CTRL_C_EVENT && kind != CTRL_BREAK_EVENT) {
        Sleep(10000);
    }
    return TRUE;
}

std::wstring Wide(const std::string& text)
{
    return host::PathOf(text).wstring();
}

std::string Narrow(const std::wstring& text)
{
    const std::u8string narrow = std::filesystem::path(text).u8string();
    return {narrow.begin(), narrow.end()};
}

} // namespace

// What main receives has lost every character that the narrow code page lacks.
std::vector<std::string> Arguments(int, const char* const*)
{
    int count = 0;
    wchar_t** words = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i) {
        arguments.push_back(Narrow(words[i]));
    }
    LocalFree(words);
    return arguments;
}

bool ErrorsGoToTerminal()
{
    return _isatty(_fileno(stderr)) != 0;
}

// The code page is the console's: what runs there next finds it as it was.
void PrepareTerminal()
{
    static UINT before;
    before = GetConsoleOutputCP();
    if (before != 0 && SetConsoleOutputCP(CP_UTF8) != FALSE) {
        std::atexit([] { SetConsoleOutputCP(before); });
    }
}

bool OutputShowsUtf8()
{
    return _isatty(_fileno(stdout)) != 0; // a terminal, which was told to
}

std::string Variable(const std::string& name)
{
    const wchar_t* value = _wgetenv(Wide(name).c_str());
    return value == nullptr ? "" : Narrow(value);
}

// The runtime's copy of the environment and the system's: libraries may look at either.
void SetVariable(const std::string& name, const std::string& value)
{
    _wputenv_s(Wide(name).c_str(), Wide(value).c_str());
}

std::filesystem::path ProgramFile()
{
    wchar_t path[4096];
    const DWORD length = GetModuleFileNameW(nullptr, path, 4096);
    return std::wstring(path, length);
}

void CatchEndRequests()
{
    SetConsoleCtrlHandler(OnEndRequest, TRUE);
}

bool EndRequested()
{
    return g_endRequested;
}

} // namespace maravel::camhost
