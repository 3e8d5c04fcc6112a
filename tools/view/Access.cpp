#include "Access.h"

#include <array>
#include <stdexcept>

namespace maravel::view {
namespace {

// Takes the same time wherever the texts differ.
bool Same(const std::string& a, const std::string& b)
{
    unsigned char differences = a.size() == b.size() ? 0 : 1;
    for (std::size_t i = 0; i < a.size(); ++i) {
        differences =
            static_cast<unsigned char>(differences | (a[i] ^ (b.empty() ? '\x7f' : b[i % b.size()])));
    }
    return differences == 0;
}

bool IsPicture(const Request& request)
{
    const auto endsWith = [&](const char* end) { return request.path.ends_with(end); };
    return request.method == "GET" && request.path.starts_with("/api/v1/channels/") &&
           (endsWith("/mjpeg") || endsWith("/image.png") || endsWith("/image.jpg") ||
            endsWith("/image.pgm") || endsWith("/image.raw"));
}

// A number as address cannot be given a new meaning by a name server.
bool IsNumeric(const std::string& host)
{
    return !host.empty() &&
           (host.front() == '[' ? host.find_first_not_of("[]0123456789abcdefABCDEF:.")
                                : host.find_first_not_of("0123456789.")) == std::string::npos;
}

} // namespace

Access::Access(Settings settings)
    : settings_(std::move(settings)), token_(MakeToken()), pictureToken_(MakeToken())
{
}

std::string Access::PictureToken() const
{
    const std::lock_guard lock(mutex_);
    return pictureToken_;
}

std::string Access::RenewPictureToken()
{
    const std::lock_guard lock(mutex_);
    return pictureToken_ = MakeToken();
}

bool Access::HostIsOurs(const std::string& host) const
{
    // A browser leaves the usual port out.
    const std::string port =
        settings_.port == 80 && !host.ends_with(":80") ? "" : ":" + std::to_string(settings_.port);
    for (const char* name : {"127.0.0.1", "localhost", "[::1]"}) {
        if (host == name + port) {
            return true;
        }
    }
    const std::string& own = settings_.address;
    if (own == "0.0.0.0" || own == "::") {
        return host.ends_with(port) && IsNumeric(host.substr(0, host.size() - port.size()));
    }
    return host == (own.find(':') == std::string::npos ? own : "[" + own + "]") + port;
}

bool Access::MayWithoutToken(const Request& request, bool peerIsLoopback) const
{
    // The page itself holds no secret: its script brings the token along.
    return !request.path.starts_with("/api/") &&
           (request.path != "/metrics" || (peerIsLoopback && IsLoopback(settings_.address)));
}

bool Access::HasToken(const Request& request) const
{
    const std::string given = request.Header("authorization");
    if (Same("Bearer " + token_, given)) {
        return true;
    }
    return IsPicture(request) && Same(PictureToken(), request.Query("token"));
}

Reply Access::Check(const Request& request, bool peerIsLoopback) const
{
    const std::string host = request.Header("host"), origin = request.Header("origin");
    if (!HostIsOurs(host)) {
        return ErrorReply(403, "This name of the host is not served; use the address that camhost printed");
    }
    if (!origin.empty() && origin != "http://" + host) {
        return ErrorReply(403, "Pages of another origin are refused");
    }
    const std::string site = request.Header("sec-fetch-site");
    if (site == "cross-site" || site == "same-site") {
        return ErrorReply(403, "Pages of another site are refused");
    }
    if (request.method != "GET" && request.method != "PUT" && request.method != "POST") {
        return ErrorReply(405, "There are GET, PUT and POST");
    }
    if (!MayWithoutToken(request, peerIsLoopback) && !HasToken(request)) {
        return ErrorReply(401, "The token is missing or wrong; open the whole address that camhost printed");
    }
    const bool looks = request.method == "GET" ||
                       (request.path.starts_with("/api/v1/channels/") && request.path.ends_with("/view"));
    if (settings_.readOnly && !looks) {
        return ErrorReply(403, "camhost was started with --read-only");
    }
    return {};
}

std::string MakeToken()
{
    std::array<unsigned char, 16> bytes{};
    if (!FillRandomly(bytes.data(), bytes.size())) {
        throw std::runtime_error("the system gives no random numbers for a token");
    }
    std::string token;
    for (const unsigned char byte : bytes) {
        for (const int digit : {byte >> 4, byte & 15}) {
            token.push_back("0123456789abcdef"[digit]);
        }
    }
    return token;
}

bool IsLoopback(const std::string& address)
{
    return address.starts_with("127.") || address == "::1" || address == "localhost";
}

} // namespace maravel::view
