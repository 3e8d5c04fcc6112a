#include "core/AdapterState.h"

namespace maravel {

Mutex g_adapterMutex;
Mutex g_frameMutex;

std::unique_ptr<CZorvikAPIAccess> g_apiAccess;
std::unique_ptr<CHVNImageTransformAPIAccess> g_imageTransformAccess;
std::unique_ptr<CAdapterData> g_adapterData;
std::uint8_t g_triggerModel = 1;
std::set<ZvkHandle_t> g_acquiringCameras;
FrameReceptionAccess g_receptionAccess;

VideoChannelData* FindChannel(std::int64_t channelID) noexcept
{
    if (g_apiAccess == nullptr || g_adapterData == nullptr || channelID < 0 ||
        channelID >= static_cast<std::int64_t>(g_adapterData->cameraCount)) {
        return nullptr;
    }
    return &g_adapterData->channels[static_cast<std::size_t>(channelID)];
}

} // namespace maravel
