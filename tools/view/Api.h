// What the addresses under /api/v1, /metrics and the page's files answer.
#pragma once

#include "Access.h"
#include "Camera.h"
#include "LogWatch.h"
#include "Picture.h"

#include <nlohmann/json_fwd.hpp>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace maravel::view {

class Api
{
public:
    using Done = std::function<void(Reply)>; // may be called later, on another thread
    // How the server is asked; called on its thread.
    struct Hooks
    {
        std::function<void(std::function<void()>)> background; // runs what takes long on another thread
        std::function<bool(int stream, std::size_t camera, const Viewport&)> setViewport;
        std::function<int()> viewers;
    };

    Api(std::vector<std::unique_ptr<Camera>>& cameras, const LogWatch& log, Access& access);

    void Connect(Hooks hooks) { hooks_ = std::move(hooks); }
    // The access was checked already.
    void Handle(const Request& request, const Done& done);

    std::vector<std::unique_ptr<Camera>>& Cameras() { return cameras_; }
    Camera* FindCamera(const std::string& index) const;
    // Payloads of the stream; the log's begins after the line that the viewer has, and is empty without news.
    std::string StatusJson(int stream) const;
    std::string LogJson(std::uint64_t* lastLine, std::string* lastFindings) const;

private:
    struct Context;
    struct Route;
    static const Route kRoutes[];

    void HandleChannel(const Request& request, const Done& done);
    Reply Page(const Request& request) const;
    Reply Metrics() const;
    nlohmann::json ChannelJson(const Camera& camera) const;

    static void GetFeatures(Context& context);
    static void GetFeature(Context& context);
    static void PutFeature(Context& context);
    static void RunCommand(Context& context);
    static void SetAcquisition(Context& context);
    static void Trigger(Context& context);
    static void SetView(Context& context);
    static void GetImage(Context& context);
    static void GetPixels(Context& context);
    static void GetHistogram(Context& context);

    std::vector<std::unique_ptr<Camera>>& cameras_;
    const LogWatch& log_;
    Access& access_;
    Hooks hooks_;
};

// JPEG of an 8-bit picture.
std::vector<std::uint8_t> EncodeJpeg(const Pixels8& pixels, int quality);

} // namespace maravel::view
