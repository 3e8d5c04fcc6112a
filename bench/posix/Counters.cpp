#include "bench/posix/Counters.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace maravel::bench {
namespace {

// A system call that nothing else makes marks the beginning and the end of what is counted.
constexpr long kMarker = SYS_getppid;

// Runs the child to its next entry into or return from the system; false when it has ended.
bool Proceed(pid_t child, int* status)
{
    if (ptrace(PTRACE_SYSCALL, child, nullptr, nullptr) != 0 || waitpid(child, status, 0) != child)
        throw std::runtime_error("cannot follow the child process");
    return !WIFEXITED(*status) && !WIFSIGNALED(*status);
}

SystemCalls Follow(pid_t child)
{
    int status = 0;
    waitpid(child, &status, 0);
    if (!WIFSTOPPED(status) || ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD) != 0)
        throw std::runtime_error("cannot trace a child process");
    SystemCalls calls;
    int markers = 0;
    while (Proceed(child, &status)) {
        __ptrace_syscall_info info = {};
        const bool atSystemCall = WIFSTOPPED(status) && WSTOPSIG(status) == (SIGTRAP | 0x80);
        if (!atSystemCall || ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof info, &info) <= 0 ||
            info.op != PTRACE_SYSCALL_INFO_ENTRY)
            continue;
        const auto number = static_cast<long>(info.entry.nr);
        if (number == kMarker)
            ++markers;
        else if (markers == 1)
            ++(number == SYS_write ? calls.writes : calls.others);
    }
    if (markers != 2 || !WIFEXITED(status) || WEXITSTATUS(status) != 0)
        throw std::runtime_error("the traced process failed");
    return calls;
}

thread_local std::uint64_t allocations = 0;

} // namespace

std::uint64_t WriteCalls()
{
    std::ifstream counters("/proc/self/io");
    for (std::string line; std::getline(counters, line);) {
        if (line.rfind("syscw: ", 0) == 0)
            return std::stoull(line.substr(7));
    }
    throw std::runtime_error("/proc/self/io does not tell the write calls");
}

std::uint64_t PageFaults()
{
    rusage usage = {};
    getrusage(RUSAGE_THREAD, &usage);
    return static_cast<std::uint64_t>(usage.ru_minflt + usage.ru_majflt);
}

std::uint64_t Allocations()
{
    return allocations;
}

SystemCalls CountSystemCalls(const std::function<void()>& prepare, const std::function<void()>& counted)
{
    const pid_t child = fork();
    if (child < 0)
        throw std::runtime_error("cannot start a child process");
    if (child != 0)
        return Follow(child);

    int result = 1;
    try {
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        raise(SIGSTOP);
        prepare();
        syscall(kMarker);
        counted();
        syscall(kMarker);
        result = 0;
    }
    catch (...) {
    }
    _exit(result);
}

} // namespace maravel::bench

// The C heap's functions, counting. The C library's own do the work; shared libraries use these too.
extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);

void* __libc_memalign(std::size_t alignment, std::size_t size);

void* aligned_alloc(std::size_t alignment, std::size_t size)
{
    ++maravel::bench::allocations;
    return __libc_memalign(alignment, size);
}

void* malloc(std::size_t size)
{
    ++maravel::bench::allocations;
    return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size)
{
    ++maravel::bench::allocations;
    return __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size)
{
    ++maravel::bench::allocations;
    return __libc_realloc(block, size);
}
}
