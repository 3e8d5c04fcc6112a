#include "Camera.h"

#include <cstring>
#include <string>

namespace maravel::aravis {

using backend::Lock;

namespace {

const char* TypeOfLayer(const Identity& identity)
{
    return std::strcmp(identity.protocol, "GigEVision") == 0 ? "GEV" : "U3V";
}

const char* AravisVersion(TextStore& texts)
{
    const std::string version = std::to_string(arv_get_major_version()) + "." +
                                std::to_string(arv_get_minor_version()) + "." +
                                std::to_string(arv_get_micro_version());
    return texts.Keep(version.c_str());
}

} // namespace

Camera::Camera(const Identity& identity, TextStore& texts)
    : identity_(identity), texts_(texts),
      transport_("/SystemInformation",
                 {{"TLID", "Name of the transport layer.", identity.protocol},
                  {"TLVendorName", "Vendor of the transport layer.", "Aravis Project"},
                  {"TLModelName", "Model of the transport layer.", "Aravis"},
                  {"TLVersion", "Version of the transport layer.", AravisVersion(texts)},
                  {"TLType", "What carries the images.", TypeOfLayer(identity)}}),
      interface_("/InterfaceInformation",
                 {{"InterfaceID", "Name of the interface.", identity.protocol},
                  {"InterfaceType", "What carries the images.", TypeOfLayer(identity)}}),
      localDevice_("/DeviceInformation",
                   {{"DeviceID", "What the camera is opened with.", identity.id},
                    {"DeviceAddress", "Where the camera is reached.", identity.address},
                    {"DeviceVendorName", "Vendor of the camera.", identity.vendor},
                    {"DeviceModelName", "Model of the camera.", identity.model},
                    {"DeviceSerialNumber", "Serial number of the camera.", identity.serial}})
{
}

ZvkError_t Camera::Open()
{
    Outcome outcome;
    ObjectPtr<ArvDevice> device(arv_open_device(identity_.id, outcome.Slot()));
    if (device == nullptr) {
        return outcome.Failed() ? outcome.Code() : ZvkErrorNotFound;
    }
    // Aravis also hands out a camera that somebody else controls; it could be looked at, not used.
    if (ARV_IS_GV_DEVICE(device.get()) && !arv_gv_device_is_controller(ARV_GV_DEVICE(device.get()))) {
        return ZvkErrorInvalidAccess;
    }
    if (arv_device_get_genicam(device.get()) == nullptr) {
        return ZvkErrorNotSupported;
    }
    lost_.store(false);
    g_signal_connect_data(device.get(), "control-lost", reinterpret_cast<GCallback>(&Camera::OnControlLost),
                          this, nullptr, GConnectFlags{});
    Lock lock(control);
    device_ = std::move(device);
    features_.emplace(device_.get(), texts_);
    stream_.emplace(device_.get(), texts_.Keep((std::string(identity_.id) + "-0").c_str()), negotiation_,
                    control);
    return ZvkErrorSuccess;
}

void Camera::Close()
{
    frames_.Clear();
    ObjectPtr<ArvDevice> device;
    {
        Lock lock(control);
        stream_.reset();
        features_.reset();
        device = std::move(device_);
    }
    negotiation_.Wait();
    if (device != nullptr) {
        g_signal_handlers_disconnect_by_data(device.get(), this);
    }
}

void Camera::OnControlLost(ArvDevice*, void* camera)
{
    static_cast<Camera*>(camera)->lost_.store(true);
}

ZvkError_t Camera::GetPayloadSize(std::uint64_t* bytes) const
{
    if (device_ == nullptr) {
        return ZvkErrorBadHandle;
    }
    if (IsLost()) {
        return ZvkErrorIO;
    }
    Outcome outcome;
    const std::int64_t size =
        arv_device_get_integer_feature_value(device_.get(), "PayloadSize", outcome.Slot());
    if (!outcome.Failed()) {
        *bytes = size < 0 ? 0 : static_cast<std::uint64_t>(size);
    }
    return outcome.Code();
}

// While images flow, a camera must not change what they look like; many enforce it by this register.
void Camera::LockParameters(bool locked) MARAVEL_NO_THREAD_SAFETY_ANALYSIS
{
    ArvGcNode* node = arv_device_get_feature(device_.get(), "TLParamsLocked");
    Outcome ignored; // a camera that has no such register keeps order by itself
    if (ARV_IS_GC_INTEGER(node)) {
        arv_gc_integer_set_value(ARV_GC_INTEGER(node), locked ? 1 : 0, ignored.Slot());
    }
}

ZvkError_t Camera::StartCapture(ZvkHandle_t camera, ZvkHandle_t stream)
{
    Lock lock(control);
    std::uint64_t payloadSize = 0;
    ZvkError_t error = GetPayloadSize(&payloadSize);
    if (error == ZvkErrorSuccess) {
        error = frames_.Start(device_.get(), camera, stream, payloadSize);
    }
    if (error == ZvkErrorSuccess) {
        LockParameters(true);
    }
    return error;
}

ZvkError_t Camera::EndCapture()
{
    const ZvkError_t error = frames_.End();
    Lock lock(control);
    if (device_ != nullptr && !IsLost()) {
        LockParameters(false);
    }
    return error;
}

} // namespace maravel::aravis
