// Who may ask for what.
#pragma once

#include "Http.h"

#include <mutex>
#include <string>

namespace maravel::view {

class Access
{
public:
    struct Settings
    {
        std::string address; // that is listened at
        unsigned short port = 0;
        bool readOnly = false;
    };
    explicit Access(Settings settings);

    const Settings& How() const { return settings_; }
    const std::string& Token() const { return token_; }

    // The token for links to pictures, which cannot carry a header. A new one revokes the old one.
    std::string PictureToken() const;
    std::string RenewPictureToken();

    // Why the request is refused; status 200: it is not.
    Reply Check(const Request& request, bool peerIsLoopback) const;

private:
    bool HostIsOurs(const std::string& host) const;
    bool MayWithoutToken(const Request& request, bool peerIsLoopback) const;
    bool HasToken(const Request& request) const;

    const Settings settings_;
    const std::string token_;
    mutable std::mutex mutex_;
    std::string pictureToken_;
};

// 128 random bits as 32 hexadecimal digits, of the system's generator. Throws std::runtime_error.
std::string MakeToken();

// Fills the bytes from the system's generator; false when there is none.
bool FillRandomly(unsigned char* bytes, std::size_t count);

// Whether a port may be bound that a former run just left. Not where that would let a second program take it.
bool MayReuseAddress();

// Whether the address is this machine's own.
bool IsLoopback(const std::string& address);

// Shows the address in the person's browser, if there is one.
void OpenBrowser(const std::string& address);

} // namespace maravel::view
