// Answers that go on as images come: the stream of the page, and JPEG pictures for other programs. All on the
// server's thread, but for the encoding. For Server.cpp alone: whoever includes it compiles the whole
// library.
#pragma once

#include "Api.h"
#include "Picture.h"
#include "StreamRecord.h"

#include <boost/asio.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace maravel::view {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using asio::ip::tcp;
using boost::system::error_code;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::seconds;

inline constexpr auto kStalledTime = seconds(15);
inline constexpr auto kStatusInterval = milliseconds(500);

// The headers that every answer has: nothing of another origin is loaded, framed, kept or told.
inline constexpr std::pair<const char*, const char*> kHeaders[] = {
    {"Content-Security-Policy",
     "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' blob:; connect-src 'self'; "
     "frame-ancestors 'none'; base-uri 'none'; form-action 'none'"},
    {"X-Content-Type-Options", "nosniff"},
    {"Referrer-Policy", "no-referrer"},
    {"Cross-Origin-Resource-Policy", "same-origin"}};

// The head of an answer that does not end.
inline std::string StreamHead(const char* type)
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

inline void AppendRecord(RecordKind kind, const std::string& payload, std::vector<std::uint8_t>* out)
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

} // namespace maravel::view
