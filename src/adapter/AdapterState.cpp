#include "adapter/AdapterState.h"

namespace maravel {

Mutex g_adapterMutex;
Mutex g_frameMutex;

std::unique_ptr<CZorvikAPIAccess> g_apiAccess;
std::unique_ptr<CHVNImageTransformAPIAccess> g_imageTransformAccess;
std::unique_ptr<CAdapterData> g_adapterData;
std::uint8_t g_triggerModel = 1;
std::set<ZvkHandle_t> g_acquiringCameras;
FrameReceptionAccess g_receptionAccess;

} // namespace maravel
