#include "bench/posix/Counters.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
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
    if (ptrace(PTRACE_SYSCALL, child, nullptr, nullptr) != 0 || waitpid(child, status, 0) != child) {
        throw std::runtime_error("cannot follow the child process");
    }
    return !WIFEXITED(*status) && !WIFSIGNALED(*status);
}

// What the child reports of itself, over a pipe.
struct OwnCounts
{
    std::uint64_t allocations = 0;
    std::uint64_t pageFaults = 0;
};

thread_local std::uint64_t allocations = 0;

OwnCounts CountsSoFar()
{
    rusage usage = {};
    getrusage(RUSAGE_THREAD, &usage);
    return {allocations, static_cast<std::uint64_t>(usage.ru_minflt + usage.ru_majflt)};
}

void Follow(pid_t child, Counts& counts)
{
    int status = 0;
    waitpid(child, &status, 0);
    if (!WIFSTOPPED(status) || ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD) != 0) {
        throw std::runtime_error("cannot trace a child process");
    }
    int markers = 0;
    while (Proceed(child, &status)) {
        __ptrace_syscall_info info = {};
        const bool atSystemCall = WIFSTOPPED(status) && WSTOPSIG(status) == (SIGTRAP | 0x80);
        if (!atSystemCall || ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof info, &info) <= 0 ||
            info.op != PTRACE_SYSCALL_INFO_ENTRY) {
            continue;
        }
        const auto number = static_cast<long>(info.entry.nr);
        if (number == kMarker) {
            ++markers;
        }
        else if (markers == 1) {
            ++(number == SYS_write ? counts.writes : counts.otherSystemCalls);
        }
    }
    if (markers != 2 || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        throw std::runtime_error("the traced process failed");
    }
}

// The child's part.
int Run(int resultPipe, const std::function<void()>& prepare, const std::function<void()>& counted)
{
    ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    raise(SIGSTOP);
    prepare();
    OwnCounts before = CountsSoFar();
    before = CountsSoFar(); // the first call itself may fault
    syscall(kMarker);
    counted();
    syscall(kMarker);
    const OwnCounts after = CountsSoFar();
    const OwnCounts difference = {after.allocations - before.allocations,
                                  after.pageFaults - before.pageFaults};
    return write(resultPipe, &difference, sizeof difference) == sizeof difference ? 0 : 1;
}

} // namespace

std::uint64_t WriteCalls()
{
    std::ifstream counters("/proc/self/io");
    for (std::string line; std::getline(counters, line);) {
        if (line.rfind("syscw: ", 0) == 0) {
            return std::stoull(line.substr(7));
        }
    }
    throw std::runtime_error("/proc/self/io does not tell the write calls");
}

Counts CountInChild(const std::function<void()>& prepare, const std::function<void()>& counted)
{
    int pipeEnds[2];
    if (pipe(pipeEnds) != 0) {
        throw std::runtime_error("cannot make a pipe");
    }
    const pid_t child = fork();
    if (child < 0) {
        throw std::runtime_error("cannot start a child process");
    }
    if (child == 0) {
        int result = 1;
        try {
            result = Run(pipeEnds[1], prepare, counted);
        }
        catch (const std::exception& error) {
            std::fprintf(stderr, "%s\n", error.what());
        }
        _exit(result);
    }

    Counts counts;
    Follow(child, counts);
    OwnCounts own;
    const bool complete = read(pipeEnds[0], &own, sizeof own) == sizeof own;
    close(pipeEnds[0]);
    close(pipeEnds[1]);
    if (!complete) {
        throw std::runtime_error("the traced process told nothing");
    }
    counts.allocations = own.allocations;
    counts.pageFaults = own.pageFaults;
    return counts;
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
