// The state of the whole adapter. "Started" means that the three pointers are set. Host threads under
// g_adapterMutex; the SDK's threads reach only what g_frameMutex guards.
#pragma once

#include "core/AdapterData.h"
#include "core/Locks.h"
#include "sdk/ApiAccess.h"

#include <cstdint>
#include <memory>
#include <set>

namespace maravel {

// Created by the start-up, released by ShutdownAdapter.
extern std::unique_ptr<CZorvikAPIAccess> g_apiAccess MARAVEL_GUARDED_BY(g_adapterMutex);
extern std::unique_ptr<CHVNImageTransformAPIAccess> g_imageTransformAccess MARAVEL_GUARDED_BY(g_adapterMutex);
extern std::unique_ptr<CAdapterData> g_adapterData MARAVEL_GUARDED_BY(g_adapterMutex);

// The trigger model chosen at start-up: 1 the new one, 0 the old one. Kept for the log's sake.
extern std::uint8_t g_triggerModel MARAVEL_GUARDED_BY(g_adapterMutex);

// Cameras whose acquisition was started and not stopped since.
extern std::set<ZvkHandle_t> g_acquiringCameras MARAVEL_GUARDED_BY(g_frameMutex);

// What the frame callback, which never takes g_adapterMutex, reaches of a started adapter; null otherwise.
// Set after the objects were made and cleared before they go.
struct FrameReceptionAccess
{
    CZorvikAPIAccess* api = nullptr;
    CAdapterData* data = nullptr;
};
extern FrameReceptionAccess g_receptionAccess MARAVEL_GUARDED_BY(g_frameMutex);

// The channel's record; null when the adapter is not started or there is no such channel.
VideoChannelData* FindChannel(std::int64_t channelID) noexcept MARAVEL_REQUIRES(g_adapterMutex);

// Low 32 bits of a handle, as logs show it.
inline unsigned HandleBits(ZvkHandle_t handle) noexcept
{
    return static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(handle));
}

} // namespace maravel
