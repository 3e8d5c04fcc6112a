// What the C++ runtime, linked into a library, would otherwise leave to a program.
#include <cstdlib>

namespace __gnu_cxx {

void __freeres();

// What the C++ runtime does when an exception leaves a function that must not throw. The runtime's own
// handler prints the exception's name first; a library in somebody else's process has nowhere to print, and
// the handler's name decoder and printf would be a fifth of the whole library.
[[noreturn]] void __verbose_terminate_handler();

void __verbose_terminate_handler()
{
    std::abort();
}

} // namespace __gnu_cxx

namespace {

// The C++ runtime sets some 70 KiB aside for exceptions under memory shortage and, linked into a library,
// would leave them behind at every unloading. Hosts load and unload for years, so the block is given back
// with the library's other objects.
struct EmergencyPool
{
    EmergencyPool() = default;
    EmergencyPool(const EmergencyPool&) = delete;
    EmergencyPool& operator=(const EmergencyPool&) = delete;
    ~EmergencyPool() { __gnu_cxx::__freeres(); }
};

const EmergencyPool emergencyPool;

} // namespace
