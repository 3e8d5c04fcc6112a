#include "Server.h"

#include "Viewers.h"

#include <boost/asio.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <future>
#include <optional>
#include <set>
#include <stdexcept>

namespace maravel::view {
namespace {

constexpr std::uint32_t kMostHead = 8 * 1024;
constexpr std::uint64_t kMostBody = 64 * 1024;
constexpr std::size_t kMostConnections = 32;
constexpr std::size_t kMostViewers = 8;
constexpr auto kRequestTime = seconds(10);

using Parser = http::request_parser<http::string_body>;

void Limit(Parser& parser)
{
    parser.header_limit(kMostHead);
    parser.body_limit(kMostBody);
}

bool Convert(const http::request<http::string_body>& from, Request* to)
{
    to->method = std::string(from.method_string());
    to->body = from.body();
    for (const auto& field : from) {
        std::string name(field.name_string());
        std::ranges::transform(name, name.begin(),
                               [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        to->headers[name] = std::string(field.value());
    }
    return ParseTarget(std::string(from.target()), to);
}

Reply ParseErrorReply(const error_code& error)
{
    if (error == http::error::header_limit) {
        return ErrorReply(431, "The head of the request is longer than 8 KiB");
    }
    if (error == http::error::body_limit) {
        return ErrorReply(413, "The body of the request is longer than 64 KiB");
    }
    return ErrorReply(400, "This is no HTTP request");
}

http::response<http::string_body> MakeResponse(Reply&& reply, bool keepAlive)
{
    http::response<http::string_body> response(static_cast<http::status>(reply.status), 11);
    for (const auto& [name, value] : kHeaders) {
        response.set(name, value);
    }
    response.set(http::field::cache_control, "no-store");
    response.set(http::field::content_type, reply.type);
    for (const auto& [name, value] : reply.headers) {
        response.set(name, value);
    }
    response.body() = std::move(reply.body);
    response.keep_alive(keepAlive);
    response.prepare_payload();
    return response;
}

} // namespace

struct Server::Core
{
    asio::io_context context{1};
    tcp::acceptor acceptor{context};
    asio::thread_pool encoder{1};
    asio::steady_timer timer{context};
    Api* api = nullptr;
    const Access* access = nullptr;
    std::atomic<bool> frameTold{false}, logTold{false};
    std::size_t connections = 0;
    int lastStream = 0;
    std::set<std::shared_ptr<Viewer>> viewers;

    void Accept();
    void ForgetClosed();
    void WakeViewers();
    bool SetViewport(int stream, std::size_t camera, const Viewport& viewport);
    void LookForEnd(const std::function<bool()>& ended);
};

namespace {

// One connection, until it ends or becomes a viewer.
class Connection : public std::enable_shared_from_this<Connection>
{
public:
    Connection(tcp::socket socket, Server::Core& core);
    ~Connection();
    void Read();

private:
    void Answer(const error_code& error);
    bool BecomeViewer(const Request& request);
    void Send(Reply reply, bool keepAlive);
    void Write();

    Server::Core& core_;
    beast::tcp_stream stream_;
    bool peerIsLoopback_ = false;
    beast::flat_buffer buffer_{kMostHead + kMostBody};
    std::optional<Parser> parser_;
    std::optional<http::response<http::string_body>> response_;
    std::optional<http::response_serializer<http::string_body>> serializer_;
};

Connection::Connection(tcp::socket socket, Server::Core& core) : core_(core), stream_(std::move(socket))
{
    ++core_.connections;
    error_code error;
    const auto peer = stream_.socket().remote_endpoint(error);
    peerIsLoopback_ = !error && peer.address().is_loopback();
}

Connection::~Connection()
{
    --core_.connections;
}

void Connection::Read()
{
    parser_.emplace();
    Limit(*parser_);
    stream_.expires_after(kRequestTime);
    http::async_read(
        stream_, buffer_, *parser_,
        [self = shared_from_this()](const error_code& error, std::size_t) { self->Answer(error); });
}

void Connection::Answer(const error_code& error)
{
    if (error == http::error::end_of_stream || error == beast::error::timeout ||
        error == asio::error::operation_aborted || error == asio::error::connection_reset ||
        error == http::error::partial_message) {
        return;
    }
    if (error) {
        return Send(ParseErrorReply(error), false);
    }
    Request request;
    const bool keepAlive = parser_->get().keep_alive();
    if (!Convert(parser_->get(), &request)) {
        return Send(ErrorReply(400, "This address cannot be read"), false);
    }
    if (Reply refusal = core_.access->Check(request, peerIsLoopback_); refusal.status != 200) {
        return Send(std::move(refusal), keepAlive);
    }
    if (BecomeViewer(request)) {
        return;
    }
    stream_.expires_never(); // a camera may take a while
    core_.api->Handle(request, [self = shared_from_this(), keepAlive](Reply reply) {
        asio::post(self->stream_.get_executor(), [self, keepAlive, reply = std::move(reply)]() mutable {
            self->Send(std::move(reply), keepAlive);
        });
    });
}

bool Connection::BecomeViewer(const Request& request)
{
    const bool page = request.path == "/api/v1/stream";
    const bool mjpeg = request.path.starts_with("/api/v1/channels/") && request.path.ends_with("/mjpeg");
    if (request.method != "GET" || (!page && !mjpeg)) {
        return false;
    }
    core_.ForgetClosed();
    if (core_.viewers.size() >= kMostViewers) {
        Send(ErrorReply(503, "Eight viewers look on already; close one"), false);
        return true;
    }
    std::shared_ptr<Viewer> viewer;
    if (page) {
        viewer = std::make_shared<PageViewer>(std::move(stream_), *core_.api, ++core_.lastStream);
    }
    else {
        const std::string rest = request.path.substr(std::strlen("/api/v1/channels/"));
        Camera* camera = core_.api->FindCamera(rest.substr(0, rest.find('/')));
        if (camera == nullptr) {
            return false; // what else there is answers that
        }
        viewer = std::make_shared<MjpegViewer>(std::move(stream_), *camera, core_.encoder, request);
    }
    core_.viewers.insert(viewer);
    viewer->Begin(page ? "application/octet-stream" : MjpegViewer::kType);
    return true;
}

void Connection::Send(Reply reply, bool keepAlive)
{
    response_.emplace(MakeResponse(std::move(reply), keepAlive));
    serializer_.emplace(*response_);
    Write();
}

// Piece by piece, so that whoever takes one has time for the next.
void Connection::Write()
{
    stream_.expires_after(kStalledTime);
    http::async_write_some(stream_, *serializer_,
                           [self = shared_from_this()](const error_code& error, std::size_t) {
                               if (error) {
                                   return;
                               }
                               if (!self->serializer_->is_done()) {
                                   return self->Write();
                               }
                               if (self->response_->keep_alive()) {
                                   return self->Read();
                               }
                               error_code ignored;
                               self->stream_.socket().shutdown(tcp::socket::shutdown_send, ignored);
                           });
}

} // namespace

void Server::Core::Accept()
{
    acceptor.async_accept([this](const error_code& error, tcp::socket socket) {
        if (error == asio::error::operation_aborted) {
            return;
        }
        ForgetClosed();
        if (!error && connections + viewers.size() < kMostConnections) {
            std::make_shared<Connection>(std::move(socket), *this)->Read();
        }
        Accept();
    });
}

void Server::Core::ForgetClosed()
{
    std::erase_if(viewers, [](const auto& viewer) { return viewer->Closed(); });
}

void Server::Core::WakeViewers()
{
    const bool log = logTold.exchange(false);
    frameTold = false;
    for (const auto& viewer : viewers) {
        if (auto* page = dynamic_cast<PageViewer*>(viewer.get()); log && page != nullptr) {
            page->LogGrew();
        }
        viewer->Pump();
    }
}

bool Server::Core::SetViewport(int stream, std::size_t camera, const Viewport& viewport)
{
    for (const auto& viewer : viewers) {
        if (auto* page = dynamic_cast<PageViewer*>(viewer.get()); page != nullptr && page->Id() == stream) {
            page->SetViewport(camera, viewport);
            return true;
        }
    }
    return false;
}

void Server::Core::LookForEnd(const std::function<bool()>& ended)
{
    ForgetClosed();
    if (ended()) {
        return context.stop();
    }
    timer.expires_after(milliseconds(100));
    timer.async_wait([this, &ended](const error_code&) { LookForEnd(ended); });
}

Server::Server(const std::string& address, unsigned short port) : core_(std::make_unique<Core>())
{
    const std::string where = address + " port " + std::to_string(port);
    try {
        const tcp::endpoint endpoint(asio::ip::make_address(address == "localhost" ? "127.0.0.1" : address),
                                     port);
        core_->acceptor.open(endpoint.protocol());
        core_->acceptor.set_option(tcp::acceptor::reuse_address(MayReuseAddress()));
        core_->acceptor.bind(endpoint);
        core_->acceptor.listen();
    }
    catch (const boost::system::system_error& error) {
        throw std::runtime_error("cannot listen at " + where + ": " + error.code().message() +
                                 "; choose another --port or --listen");
    }
}

Server::~Server() = default;

unsigned short Server::Port() const
{
    return core_->acceptor.local_endpoint().port();
}

void Server::FrameArrived()
{
    if (!core_->frameTold.exchange(true)) {
        asio::post(core_->context, [core = core_.get()] { core->WakeViewers(); });
    }
}

void Server::LogGrew()
{
    core_->logTold = true;
    FrameArrived();
}

void Server::Run(Api& api, const Access& access, const std::function<bool()>& ended)
{
    Core& core = *core_;
    core.api = &api;
    core.access = &access;
    api.Connect({[&core](std::function<void()> job) { asio::post(core.encoder, std::move(job)); },
                 [&core](int stream, std::size_t camera, const Viewport& viewport) {
                     return core.SetViewport(stream, camera, viewport);
                 },
                 [&core] { return static_cast<int>(core.viewers.size()); }});
    core.Accept();
    core.LookForEnd(ended);
    core.context.run();
    core.encoder.join();
    for (const auto& viewer : core.viewers) {
        viewer->Close();
    }
    core.viewers.clear();
}

Reply AnswerBytes(std::string_view bytes, Api& api, const Access& access)
{
    Parser parser;
    Limit(parser);
    parser.eager(true);
    error_code error;
    parser.put(asio::buffer(bytes.data(), bytes.size()), error);
    if (error && error != http::error::need_more) {
        return ParseErrorReply(error);
    }
    if (!parser.is_done()) {
        return {0, "", "", {}};
    }
    Request request;
    if (!Convert(parser.get(), &request)) {
        return ErrorReply(400, "This address cannot be read");
    }
    if (Reply refusal = access.Check(request, true); refusal.status != 200) {
        return refusal;
    }
    const auto answer = std::make_shared<std::promise<Reply>>();
    api.Handle(request, [answer](Reply reply) { answer->set_value(std::move(reply)); });
    return answer->get_future().get();
}

} // namespace maravel::view
