#include "../Access.h"

#include <spawn.h>
#include <sys/random.h>

extern char** environ;

namespace maravel::view {

bool FillRandomly(unsigned char* bytes, std::size_t count)
{
    return getrandom(bytes, count, 0) == static_cast<ssize_t>(count);
}

bool MayReuseAddress()
{
    return true;
}

// What opens it may be missing, or be a program that stays: nobody waits for it.
void OpenBrowser(const std::string& address)
{
    std::string name = "setsid", fork = "-f", program = "xdg-open", copy = address;
    char* const arguments[] = {name.data(), fork.data(), program.data(), copy.data(), nullptr};
    posix_spawn_file_actions_t quiet;
    posix_spawn_file_actions_init(&quiet);
    posix_spawn_file_actions_addopen(&quiet, 1, "/dev/null", 1, 0);
    posix_spawn_file_actions_addopen(&quiet, 2, "/dev/null", 1, 0);
    pid_t process = 0;
    posix_spawnp(&process, "setsid", &quiet, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&quiet);
}

} // namespace maravel::view
