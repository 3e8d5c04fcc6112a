// The C++ runtime sets some 70 KiB aside for exceptions under memory shortage and, linked into a library,
// would leave them behind at every unloading. Hosts load and unload for years, so the block is given back
// with the library's other objects.
namespace __gnu_cxx {
void __freeres();
}

namespace {

struct EmergencyPool
{
    EmergencyPool() = default;
    EmergencyPool(const EmergencyPool&) = delete;
    EmergencyPool& operator=(const EmergencyPool&) = delete;
    ~EmergencyPool() { __gnu_cxx::__freeres(); }
};

const EmergencyPool emergencyPool;

} // namespace
