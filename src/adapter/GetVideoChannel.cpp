// The adapter's one exported function: start-up on the first index, then one channel a call.

#include "adapter/Lifecycle.h"
#include "core/CameraAccess.h"

#include <type_traits>

namespace maravel {

namespace {

bool HandOut(char* errorText, std::int32_t channelIndex, VideoChannelDescriptor& descriptor)
    MARAVEL_REQUIRES(g_adapterMutex)
{
    if (g_apiAccess == nullptr) {
        return ReportError(__LINE__, errorText, "%s: ERROR while loading '%s'.", kEntry, "ZvkC.dll");
    }
    if (g_imageTransformAccess == nullptr) {
        return ReportError(__LINE__, errorText, "%s: ERROR while loading ImageTransformLibrary.", kEntry);
    }
    if (g_adapterData == nullptr) {
        return ReportError(__LINE__, errorText, "%s: ERROR. Invalid AdapterData pointer.", kEntry);
    }
    if (FindChannel(channelIndex) == nullptr) {
        WriteLog(__LINE__, "%s: No further video channels found!\n", kEntry);
        return false;
    }
    WriteLog(__LINE__, "%s: Accessing channelID %d...\n", kEntry, channelIndex);
    if (InitializeVideoChannel(errorText, descriptor, channelIndex)) {
        WriteLog(__LINE__, "%s: Video channelID %d found and initialized!\n", kEntry, channelIndex);
        descriptor.openResult = 0;
        return true;
    }
    // Once more: it may also have been open before, and its stream goes with it.
    const auto index = static_cast<std::uint32_t>(channelIndex);
    CloseCamera(*g_apiAccess, *g_adapterData, index, kEntry, Patience::Endless);
    const ZvkCameraInfo_t& camera = g_adapterData->cameras[index];
    ReportError(__LINE__, errorText, "%s: Unable to open cameraID %d (%s [%s]).", kEntry, channelIndex,
                TextOrEmpty(camera.modelName), TextOrEmpty(camera.cameraIdString));
    descriptor.openResult = 1;
    return true;
}

} // namespace

} // namespace maravel

extern "C" MARAVEL_EXPORT std::int32_t MARAVEL_CALL
GetVideoChannel(char* errorText, std::int32_t channelIndex, VideoChannelDescriptor* descriptor) noexcept
{
    using namespace maravel;
    return GuardedCall(__LINE__, kEntry, errorText, [&]() MARAVEL_REQUIRES(g_adapterMutex) -> std::int32_t {
        if (descriptor == nullptr) {
            ReportError(__LINE__, errorText, "%s: ERROR. Null pointer passed for the descriptor.", kEntry);
            return MARAVEL_FAILURE;
        }
        if (channelIndex == 0) {
            StartAdapter();
        }
        return HandOut(errorText, channelIndex, *descriptor) ? MARAVEL_SUCCESS : MARAVEL_FAILURE;
    });
}

static_assert(std::is_convertible_v<decltype(&GetVideoChannel), GetVideoChannelFn>);
