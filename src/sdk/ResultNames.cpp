#include "sdk/ResultNames.h"

#include <iterator>

namespace maravel {

namespace {

constexpr ZvkError_t kFirstCode = -40;

// One name for every code from kFirstCode to 0.
constexpr const char* kNames[] = {
    "ZvkErrorInsufficientBufferCount", // -40
    "ZvkErrorRetriesExceeded",         // -39
    "ZvkErrorAmbiguous",               // -38
    "ZvkErrorTLNotFound",              // -37
    "ZvkErrorFeaturesUnavailable",     // -36
    "ZvkErrorUserCallbackException",   // -35
    "ZvkErrorNoChunkData",             // -34
    "ZvkErrorAlready",                 // -33
    "ZvkErrorInvalidAddress",          // -32
    "ZvkErrorNotInitialized",          // -31
    "ZvkErrorNotAvailable",            // -30
    "ZvkErrorXml",                     // -29
    "ZvkErrorUnknown",                 // -28
    "ZvkErrorInUse",                   // -27
    "ZvkErrorParsingChunkData",        // -26
    "ZvkErrorNoData",                  // -25
    "ZvkErrorBusy",                    // -24
    "ZvkErrorUnspecified",             // -23
    "ZvkErrorGenTLUnspecified",        // -22
    "ZvkErrorValidValueSetNotPresent", // -21
    "ZvkErrorIO",                      // -20
    "ZvkErrorIncomplete",              // -19
    "ZvkErrorNotSupported",            // -18
    "ZvkErrorNotImplemented",          // -17
    "ZvkErrorNoTL",                    // -16
    "ZvkErrorInvalidCall",             // -15
    "ZvkErrorResources",               // -14
    "ZvkErrorOther",                   // -13
    "ZvkErrorTimeout",                 // -12
    "ZvkErrorInvalidValue",            // -11
    "ZvkErrorWrongType",               // -10
    "ZvkErrorMoreData",                // -9
    "ZvkErrorStructSize",              // -8
    "ZvkErrorBadParameter",            // -7
    "ZvkErrorInvalidAccess",           // -6
    "ZvkErrorDeviceNotOpen",           // -5
    "ZvkErrorBadHandle",               // -4
    "ZvkErrorNotFound",                // -3
    "ZvkErrorApiNotStarted",           // -2
    "ZvkErrorInternalFault",           // -1
    "ZvkErrorSuccess",                 // 0
};

static_assert(std::size(kNames) == 1 - kFirstCode);

} // namespace

const char* ErrorCodeName(ZvkError_t error) noexcept
{
    if (error < kFirstCode || error > 0) {
        return "Unknown Zorvik Error";
    }
    return kNames[error - kFirstCode];
}

} // namespace maravel
