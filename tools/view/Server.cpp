#include "Server.h"

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

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using asio::ip::tcp;
using boost::system::error_code;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr std::uint32_t kMostHead = 8 * 1024;
constexpr std::uint64_t kMostBody = 64 * 1024;
constexpr std::size_t kMostConnections = 32;
constexpr std::size_t kMostViewers = 8;
constexpr auto kRequestTime = seconds(10);
constexpr auto kStalledTime = seconds(15);
constexpr auto kStatusInterval = milliseconds(500);

using Parser = http::request_parser<http::string_body>;

void Limit(Parser& parser)
{
    parser.header_limit(kMostHead);
    parser.body_limit(kMostBody);
}

// The headers that every answer has: nothing of another origin is loaded, framed, kept or told.
constexpr std::pair<const char*, const char*> kHeaders[] = {
    {"Content-Security-Policy",
     "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' blob:; connect-src 'self'; "
     "frame-ancestors 'none'; base-uri 'none'; form-action 'none'"},
    {"X-Content-Type-Options", "nosniff"},
    {"Referrer-Policy", "no-referrer"},
    {"Cross-Origin-Resource-Policy", "same-origin"}};

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

// The head of an answer that does not end.
std::string StreamHead(const char* type)
{
    http::response<http::empty_body> response(http::status::ok, 11);
    for (const auto& [name, value] : kHeaders) {
        response.set(name, value);
    }
    response.set(http::field::cache_control, "no-store");
    response.set(http::field::content_type, type);
    response.set(http::field::connection, "close");
    std::string head = "HTTP/1.1 200 OK\r\n";
    for (const auto& field : response) {
        head += std::string(field.name_string()) + ": " + std::string(field.value()) + "\r\n";
    }
    return head + "\r\n";
}

void AppendRecord(RecordKind kind, const std::string& payload, std::vector<std::uint8_t>* out)
{
    StreamRecord record;
    record.kind = kind;
    record.payloadBytes = static_cast<std::uint32_t>(payload.size());
    const std::size_t at = out->size();
    out->resize(at + sizeof(record));
    std::memcpy(out->data() + at, &record, sizeof(record));
    out->insert(out->end(), payload.begin(), payload.end());
}

// An answer that goes on as images come. The newest image wins: none waits, and no camera does.
class Viewer : public std::enable_shared_from_this<Viewer>
{
public:
    explicit Viewer(beast::tcp_stream stream) : stream_(std::move(stream)), timer_(stream_.get_executor()) {}
    virtual ~Viewer() = default;

    void Begin(const char* type)
    {
        error_code ignored;
        // On a slow way little is to wait in the system either: it would be old when it arrives.
        if (!stream_.socket().remote_endpoint(ignored).address().is_loopback()) {
            stream_.socket().set_option(asio::socket_base::send_buffer_size(512 * 1024), ignored);
        }
        stream_.socket().set_option(tcp::no_delay(true), ignored);
        const std::string head = StreamHead(type);
        out_.assign(head.begin(), head.end());
        Write();
    }
    void Pump()
    {
        if (writing_ || closed_) {
            return;
        }
        const auto now = Clock::now();
        const auto next = Fill(now);
        if (!out_.empty()) {
            Write();
        }
        else if (next) {
            WaitUntil(*next);
        }
    }
    void Close()
    {
        closed_ = true;
        timer_.cancel();
        stream_.close();
    }
    bool Closed() const { return closed_; }

protected:
    // Puts what is due into out_; else tells when something is due.
    virtual std::optional<Clock::time_point> Fill(Clock::time_point now) = 0;

    void Write()
    {
        writing_ = true;
        // In one call where the system takes it: by itself the library writes 64 KiB at a time. Whoever takes
        // some of it has time for the rest.
        const auto all = [this](const error_code& error, std::size_t) {
            stream_.expires_after(kStalledTime);
            return error ? 0 : SIZE_MAX;
        };
        asio::async_write(stream_, asio::buffer(out_), all,
                          [self = shared_from_this()](const error_code& error, std::size_t) {
                              self->writing_ = false;
                              self->out_.clear();
                              if (error) {
                                  self->Close();
                              }
                              else {
                                  self->Pump();
                              }
                          });
    }
    void WaitUntil(Clock::time_point time)
    {
        if (waiting_ && time >= timer_.expiry()) {
            return;
        }
        waiting_ = true;
        timer_.expires_at(time);
        timer_.async_wait([self = shared_from_this()](const error_code& error) {
            if (error) {
                return; // another time was set
            }
            self->waiting_ = false;
            self->Pump();
        });
    }

    beast::tcp_stream stream_;
    std::vector<std::uint8_t> out_;
    bool writing_ = false, closed_ = false;

private:
    asio::steady_timer timer_;
    bool waiting_ = false;
};

// How far a viewer is with one camera.
struct Watched
{
    Viewport viewport;
    std::uint64_t sent = 0; // sequence of the last image
    bool anew = false;      // the viewport changed: the last image is wanted again
    Clock::time_point due{};

    bool Wants(const FramePointer& frame) const
    {
        return viewport.shown && frame != nullptr && (anew || frame->sequence != sent);
    }
    void Sent(const Frame& frame, Clock::time_point now)
    {
        const auto interval =
            std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(1 / viewport.maxRate));
        // Kept in step with the rate as long as that is possible.
        due = std::max(due + interval, now - interval / 2);
        sent = frame.sequence;
        anew = false;
    }
};

// All channels, the counters and the log, for one page.
class PageViewer : public Viewer
{
public:
    PageViewer(beast::tcp_stream stream, Api& api, int id)
        : Viewer(std::move(stream)), api_(api), id_(id), watched_(api.Cameras().size())
    {
    }

    int Id() const { return id_; }
    void SetViewport(std::size_t camera, const Viewport& viewport)
    {
        watched_[camera].viewport = viewport;
        watched_[camera].anew = true;
        watched_[camera].due = {};
        Pump();
    }
    void LogGrew()
    {
        logGrew_ = true;
        Pump();
    }

private:
    std::optional<Clock::time_point> Fill(Clock::time_point now) override
    {
        if (now >= statusDue_) {
            AppendRecord(RecordKind::Status, api_.StatusJson(id_), &out_);
            statusDue_ = now + kStatusInterval;
        }
        if (logGrew_) {
            const std::string log = api_.LogJson(&lastLine_, &lastFindings_);
            logGrew_ = !log.empty(); // there may be more
            if (logGrew_) {
                AppendRecord(RecordKind::Log, log, &out_);
            }
        }
        auto next = statusDue_;
        for (std::size_t i = 0; i < watched_.size(); ++i) {
            turn_ = (turn_ + 1) % watched_.size();
            Watched& watched = watched_[turn_];
            const FramePointer frame = api_.Cameras()[turn_]->Last();
            if (!watched.Wants(frame)) {
                continue;
            }
            if (now < watched.due) {
                next = std::min(next, watched.due);
                continue;
            }
            const auto channel = static_cast<std::uint16_t>(api_.Cameras()[turn_]->Channel().Index());
            RenderRecord(frame->image, watched.viewport, channel, frame->sequence, &out_);
            watched.Sent(*frame, now);
            break; // one at a time, so that the next one is new when it goes
        }
        return next;
    }

    Api& api_;
    const int id_;
    std::vector<Watched> watched_;
    std::size_t turn_ = 0;
    Clock::time_point statusDue_{};
    bool logGrew_ = true;
    std::uint64_t lastLine_ = 0;
    std::string lastFindings_;
};

// One channel as JPEG pictures, for programs that know nothing else.
class MjpegViewer : public Viewer
{
public:
    static constexpr const char* kType = "multipart/x-mixed-replace; boundary=frame";

    MjpegViewer(beast::tcp_stream stream, Camera& camera, asio::thread_pool& encoder, const Request& request)
        : Viewer(std::move(stream)), camera_(camera), encoder_(encoder),
          quality_(static_cast<int>(std::clamp(request.Number("quality", 75), 1LL, 100LL)))
    {
        watched_.viewport.maxRate = static_cast<double>(std::clamp(request.Number("rate", 25), 1LL, 1000LL));
        watched_.viewport.maxPixels = 1280 * 1024;
    }

private:
    std::optional<Clock::time_point> Fill(Clock::time_point now) override
    {
        const FramePointer frame = camera_.Last();
        if (encoding_ || !watched_.Wants(frame)) {
            return now + seconds(1);
        }
        if (now < watched_.due) {
            return watched_.due;
        }
        encoding_ = true;
        watched_.Sent(*frame, now);
        auto self = std::static_pointer_cast<MjpegViewer>(shared_from_this());
        asio::post(encoder_, [self, frame] {
            auto jpeg = EncodeJpeg(Render(frame->image, self->watched_.viewport), self->quality_);
            asio::post(self->stream_.get_executor(), [self, jpeg = std::move(jpeg)] { self->Encoded(jpeg); });
        });
        return now + seconds(1);
    }
    void Encoded(const std::vector<std::uint8_t>& jpeg)
    {
        encoding_ = false;
        if (Closed()) {
            return;
        }
        const std::string head =
            "--frame\r\nContent-Type: image/jpeg\r\nContent-Length: " + std::to_string(jpeg.size()) +
            "\r\n\r\n";
        out_.assign(head.begin(), head.end());
        out_.insert(out_.end(), jpeg.begin(), jpeg.end());
        out_.insert(out_.end(), {'\r', '\n'});
        Write();
    }

    Camera& camera_;
    asio::thread_pool& encoder_;
    const int quality_;
    Watched watched_;
    bool encoding_ = false;
};

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
