#include "Entries.h"

#include "Check.h"
#include "Output.h"

namespace maravel::certify {
namespace {

// Where the outputs of a call go; large enough for any of them.
struct Outputs
{
    Memory first{256}, second{64};

    template <class T>
    T* First()
    {
        return reinterpret_cast<T*>(first.Data());
    }
    template <class T>
    T* Second()
    {
        return reinterpret_cast<T*>(second.Data());
    }
};

struct Call
{
    const char* entry;
    bool takesHandle;
    ZvkError_t (*make)(const Sdk& sdk, ZvkHandle_t handle, Outputs& out);
};

void Received(ZvkHandle_t, ZvkHandle_t, ZvkFrame_t*) {}

ZvkFrame_t g_frame; // belongs to nobody
char g_pixels[64];

const ZvkFrame_t* Frame()
{
    g_frame.buffer = g_pixels;
    g_frame.bufferSize = sizeof(g_pixels);
    return &g_frame;
}

#define CERTIFY_CALL(entry, takesHandle, ...)                                                                \
    {                                                                                                        \
#entry, takesHandle,                                                                                 \
            []([[maybe_unused]] const Sdk& sdk, [[maybe_unused]] ZvkHandle_t handle,                         \
               [[maybe_unused]] Outputs& out) { return sdk.entry(__VA_ARGS__); }                             \
    }

const Call kCalls[] = {
    CERTIFY_CALL(ZvkCamerasList, false, out.First<ZvkCameraInfo_t>(), 1, out.Second<std::uint32_t>(),
                 sizeof(ZvkCameraInfo_t)),
    CERTIFY_CALL(ZvkCameraInfoQueryByHandle, true, handle, out.First<ZvkCameraInfo_t>(),
                 sizeof(ZvkCameraInfo_t)),
    CERTIFY_CALL(ZvkCameraOpen, false, "no camera", ZvkAccessModeFull, out.First<ZvkHandle_t>()),
    CERTIFY_CALL(ZvkCameraClose, true, handle),
    CERTIFY_CALL(ZvkFeaturesList, true, handle, out.First<ZvkFeatureInfo_t>(), 1, out.Second<std::uint32_t>(),
                 sizeof(ZvkFeatureInfo_t)),
    CERTIFY_CALL(ZvkFeatureAccessQuery, true, handle, "Width", out.First<ZvkBool_t>(),
                 out.Second<ZvkBool_t>()),
    CERTIFY_CALL(ZvkFeatureIntGet, true, handle, "Width", out.First<std::int64_t>()),
    CERTIFY_CALL(ZvkFeatureIntSet, true, handle, "Width", 64),
    CERTIFY_CALL(ZvkFeatureIntRangeQuery, true, handle, "Width", out.First<std::int64_t>(),
                 out.Second<std::int64_t>()),
    CERTIFY_CALL(ZvkFeatureFloatGet, true, handle, "ExposureTime", out.First<double>()),
    CERTIFY_CALL(ZvkFeatureFloatSet, true, handle, "ExposureTime", 1000),
    CERTIFY_CALL(ZvkFeatureFloatRangeQuery, true, handle, "ExposureTime", out.First<double>(),
                 out.Second<double>()),
    CERTIFY_CALL(ZvkFeatureEnumGet, true, handle, "PixelFormat", out.First<const char*>()),
    CERTIFY_CALL(ZvkFeatureEnumSet, true, handle, "PixelFormat", "Mono8"),
    CERTIFY_CALL(ZvkFeatureEnumRangeQuery, true, handle, "PixelFormat", out.First<const char*>(), 1,
                 out.Second<std::uint32_t>()),
    CERTIFY_CALL(ZvkFeatureEnumIsAvailable, true, handle, "PixelFormat", "Mono8", out.First<ZvkBool_t>()),
    CERTIFY_CALL(ZvkFeatureEnumAsInt, true, handle, "PixelFormat", "Mono8", out.First<std::int64_t>()),
    CERTIFY_CALL(ZvkFeatureStringGet, true, handle, "DeviceModelName", out.First<char>(), 256,
                 out.Second<std::uint32_t>()),
    CERTIFY_CALL(ZvkFeatureStringSet, true, handle, "DeviceUserID", "x"),
    CERTIFY_CALL(ZvkFeatureBoolGet, true, handle, "ReverseX", out.First<ZvkBool_t>()),
    CERTIFY_CALL(ZvkFeatureBoolSet, true, handle, "ReverseX", 0),
    CERTIFY_CALL(ZvkFeatureCommandRun, true, handle, "AcquisitionStop"),
    CERTIFY_CALL(ZvkFeatureCommandIsDone, true, handle, "AcquisitionStop", out.First<ZvkBool_t>()),
    CERTIFY_CALL(ZvkPayloadSizeGet, true, handle, out.First<std::uint32_t>()),
    CERTIFY_CALL(ZvkFrameAnnounce, true, handle, Frame(), sizeof(ZvkFrame_t)),
    CERTIFY_CALL(ZvkFrameRevokeAll, true, handle),
    CERTIFY_CALL(ZvkCaptureStart, true, handle),
    CERTIFY_CALL(ZvkCaptureEnd, true, handle),
    CERTIFY_CALL(ZvkCaptureFrameQueue, true, handle, Frame(), &Received),
    CERTIFY_CALL(ZvkCaptureQueueFlush, true, handle),
};

void Expect(const Sdk& sdk, ZvkHandle_t handle, ZvkError_t code, bool handlesOnly)
{
    Findings findings;
    for (const Call& call : kCalls) {
        if (call.takesHandle || !handlesOnly) {
            findings.About(call.entry, [&] {
                Outputs out;
                CERTIFY_REFUSED(call.make(sdk, handle, out), code);
                CERTIFY(out.first.IsUntouched() && out.second.IsUntouched(), "it wrote an output");
            });
        }
    }
    findings.Judge();
}

} // namespace

void ExpectAllRefused(const Sdk& sdk, ZvkHandle_t handle, ZvkError_t code)
{
    Expect(sdk, handle, code, false);
}

void ExpectHandleRefused(const Sdk& sdk, ZvkHandle_t handle, ZvkError_t code)
{
    Expect(sdk, handle, code, true);
}

} // namespace maravel::certify
