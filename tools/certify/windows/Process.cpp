#include "../Process.h"

#include "host/Utf8Path.h"

#include <cstdio>
#include <stdexcept>
#include <utility>
#include <windows.h>

#include <psapi.h>
#include <tlhelp32.h>

namespace maravel::certify {
namespace {

std::runtime_error SystemError(const std::string& text)
{
    return std::runtime_error(text + ": system error " + std::to_string(GetLastError()));
}

// A word of a command line as CommandLineToArgvW takes it apart.
std::wstring Quoted(const std::wstring& word)
{
    std::wstring quoted = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t c : word) {
        if (c == L'"') {
            quoted.append(backslashes + 1, L'\\');
        }
        backslashes = c == L'\\' ? backslashes + 1 : 0;
        quoted += c;
    }
    quoted.append(backslashes, L'\\');
    return quoted + L'"';
}

LONG WINAPI EndAtOnce(EXCEPTION_POINTERS* fault)
{
    TerminateProcess(GetCurrentProcess(), fault->ExceptionRecord->ExceptionCode);
    return EXCEPTION_EXECUTE_HANDLER;
}

} // namespace

struct ChildProcess::Parts
{
    HANDLE process = nullptr;
    HANDLE output = nullptr;
};

ChildProcess::ChildProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments)
    : parts_(std::make_unique<Parts>())
{
    std::wstring line = Quoted(program.wstring());
    for (const std::string& word : arguments) {
        line += L' ' + Quoted(host::PathOf(word).wstring());
    }
    SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
    HANDLE write = nullptr;
    if (!CreatePipe(&parts_->output, &write, &inherited, 0)) {
        throw SystemError("cannot make a pipe");
    }
    SetHandleInformation(parts_->output, HANDLE_FLAG_INHERIT, 0);
    STARTUPINFOW start{};
    start.cb = sizeof(start);
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    start.hStdOutput = write;
    start.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION process{};
    const BOOL started = CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                        nullptr, &start, &process);
    CloseHandle(write);
    if (!started) {
        const auto error = SystemError("cannot start " + host::TextOf(program));
        CloseHandle(parts_->output);
        throw error;
    }
    CloseHandle(process.hThread);
    parts_->process = process.hProcess;
}

ChildProcess::~ChildProcess()
{
    if (parts_->process != nullptr) {
        TerminateProcess(parts_->process, 1);
        CloseHandle(parts_->process);
    }
    CloseHandle(parts_->output);
}

bool ChildProcess::ReadLine(std::string* line)
{
    for (;;) {
        if (const auto end = rest_.find('\n'); end != std::string::npos) {
            *line = rest_.substr(0, end);
            if (line->ends_with('\r')) {
                line->pop_back();
            }
            rest_.erase(0, end + 1);
            return true;
        }
        char buffer[4096];
        DWORD read = 0;
        if (!ReadFile(parts_->output, buffer, sizeof(buffer), &read, nullptr) || read == 0) {
            *line = std::exchange(rest_, {});
            return !line->empty();
        }
        rest_.append(buffer, read);
    }
}

std::string ChildProcess::Wait()
{
    DWORD code = 0;
    WaitForSingleObject(parts_->process, INFINITE);
    GetExitCodeProcess(parts_->process, &code);
    CloseHandle(std::exchange(parts_->process, nullptr));
    if (code == 0) {
        return {};
    }
    char text[32];
    std::snprintf(text, sizeof(text), code > 0xFFFF ? "exception 0x%08lX" : "exit code %lu", code);
    return text;
}

std::uint64_t MemoryInUse()
{
    PROCESS_MEMORY_COUNTERS counters{};
    return GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters)) ? counters.PagefileUsage
                                                                                  : 0;
}

std::uint64_t ThreadsInUse()
{
    HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry{};
    entry.dwSize = sizeof(entry);
    std::uint64_t count = 0;
    for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry)) {
        count += entry.th32OwnerProcessID == GetCurrentProcessId() ? 1 : 0;
    }
    CloseHandle(snapshot);
    return count;
}

std::uint64_t HandlesInUse()
{
    DWORD count = 0;
    return GetProcessHandleCount(GetCurrentProcess(), &count) ? count : 0;
}

std::string SystemName()
{
    // GetVersionEx tells what the program was made for, the library itself which system it is of.
    using Query = LONG(WINAPI*)(OSVERSIONINFOW*);
    OSVERSIONINFOW version{};
    version.dwOSVersionInfoSize = sizeof(version);
    const auto query = reinterpret_cast<Query>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlGetVersion")));
    if (query != nullptr) {
        query(&version);
    }
    return "Windows " + std::to_string(version.dwMajorVersion) + "." +
           std::to_string(version.dwMinorVersion) + "." + std::to_string(version.dwBuildNumber) + " x86_64";
}

void EndOnCrash()
{
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    SetUnhandledExceptionFilter(EndAtOnce);
}

} // namespace maravel::certify
