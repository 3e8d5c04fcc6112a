#include "diag/Log.h"

#include "diag/RegistryKey.h"
#include "diag/TextFormat.h"
#include "platform/Win32.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>

namespace maravel {

namespace {

constexpr char kAdapterKey[] = "SOFTWARE\\maravel\\PLK\\AdapterZorvik";
constexpr char kFileName[] = "MaravelAdapterZorvik.log";

constexpr std::size_t kMaxMessage = 1024; // terminating null included
constexpr std::size_t kMaxPrefix = 32;

constexpr int kCloseAttempts = 100'000;

// The open log, and the number of threads that may be writing to it: a writer counts itself before it looks
// at the file, so that whoever closes it can wait for the last one.
std::atomic<std::FILE*> openLog{nullptr};
std::atomic<int> writers{0};

// That order holds for all threads only if both are sequentially consistent. It would also put everything
// else that the threads do into an order, and so hide races of theirs from the thread sanitizer. Builds for
// that one therefore only order a file's opening before its writing, and a writer's last step before the
// closing; x86-64 gives the full order in any case.
using enum std::memory_order;
#if defined(MARAVEL_LOG_ORDERS_NOTHING)
constexpr std::memory_order kOrder = relaxed, kOpened = acquire, kDone = release;
#else
constexpr std::memory_order kOrder = seq_cst, kOpened = seq_cst, kDone = seq_cst;
#endif

// Whether the last line that is under way was written; not `forEver`, it is given a bounded number of turns.
bool AwaitWriters(bool forEver) noexcept
{
    for (int attempt = 0; writers.load() != 0; ++attempt) {
        if (!forEver && attempt >= kCloseAttempts) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

// Whether the registry leaves logging on. A key that is not there leaves it on.
bool IsLogEnabled()
{
    RegistryKey key;
    const LSTATUS opened = OpenKey(HKEY_LOCAL_MACHINE, kAdapterKey, key);
    if (opened != static_cast<LSTATUS>(ERROR_SUCCESS)) {
        WriteLog(__LINE__, "%s: Error while accessing registry. %d\n", "InitLog", static_cast<int>(opened));
        return true;
    }
    DWORD enabled = 0;
    DWORD size = sizeof enabled;
    const LSTATUS read =
        RegQueryValueExA(key.get(), "EnableLog", nullptr, nullptr, reinterpret_cast<BYTE*>(&enabled), &size);
    if (read != static_cast<LSTATUS>(ERROR_SUCCESS) || enabled == 0) {
        WriteLog(__LINE__, "%s: Error while accessing registry. %d %d\n", "InitLog", static_cast<int>(read),
                 static_cast<int>(enabled));
        return false;
    }
    return true;
}

bool IsFolder(const std::string& path)
{
    const DWORD attributes = GetFileAttributesA(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// Makes the folder with any missing parents.
bool MakeFolder(const std::string& path)
{
    if (path.empty() || IsFolder(path)) {
        return !path.empty();
    }
    const std::size_t separator = path.find_last_of(PathSeparator);
    if (separator != std::string::npos && separator > 0) {
        MakeFolder(path.substr(0, separator));
    }
    return CreateDirectoryA(path.c_str(), nullptr) != FALSE || IsFolder(path);
}

std::FILE* OpenLogFile()
{
    char documents[MAX_PATH] = "";
    if (SHGetFolderPathA(nullptr, CSIDL_COMMON_DOCUMENTS, nullptr, 0, documents) != 0) {
        return nullptr;
    }
    const std::string folder =
        std::string(documents) + PathSeparator + "Halvane" + PathSeparator + "AdapterZorvik";
    if (!MakeFolder(folder)) {
        return nullptr;
    }
    return _fsopen((folder + PathSeparator + kFileName).c_str(), "w+", _SH_DENYNO);
}

// `before`, then the last `count` digits of `value`.
char* PutNumber(char* next, char before, unsigned value, int count) noexcept
{
    *next = before;
    for (int i = count; i > 0; value /= 10) {
        next[i--] = static_cast<char>('0' + value % 10);
    }
    return next + count + 1;
}

// "[%02d:%02d:%02d:%03d L%05u] " by hand: every line has it, and as a format it costs as much as a message.
// Returns its end.
char* PutPrefix(char* next, unsigned line) noexcept
{
    SYSTEMTIME now = {};
    GetLocalTime(&now);
    next = PutNumber(next, '[', now.wHour, 2);
    next = PutNumber(next, ':', now.wMinute, 2);
    next = PutNumber(next, ':', now.wSecond, 2);
    next = PutNumber(next, ':', now.wMilliseconds, 3);
    *next++ = ' ';
    int digits = 5;
    for (unsigned more = line / 100'000; more != 0; more /= 10) {
        ++digits;
    }
    next = PutNumber(next, 'L', line, digits);
    std::memcpy(next, "] ", 2);
    return next + 2;
}

} // namespace

void InitLog()
{
    const bool enabled = IsLogEnabled();
    CloseLog();
    if (enabled) {
        openLog.store(OpenLogFile(), kDone);
    }
}

void WriteLog(unsigned line, const char* format, ...) noexcept
{
    writers.fetch_add(1, kOrder);
    if (std::FILE* file = openLog.load(kOpened); file != nullptr) {
        char text[kMaxPrefix + kMaxMessage];
        char* const start = PutPrefix(text, line);
        std::va_list arguments;
        va_start(arguments, format);
        const char* const end = start + FormatText(start, kMaxMessage, format, arguments);
        va_end(arguments);
        // Past the stream's own buffer: one call to the system, and nothing is left to flush. A full disk or
        // a lost folder costs lines, never more.
        static_cast<void>(_write(_fileno(file), text, static_cast<unsigned>(end - text)));
    }
    writers.fetch_sub(1, kDone);
}

void CloseLog(bool atModuleEnd) noexcept
{
    std::FILE* file = openLog.exchange(nullptr, kOrder);
    if (file != nullptr && AwaitWriters(!atModuleEnd)) {
        std::fclose(file);
    }
}

void LeaveLogToEndedThreads() noexcept
{
    if (!AwaitWriters(false)) {
        openLog.store(nullptr, kDone);
    }
}

} // namespace maravel
