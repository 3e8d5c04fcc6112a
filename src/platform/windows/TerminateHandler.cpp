// What the C++ runtime does when an exception leaves a function that must not throw. The runtime's own
// handler prints the exception's name first; a library in somebody else's process has nowhere to print, and
// the handler's name decoder and printf would be a fifth of the whole library.
#include <cstdlib>

namespace __gnu_cxx {

[[noreturn]] void __verbose_terminate_handler();

void __verbose_terminate_handler()
{
    std::abort();
}

} // namespace __gnu_cxx
