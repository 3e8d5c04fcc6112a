#include "../Access.h"

#include <windows.h>

#include <bcrypt.h>
#include <shellapi.h>

namespace maravel::view {

bool FillRandomly(unsigned char* bytes, std::size_t count)
{
    return BCryptGenRandom(nullptr, bytes, static_cast<ULONG>(count), BCRYPT_USE_SYSTEM_PREFERRED_RNG) == 0;
}

bool MayReuseAddress()
{
    return false;
}

void OpenBrowser(const std::string& address)
{
    const std::wstring wide(address.begin(), address.end()); // an address is ASCII
    ShellExecuteW(nullptr, L"open", wide.c_str(), nullptr, nullptr, SW_SHOWNORMAL);
}

} // namespace maravel::view
