#include "Api.h"

#include "PageFiles.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>

namespace maravel::view {

using nlohmann::json;

namespace {

// The adapter's texts are in whatever code page the system has.
std::string Text(const json& value)
{
    return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

json Finding(const LogFinding& finding)
{
    return {{"name", finding.name},     {"severity", finding.severity}, {"sentence", finding.sentence},
            {"advice", finding.advice}, {"channel", finding.channel},   {"count", finding.count}};
}

json Line(const LogLine& line)
{
    return {{"number", line.number}, {"time", line.time},   {"channel", line.channel}, {"level", line.level},
            {"text", line.text},     {"means", line.means}, {"advice", line.advice}};
}

std::string LabelValue(const std::string& text)
{
    std::string out;
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            out.push_back('\\');
        }
        out.push_back(c == '\n' ? ' ' : c);
    }
    return out;
}

} // namespace

Api::Api(std::vector<std::unique_ptr<Camera>>& cameras, const LogWatch& log, Access& access)
    : cameras_(cameras), log_(log), access_(access)
{
    hooks_.background = [](const std::function<void()>& job) { job(); };
    hooks_.setViewport = [](int, std::size_t, const Viewport&) { return false; };
    hooks_.viewers = [] { return 0; };
}

Camera* Api::FindCamera(const std::string& index) const
{
    for (const auto& camera : cameras_) {
        if (std::to_string(camera->Channel().Index()) == index) {
            return camera.get();
        }
    }
    return nullptr;
}

// Counts of the log are exact. Without one, lost images are told from time stamps.
json Api::ChannelJson(const Camera& camera) const
{
    const CameraStatus s = camera.Status();
    const VideoChannelDescriptor& d = camera.Channel().Descriptor();
    const double exposureMin = d.exposureTimeMin;
    json channel = {{"index", camera.Channel().Index()},
                    {"serial", camera.Channel().SerialNumber()},
                    {"name", camera.Name()},
                    {"label", camera.Channel().Label()},
                    {"exposureMin", exposureMin},
                    {"width", s.width > 0 ? s.width : static_cast<int>(d.width)},
                    {"height", s.height > 0 ? s.height : static_cast<int>(d.height)},
                    {"pixelType", s.pixelType},
                    {"state", s.state},
                    {"text", s.text},
                    {"trigger", s.trigger},
                    {"edge", s.risingEdge ? "rising" : "falling"},
                    {"fetched", s.fetched},
                    {"rate", s.rate},
                    {"cameraRate", s.cameraRate},
                    {"triggers", s.triggers},
                    {"imagesOfTriggers", s.imagesOfTriggers},
                    {"lost", s.lostByTime},
                    {"lostBy", "time stamps"},
                    {"incomplete", nullptr}};
    const auto counts = log_.Counts();
    if (log_.On()) {
        if (const auto found = counts.find(camera.Channel().Index()); found != counts.end()) {
            channel["lost"] = found->second.missing;
            channel["lostBy"] = "frame numbers";
            channel["incomplete"] = found->second.incomplete;
            channel["complete"] = found->second.complete;
        }
    }
    return channel;
}

std::string Api::StatusJson(int stream) const
{
    json channels = json::array();
    for (const auto& camera : cameras_) {
        channels.push_back(ChannelJson(*camera));
    }
    json status = {{"channels", channels},
                   {"viewers", hooks_.viewers()},
                   {"readOnly", access_.How().readOnly},
                   {"log", log_.On()}};
    if (stream > 0) {
        status["stream"] = stream;
    }
    return Text(status);
}

std::string Api::LogJson(std::uint64_t* lastLine, std::string* lastFindings) const
{
    json lines = json::array(), findings = json::array();
    for (const LogLine& line : log_.LinesAfter(*lastLine, 500)) {
        lines.push_back(Line(line));
        *lastLine = line.number;
    }
    for (const LogFinding& finding : log_.Findings()) {
        findings.push_back(Finding(finding));
    }
    const std::string text = Text(findings);
    if (lines.empty() && text == *lastFindings) {
        return "";
    }
    *lastFindings = text;
    return Text({{"lines", lines}, {"findings", findings}});
}

Reply Api::Page(const Request& request) const
{
    const std::string name = request.path == "/" ? "index.html" : request.path.substr(1);
    const PageFile* file = FindPageFile(name);
    if (file == nullptr || *file->type == '\0' || request.method != "GET") {
        return ErrorReply(404, "There is no such page");
    }
    Reply reply;
    reply.type = file->type;
    const std::string tag = "\"" + std::string(file->tag) + "\"";
    reply.headers = {{"ETag", tag}, {"Cache-Control", "no-cache"}, {"Vary", "Accept-Encoding"}};
    if (request.Header("if-none-match") == tag) {
        reply.status = 304;
        return reply;
    }
    const bool packed = request.Header("accept-encoding").find("gzip") != std::string::npos;
    const auto bytes = packed ? file->packed : file->bytes;
    reply.body.assign(bytes.begin(), bytes.end());
    if (packed) {
        reply.headers.emplace_back("Content-Encoding", "gzip");
    }
    return reply;
}

Reply Api::Metrics() const
{
    struct Row
    {
        const char *name, *type, *help, *key;
    };
    static constexpr Row kRows[] = {
        {"camhost_frames_fetched_total", "counter", "Images fetched from the adapter", "fetched"},
        {"camhost_frames_lost_total", "counter", "Images that the camera sent and that did not arrive",
         "lost"},
        {"camhost_frames_incomplete_total", "counter", "Images that arrived incomplete", "incomplete"},
        {"camhost_frame_rate_hertz", "gauge", "Images fetched a second", "rate"},
        {"camhost_camera_rate_hertz", "gauge", "Images a second by the camera's time stamps", "cameraRate"}};
    std::vector<json> channels;
    for (const auto& camera : cameras_) {
        channels.push_back(ChannelJson(*camera));
    }
    std::string text;
    const auto head = [&](const char* name, const char* type, const char* help) {
        text += "# HELP " + std::string(name) + " " + help + ".\n# TYPE " + name + " " + type + "\n";
    };
    const auto sample = [&](const char* name, const json& channel, const std::string& value) {
        text += std::string(name) + "{channel=\"" + channel["index"].dump() + "\",serial=\"" +
                LabelValue(channel["serial"].get<std::string>()) + "\"} " + value + "\n";
    };
    for (const Row& row : kRows) {
        head(row.name, row.type, row.help);
        for (const json& channel : channels) {
            if (!channel[row.key].is_null()) {
                sample(row.name, channel, channel[row.key].dump());
            }
        }
    }
    head("camhost_camera_running", "gauge", "1 while the camera acquires");
    for (const json& channel : channels) {
        sample("camhost_camera_running", channel, channel["state"] == "running" ? "1" : "0");
    }
    head("camhost_viewers", "gauge", "Pages that show the cameras");
    text += "camhost_viewers " + std::to_string(hooks_.viewers()) + "\n";
    return {200, "text/plain; version=0.0.4", text, {}};
}

void Api::Handle(const Request& request, const Done& done)
{
    std::uint64_t after = static_cast<std::uint64_t>(std::max(0LL, request.Number("after", 0)));
    std::string findings;
    if (request.path.starts_with("/api/v1/channels/")) {
        HandleChannel(request, done);
    }
    else if (request.method == "GET" && request.path == "/api/v1/channels") {
        done({200, "application/json", StatusJson(0), {}});
    }
    else if (request.method == "GET" && request.path == "/api/v1/log") {
        done({200, "application/json", LogJson(&after, &findings), {}});
    }
    else if (request.method == "GET" && request.path == "/api/v1/picture-token") {
        done({200, "application/json", Text({{"token", access_.PictureToken()}}), {}});
    }
    else if (request.method == "POST" && request.path == "/api/v1/picture-token") {
        done({200, "application/json", Text({{"token", access_.RenewPictureToken()}}), {}});
    }
    else if (request.method == "GET" && request.path == "/metrics") {
        done(Metrics());
    }
    else if (request.path.starts_with("/api/")) {
        done(ErrorReply(404, "There is no such address"));
    }
    else {
        done(Page(request));
    }
}

} // namespace maravel::view
