#include "GObjects.h"

namespace maravel::aravis {
namespace {

ZvkError_t DeviceErrorCode(int code)
{
    switch (code) {
    case ARV_DEVICE_ERROR_WRONG_FEATURE:
        return ZvkErrorWrongType;
    case ARV_DEVICE_ERROR_FEATURE_NOT_FOUND:
    case ARV_DEVICE_ERROR_NOT_FOUND:
        return ZvkErrorNotFound;
    case ARV_DEVICE_ERROR_TIMEOUT:
        return ZvkErrorTimeout;
    case ARV_DEVICE_ERROR_INVALID_PARAMETER:
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_INVALID_PARAMETER:
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_INVALID_ADDRESS:
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_BAD_ALIGNMENT:
        return ZvkErrorInvalidValue;
    case ARV_DEVICE_ERROR_NO_STREAM_CHANNEL:
        return ZvkErrorNotAvailable;
    case ARV_DEVICE_ERROR_NOT_CONTROLLER:
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_WRITE_PROTECT:
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_ACCESS_DENIED:
        return ZvkErrorInvalidAccess;
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_NOT_IMPLEMENTED:
        return ZvkErrorNotSupported;
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_BUSY:
        return ZvkErrorBusy;
    case ARV_DEVICE_ERROR_NOT_CONNECTED:
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR:
    case ARV_DEVICE_ERROR_TRANSFER_ERROR:
        return ZvkErrorIO;
    default:
        return ZvkErrorInternalFault;
    }
}

ZvkError_t DescriptionErrorCode(int code)
{
    switch (code) {
    case ARV_GC_ERROR_OUT_OF_RANGE:
    case ARV_GC_ERROR_ENUM_ENTRY_NOT_FOUND:
    case ARV_GC_ERROR_INVALID_LENGTH:
        return ZvkErrorInvalidValue;
    case ARV_GC_ERROR_READ_ONLY:
        return ZvkErrorInvalidAccess;
    case ARV_GC_ERROR_NODE_NOT_FOUND:
        return ZvkErrorNotFound;
    case ARV_GC_ERROR_PROPERTY_NOT_DEFINED:
    case ARV_GC_ERROR_PVALUE_NOT_DEFINED:
    case ARV_GC_ERROR_EMPTY_ENUMERATION:
        return ZvkErrorNotAvailable;
    default:
        return ZvkErrorInternalFault;
    }
}

} // namespace

ZvkError_t Outcome::Code() const
{
    if (error_ == nullptr) {
        return ZvkErrorSuccess;
    }
    if (error_->domain == arv_device_error_quark()) {
        return DeviceErrorCode(error_->code);
    }
    if (error_->domain == arv_gc_error_quark()) {
        return DescriptionErrorCode(error_->code);
    }
    // What is left are the system's own: sockets and the USB bus.
    return g_error_matches(error_, G_IO_ERROR, G_IO_ERROR_TIMED_OUT) ? ZvkErrorTimeout : ZvkErrorIO;
}

} // namespace maravel::aravis
