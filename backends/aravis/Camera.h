// One camera that Aravis has found: what is known of it, and its device while it is open.
#pragma once

#include "FrameStream.h"
#include "GObjects.h"
#include "ModuleFeatures.h"
#include "NodeFeature.h"
#include "TextStore.h"
#include "backends/common/Lock.h"

#include <atomic>
#include <memory>
#include <optional>
#include <vector>

namespace maravel::aravis {

// What the list tells of a camera. The texts live until ZvkShutdown.
struct Identity
{
    const char* id;      // what it is opened with
    const char* address; // where it is reached: an IP address, or its place on the USB bus
    const char* vendor;
    const char* model;
    const char* serial;
    const char* protocol; // "GigEVision", "USB3Vision"
};

class Camera
{
public:
    Camera(const Identity& identity, TextStore& texts);
    ~Camera() { Close(); }
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

    const Identity& Who() const { return identity_; }

    // The camera is the caller's alone meanwhile; takes up to seconds.
    ZvkError_t Open();
    // Ends and takes back whatever runs. A camera that is gone takes longer.
    void Close();

    // Held over every use of the device and its features: neither may be used by two threads at once.
    backend::Mutex control;
    ArvDevice* Device() const MARAVEL_REQUIRES(control) { return device_.get(); }

    // True from the moment when the camera was found not to answer any more until it is opened again.
    bool IsLost() const { return lost_.load(); }

    const Module& TransportFeatures() const { return transport_; }
    const Module& InterfaceFeatures() const { return interface_; }
    const Module& DeviceFeatures() const { return localDevice_; }
    // Null while the camera is closed.
    const Module* Features() const MARAVEL_REQUIRES(control) { return features_ ? &*features_ : nullptr; }
    const Module* StreamFeatures() const MARAVEL_REQUIRES(control) { return stream_ ? &*stream_ : nullptr; }

    ZvkError_t GetPayloadSize(std::uint64_t* bytes) const MARAVEL_REQUIRES(control);
    ZvkError_t StartCapture(ZvkHandle_t camera, ZvkHandle_t stream);
    ZvkError_t EndCapture();
    FrameStream& Frames() { return frames_; }

    // The library's part, under its lock.
    enum class State
    {
        Closed,
        Changing, // being opened or closed
        Open
    };
    State state = State::Closed;
    bool present = false; // found by the last look round
    ZvkHandle_t transportHandle = nullptr;
    ZvkHandle_t interfaceHandle = nullptr;
    ZvkHandle_t cameraHandle = nullptr;
    ZvkHandle_t localDeviceHandle = nullptr;
    std::vector<ZvkHandle_t> streamHandles;

private:
    static void OnControlLost(ArvDevice* device, void* camera);
    void LockParameters(bool locked);

    const Identity identity_;
    TextStore& texts_;
    const TextModule transport_;
    const TextModule interface_;
    const TextModule localDevice_;

    ObjectPtr<ArvDevice> device_ MARAVEL_GUARDED_BY(control);
    std::optional<NodeModule> features_ MARAVEL_GUARDED_BY(control);
    std::optional<StreamModule> stream_ MARAVEL_GUARDED_BY(control);
    PacketSizeNegotiation negotiation_;
    FrameStream frames_;
    std::atomic<bool> lost_{false};
};

} // namespace maravel::aravis
