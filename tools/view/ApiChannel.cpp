// The addresses of one channel. What needs the camera is done by its thread.
#include "Api.h"

#include "FeatureCatalogue.h"
#include "camhost/Failure.h"
#include "camhost/Features.h"

#include <nlohmann/json.hpp>

#include <stb_image_write.h>

#include <algorithm>
#include <cmath>
#include <optional>

namespace maravel::view {

using camhost::Failure;
using nlohmann::json;

namespace {

constexpr std::size_t kMostText = 255; // what crosses the host interface

const char* TypeName(std::int32_t type)
{
    static constexpr const char* kNames[] = {"other", "enum", "int", "float", "command", "bool", "string"};
    return kNames[type >= 1 && type <= 6 ? type : 0];
}

Reply JsonReply(const json& value)
{
    return {200, "application/json", value.dump(-1, ' ', false, json::error_handler_t::replace), {}};
}

json FeatureJson(const host::Channel& channel, const FeatureFacts& facts)
{
    json feature = {{"name", facts.name},
                    {"type", TypeName(facts.type)},
                    {"readable", channel.IsReadable(facts.name)},
                    {"writable", channel.IsWritable(facts.name)},
                    {"value", nullptr}};
    std::string value;
    if (facts.type != FeatureTypeCommand && feature["readable"]) {
        const host::Outcome outcome = channel.ReadValue(facts.name, &value);
        if (outcome) {
            feature["value"] = value;
        }
        else {
            feature["error"] = outcome.text;
        }
    }
    if (facts.type == FeatureTypeEnum) {
        feature["entries"] = channel.EnumEntries(facts.name);
    }
    return feature;
}

// Whole numbers of pixels; nothing when it is none.
std::optional<std::uint32_t> Pixels(const json& body, const char* key)
{
    if (!body.contains(key) || !body[key].is_number()) {
        return std::nullopt;
    }
    const double value = body[key].get<double>();
    return value >= 0 && value <= 1e6 ? std::optional(static_cast<std::uint32_t>(value)) : std::nullopt;
}

// The part of the image that the query names; the whole one without.
Rectangle PartOf(const Request& request, const camhost::Image& image)
{
    const auto number = [&](const char* name) {
        return static_cast<std::uint32_t>(std::clamp(request.Number(name, 0), 0LL, 1000000LL));
    };
    Viewport viewport;
    viewport.x = number("x");
    viewport.y = number("y");
    viewport.width = number("w");
    viewport.height = number("h");
    return Clip(viewport, image.attributes);
}

std::string Bytes(const std::vector<std::uint8_t>& bytes)
{
    return {bytes.begin(), bytes.end()};
}

// The values as the camera has them, in a file that needs no depth.
Reply PgmReply(const camhost::Image& image)
{
    const ImageAttributes& a = image.attributes;
    if (a.pixelType == PixelTypeRgbPlanes) {
        return ErrorReply(409, "A PGM file has no colours; ask for image.png");
    }
    std::string file = "P5\n" + std::to_string(a.width) + " " + std::to_string(a.height) + "\n" +
                       std::to_string((1u << camhost::SampleDepth(a.pixelType)) - 1) + "\n";
    const auto whole =
        Rectangle{0, 0, static_cast<std::uint32_t>(a.width), static_cast<std::uint32_t>(a.height)};
    for (const std::uint16_t value : ValuesOf(image, whole)) {
        if (a.pixelType != PixelTypeMono8) {
            file.push_back(static_cast<char>(value >> 8));
        }
        file.push_back(static_cast<char>(value & 255));
    }
    return {200, "image/x-portable-graymap", std::move(file), {}};
}

Reply PngReply(const camhost::Image& image, const Viewport& viewport)
{
    if (camhost::SampleDepth(image.attributes.pixelType) == 8) {
        return {200, "image/png", Bytes(camhost::EncodeImage(image)), {}};
    }
    const Pixels8 pixels = Render(image, viewport);
    return {200,
            "image/png",
            Bytes(camhost::EncodePng(pixels.width, pixels.height, pixels.channels, pixels.bytes.data())),
            {}};
}

Reply EncodeReply(const FramePointer& frame, const std::string& kind, int quality)
{
    const camhost::Image& image = frame->image;
    Viewport viewport;
    viewport.maxPixels = UINT32_MAX;
    Reply reply;
    if (kind == "png") {
        reply = PngReply(image, viewport);
    }
    else if (kind == "pgm") {
        reply = PgmReply(image);
    }
    else if (kind == "jpg") {
        reply = {200, "image/jpeg", Bytes(EncodeJpeg(Render(image, viewport), quality)), {}};
    }
    else {
        reply = {200,
                 "application/octet-stream",
                 {image.bytes.begin(),
                  image.bytes.begin() + static_cast<std::ptrdiff_t>(camhost::ImageBytes(image.attributes))},
                 {}};
    }
    if (reply.status == 200) {
        std::string name = camhost::ImageFileName(image);
        name.replace(name.size() - 3, 3, kind);
        reply.headers = {{"Content-Disposition", "inline; filename=\"" + name + "\""},
                         {"X-Sequence", std::to_string(frame->sequence)},
                         {"X-Pixel-Type", std::to_string(image.attributes.pixelType)},
                         {"X-Size", std::to_string(image.attributes.width) + "x" +
                                        std::to_string(image.attributes.height)}};
    }
    return reply;
}

std::optional<camhost::Trigger> TriggerOf(const std::string& word)
{
    using camhost::Trigger;
    static constexpr std::pair<const char*, Trigger> kModes[] = {
        {"freerun", Trigger::Freerun},
        {"manual", Trigger::Manual},
        {"hardware-auto", Trigger::HardwareAuto},
        {"hardware-semi-auto", Trigger::HardwareSemiAuto}};
    for (const auto& [name, mode] : kModes) {
        if (word == name) {
            return mode;
        }
    }
    return std::nullopt;
}

// False when something given cannot be meant; `why` tells.
bool ReadStart(const json& body, StartSettings* settings, std::string* why)
{
    if (body.contains("trigger")) {
        settings->trigger = TriggerOf(body["trigger"].is_string() ? body["trigger"].get<std::string>() : "");
        if (!settings->trigger) {
            return *why = "trigger is freerun, manual, hardware-auto or hardware-semi-auto", false;
        }
    }
    if (body.contains("edge")) {
        if (body["edge"] != "rising" && body["edge"] != "falling") {
            return *why = "edge is rising or falling", false;
        }
        settings->risingEdge = body["edge"] == "rising";
    }
    if (body.contains("state") && body["state"] != "running" && body["state"] != "stopped") {
        return *why = "state is running or stopped", false;
    }
    if (body.contains("exposure")) {
        const double seconds = body["exposure"].is_number() ? body["exposure"].get<double>() : 0;
        if (!(seconds > 0 && seconds < 1e6)) {
            return *why = "exposure is a time in seconds", false;
        }
        settings->exposure = seconds;
    }
    if (body.contains("region")) {
        const json& region = body["region"];
        const auto x = region.is_object() ? Pixels(region, "x") : std::nullopt;
        if (!x || !Pixels(region, "y") || !Pixels(region, "width") || !Pixels(region, "height")) {
            return *why = "region has x, y, width and height in pixels", false;
        }
        const auto value = [&](const char* key) { return static_cast<int>(*Pixels(region, key)); };
        settings->region = {value("x"), value("y"), value("width"), value("height")};
    }
    return true;
}

} // namespace

// One request to a channel; shared by the jobs that it takes.
struct Api::Context
{
    Api& api;
    Camera& camera;
    std::size_t place; // of the camera among all
    const Request& request;
    std::string argument; // the name in the path
    const Done& done;

    bool Body(json* body) const
    {
        *body = json::parse(request.body, nullptr, false);
        if (body->is_object()) {
            return true;
        }
        done(ErrorReply(400, "The body is not a JSON object"));
        return false;
    }
    // On the camera's thread.
    void OnCamera(std::function<Reply()> work) const
    {
        const auto job = [work = std::move(work), answer = done] {
            try {
                answer(work());
            }
            catch (const Failure& failure) {
                answer(ErrorReply(409, failure.what()));
            }
        };
        if (!camera.Post(job)) {
            done(ErrorReply(503, "Too many requests wait for this camera; try again later"));
        }
    }
};

struct Api::Route
{
    const char* method;
    const char* path; // after the channel's index; with a final '/', a name follows
    void (*handle)(Context&);
};

const Api::Route Api::kRoutes[] = {
    {"GET", "features", GetFeatures},
    {"GET", "features/", GetFeature},
    {"PUT", "features/", PutFeature},
    {"POST", "commands/", RunCommand},
    {"POST", "acquisition", SetAcquisition},
    {"POST", "trigger", Trigger},
    {"POST", "view", SetView},
    {"GET", "image.", GetImage},
    {"GET", "pixels", GetPixels},
    {"GET", "histogram", GetHistogram},
};

void Api::HandleChannel(const Request& request, const Done& done)
{
    const std::string rest = request.path.substr(std::string("/api/v1/channels/").size());
    const std::size_t slash = std::min(rest.find('/'), rest.size());
    const auto camera = std::ranges::find_if(cameras_, [&](const auto& one) {
        return std::to_string(one->Channel().Index()) == rest.substr(0, slash);
    });
    if (camera == cameras_.end()) {
        return done(ErrorReply(404, "There is no such channel"));
    }
    const std::string path = slash < rest.size() ? rest.substr(slash + 1) : "";
    bool known = false;
    for (const Route& route : kRoutes) {
        const std::string pattern = route.path;
        const bool open = pattern.back() == '/' || pattern.back() == '.';
        if (open ? !(path.starts_with(pattern) && path.size() > pattern.size()) : path != pattern) {
            continue;
        }
        known = true;
        if (request.method != route.method) {
            continue;
        }
        Context context{*this,
                        **camera,
                        static_cast<std::size_t>(camera - cameras_.begin()),
                        request,
                        open ? path.substr(pattern.size()) : "",
                        done};
        if (context.argument.size() > kMostText) {
            return done(ErrorReply(400, "The name is longer than 255 characters"));
        }
        return route.handle(context);
    }
    done(known ? ErrorReply(405, "This address does not take " + request.method)
               : ErrorReply(404, "There is no such address"));
}

void Api::GetFeatures(Context& context)
{
    context.OnCamera([&camera = context.camera] {
        json features = json::array();
        for (const FeatureFacts& facts : camera.Features()) {
            const FeaturePlace place = PlaceOf(facts.name);
            features.push_back({{"name", facts.name},
                                {"type", TypeName(facts.type)},
                                {"category", place.category},
                                {"unit", place.unit},
                                {"visibility", place.visibility},
                                {"description", facts.description}});
        }
        return JsonReply(features);
    });
}

void Api::GetFeature(Context& context)
{
    context.OnCamera([&camera = context.camera, name = context.argument] {
        const FeatureFacts* facts = camera.FindFeature(name);
        return facts == nullptr ? ErrorReply(404, "The camera has no feature " + name)
                                : JsonReply(FeatureJson(camera.Channel(), *facts));
    });
}

// Cameras clamp numbers in silence, so the value that is read back is what counts.
void Api::PutFeature(Context& context)
{
    json body;
    if (!context.Body(&body)) {
        return;
    }
    if (!body.contains("value") || !body["value"].is_string() ||
        body["value"].get_ref<const std::string&>().size() > kMostText) {
        return context.done(ErrorReply(400, "value is a text of at most 255 characters"));
    }
    context.OnCamera(
        [&camera = context.camera, name = context.argument, value = body["value"].get<std::string>()] {
            const FeatureFacts* facts = camera.FindFeature(name);
            if (facts == nullptr) {
                return ErrorReply(404, "The camera has no feature " + name);
            }
            const std::string difference = camhost::WriteFeature(camera.Channel(), name, value);
            json feature = FeatureJson(camera.Channel(), *facts);
            feature["clamped"] = !difference.empty();
            if (!difference.empty()) {
                feature["note"] = difference;
            }
            return JsonReply(feature);
        });
}

void Api::RunCommand(Context& context)
{
    context.OnCamera([&camera = context.camera, name = context.argument] {
        const host::Outcome outcome = camera.Channel().ExecuteCommand(name);
        return outcome ? JsonReply({{"done", true}}) : ErrorReply(409, camhost::ReasonOf(outcome));
    });
}

void Api::SetAcquisition(Context& context)
{
    json body;
    if (!context.Body(&body)) {
        return;
    }
    StartSettings settings;
    std::string why;
    if (!ReadStart(body, &settings, &why)) {
        return context.done(ErrorReply(400, why));
    }
    const bool stop = body.contains("state") && body["state"] == "stopped";
    context.OnCamera([&camera = context.camera, settings, stop] {
        if (!stop && settings.region && camera.Running()) {
            return ErrorReply(409, "The region cannot be changed while the camera runs; stop it first");
        }
        const host::Outcome outcome = stop ? camera.Stop() : camera.Start(settings);
        return outcome ? JsonReply({{"state", camera.Status().state}, {"text", outcome.text}})
                       : ErrorReply(409, outcome.text);
    });
}

void Api::Trigger(Context& context)
{
    context.OnCamera([&camera = context.camera] {
        const host::Outcome outcome = camera.TriggerImage();
        return outcome ? JsonReply({{"triggers", camera.Status().triggers}}) : ErrorReply(409, outcome.text);
    });
}

void Api::SetView(Context& context)
{
    json body;
    if (!context.Body(&body)) {
        return;
    }
    Viewport v;
    v.x = Pixels(body, "x").value_or(0);
    v.y = Pixels(body, "y").value_or(0);
    v.width = Pixels(body, "width").value_or(0);
    v.height = Pixels(body, "height").value_or(0);
    v.black = Pixels(body, "black").value_or(0);
    v.white = Pixels(body, "white").value_or(0);
    if (body.contains("maxPixels") && body["maxPixels"].is_number()) {
        v.maxPixels =
            static_cast<std::uint32_t>(std::clamp(body["maxPixels"].get<double>(), 64.0, 33554432.0));
    }
    if (body.contains("maxRate") && body["maxRate"].is_number()) {
        v.maxRate = std::clamp(body["maxRate"].get<double>(), 0.1, 1000.0);
    }
    v.shown = !(body.contains("shown") && body["shown"] == false);
    const int stream = static_cast<int>(Pixels(body, "stream").value_or(0));
    context.done(context.api.hooks_.setViewport(stream, context.place, v)
                     ? JsonReply({{"stream", stream}})
                     : ErrorReply(404, "There is no such stream"));
}

void Api::GetImage(Context& context)
{
    const std::string kind = context.argument;
    if (kind != "png" && kind != "pgm" && kind != "raw" && kind != "jpg") {
        return context.done(ErrorReply(404, "There are image.png, image.pgm, image.raw and image.jpg"));
    }
    const FramePointer frame = context.camera.Last();
    if (frame == nullptr) {
        return context.done(ErrorReply(404, "No image has arrived yet"));
    }
    const int quality = static_cast<int>(std::clamp(context.request.Number("quality", 85), 1LL, 100LL));
    context.api.hooks_.background(
        [frame, kind, quality, done = context.done] { done(EncodeReply(frame, kind, quality)); });
}

void Api::GetPixels(Context& context)
{
    const FramePointer frame = context.camera.Last();
    if (frame == nullptr) {
        return context.done(ErrorReply(404, "No image has arrived yet"));
    }
    const Rectangle part = PartOf(context.request, frame->image);
    if (part.width > 64 || part.height > 64) {
        return context.done(ErrorReply(400, "At most 64 x 64 pixels at once: give x, y, w and h"));
    }
    const std::int32_t type = frame->image.attributes.pixelType;
    context.done(JsonReply({{"x", part.x},
                            {"y", part.y},
                            {"width", part.width},
                            {"height", part.height},
                            {"sequence", frame->sequence},
                            {"channels", type == PixelTypeRgbPlanes ? 3 : 1},
                            {"depth", camhost::SampleDepth(type)},
                            {"values", ValuesOf(frame->image, part)}}));
}

void Api::GetHistogram(Context& context)
{
    const FramePointer frame = context.camera.Last();
    if (frame == nullptr) {
        return context.done(ErrorReply(404, "No image has arrived yet"));
    }
    const Rectangle part = PartOf(context.request, frame->image);
    context.api.hooks_.background([frame, part, done = context.done] {
        const Histogram histogram = CountValues(frame->image, part);
        done(JsonReply({{"bins", histogram.bins},
                        {"depth", camhost::SampleDepth(frame->image.attributes.pixelType)},
                        {"darkest", histogram.darkest},
                        {"brightest", histogram.brightest},
                        {"samples", histogram.samples},
                        {"sequence", frame->sequence}}));
    });
}

std::vector<std::uint8_t> EncodeJpeg(const Pixels8& pixels, int quality)
{
    std::vector<std::uint8_t> file;
    const auto append = [](void* context, void* data, int size) {
        const auto* bytes = static_cast<const std::uint8_t*>(data);
        auto* out = static_cast<std::vector<std::uint8_t>*>(context);
        out->insert(out->end(), bytes, bytes + size);
    };
    if (stbi_write_jpg_to_func(append, &file, pixels.width, pixels.height, pixels.channels,
                               pixels.bytes.data(), quality) == 0) {
        throw std::bad_alloc();
    }
    return file;
}

} // namespace maravel::view
