#include "bench/ImageSource.h"

#include "acquisition/Frames.h"
#include "sdk/ApiAccess.h"

#include <cstring>
#include <deque>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

namespace maravel::bench {
namespace {

void Require(ZvkError_t result, const char* what)
{
    if (result != ZvkErrorSuccess) {
        throw std::runtime_error(std::string("bare loop: ") + what + " gives " + std::to_string(result));
    }
}

// One camera: as many frame records as the adapter would have, and those of them that were received.
class BareCamera
{
public:
    BareCamera(const CZorvikAPIAccess& api, const ZvkCameraInfo_t& camera) : api_(api)
    {
        Require(api_.ZvkCameraOpen(camera.cameraIdString, ZvkAccessModeFull, &handle_), "ZvkCameraOpen");
        std::uint32_t payloadSize = 0;
        Require(api_.ZvkPayloadSizeGet(handle_, &payloadSize), "ZvkPayloadSizeGet");
        frames_.resize(FrameCountFor(payloadSize));
        for (ZvkFrame_t& frame : frames_) {
            buffers_.emplace_back(payloadSize);
            frame = {};
            frame.buffer = buffers_.back().data();
            frame.bufferSize = payloadSize;
            frame.context[0] = this;
        }
    }
    ~BareCamera() { api_.ZvkCameraClose(handle_); }
    BareCamera(const BareCamera&) = delete;
    BareCamera& operator=(const BareCamera&) = delete;

    void Start()
    {
        for (const ZvkFrame_t& frame : frames_) {
            Require(api_.ZvkFrameAnnounce(handle_, &frame, sizeof frame), "ZvkFrameAnnounce");
        }
        Require(api_.ZvkCaptureStart(handle_), "ZvkCaptureStart");
        for (const ZvkFrame_t& frame : frames_) {
            Queue(frame);
        }
        Require(api_.ZvkFeatureCommandRun(handle_, "AcquisitionStart"), "AcquisitionStart");
    }

    void Stop()
    {
        Require(api_.ZvkFeatureCommandRun(handle_, "AcquisitionStop"), "AcquisitionStop");
        Require(api_.ZvkCaptureEnd(handle_), "ZvkCaptureEnd");
        Require(api_.ZvkCaptureQueueFlush(handle_), "ZvkCaptureQueueFlush");
        Require(api_.ZvkFrameRevokeAll(handle_), "ZvkFrameRevokeAll");
        received_.clear();
    }

    // Null when none waits.
    const ZvkFrame_t* Oldest()
    {
        const std::lock_guard lock(mutex_);
        if (received_.empty()) {
            return nullptr;
        }
        const ZvkFrame_t* frame = received_.front();
        received_.pop_front();
        return frame;
    }

    void Queue(const ZvkFrame_t& frame)
    {
        Require(api_.ZvkCaptureFrameQueue(handle_, &frame, &Receive), "queueing");
    }

private:
    static void Receive(ZvkHandle_t, ZvkHandle_t, ZvkFrame_t* frame)
    {
        auto* camera = static_cast<BareCamera*>(frame->context[0]);
        const std::lock_guard lock(camera->mutex_);
        camera->received_.push_back(frame);
    }

    const CZorvikAPIAccess& api_;
    ZvkHandle_t handle_ = nullptr;
    std::vector<std::vector<std::uint8_t>> buffers_;
    std::vector<ZvkFrame_t> frames_;
    std::mutex mutex_;
    std::deque<const ZvkFrame_t*> received_;
};

class BareSource : public ImageSource
{
public:
    BareSource(const std::filesystem::path& sdkFolder, std::size_t cameraCount, bool colour,
               std::size_t convertedImages)
        : api_(sdkFolder.wstring()), transform_(sdkFolder.wstring()), colour_(colour), rgb_(convertedImages)
    {
        if (!api_.IsValid() || !transform_.IsValid()) {
            throw std::runtime_error("bare loop: the SDK does not load");
        }
        Require(api_.ZvkStartup(nullptr), "ZvkStartup");
        std::vector<ZvkCameraInfo_t> infos(cameraCount);
        std::uint32_t found = 0;
        Require(api_.ZvkCamerasList(infos.data(), static_cast<std::uint32_t>(infos.size()), &found,
                                    sizeof infos[0]),
                "ZvkCamerasList");
        for (std::uint32_t i = 0; i < found; ++i) {
            cameras_.push_back(std::make_unique<BareCamera>(api_, infos[i]));
        }
        if (cameras_.size() != cameraCount) {
            throw std::runtime_error("bare loop: the SDK has other cameras");
        }
    }
    ~BareSource() override
    {
        cameras_.clear();
        api_.ZvkShutdown();
    }

    void Start() override
    {
        for (const auto& camera : cameras_) {
            camera->Start();
        }
    }

    void Stop() override
    {
        for (const auto& camera : cameras_) {
            camera->Stop();
        }
    }

    bool Fetch(std::size_t camera, std::uint8_t* image) override
    {
        const ZvkFrame_t* frame = cameras_[camera]->Oldest();
        if (frame == nullptr) {
            return false;
        }
        if (colour_) {
            Convert(*frame, rgb_[camera % rgb_.size()], image);
        }
        else {
            std::memcpy(image, frame->buffer, frame->bufferSize);
        }
        cameras_[camera]->Queue(*frame);
        return true;
    }

private:
    void Convert(const ZvkFrame_t& frame, std::vector<std::uint8_t>& rgb, std::uint8_t* image)
    {
        const std::size_t byteCount = std::size_t{3} * frame.width * frame.height;
        rgb.resize(byteCount);
        ZvkImage source = {};
        source.size = sizeof source;
        source.data = frame.buffer;
        Require(
            transform_.ZvkSetImageInfoFromPixelFormat(frame.pixelFormat, frame.width, frame.height, &source),
            "describing the source");
        ZvkImage target = {};
        target.size = sizeof target;
        target.data = rgb.data();
        Require(
            transform_.ZvkSetImageInfoFromPixelFormat(ZvkPixelFormatRgb8, frame.width, frame.height, &target),
            "describing the target");
        Require(transform_.ZvkImageTransform(&source, &target, nullptr, 0), "ZvkImageTransform");
        std::memcpy(image, rgb.data(), byteCount);
    }

    CZorvikAPIAccess api_;
    CHVNImageTransformAPIAccess transform_;
    bool colour_;
    std::vector<std::unique_ptr<BareCamera>> cameras_;
    std::vector<std::vector<std::uint8_t>> rgb_; // the cameras take turns with them
};

} // namespace

std::unique_ptr<ImageSource> MakeBareSource(const std::filesystem::path& sdkFolder, std::size_t cameraCount,
                                            bool colour, std::size_t convertedImages)
{
    return std::make_unique<BareSource>(sdkFolder, cameraCount, colour, convertedImages);
}

} // namespace maravel::bench
