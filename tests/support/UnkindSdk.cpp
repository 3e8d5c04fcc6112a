#include "support/UnkindSdk.h"

#include "sdk/ZvkTypes.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

namespace maravel::test {

namespace {

constexpr int kFramesOfOneFormat = 31;
constexpr std::chrono::microseconds kRequeue{100};
constexpr std::uint32_t kCameras = 8;

UnkindSdk* g_unkind;
SdkControl* g_sdk;
std::atomic<ZvkFrameCallback> g_callback; // the adapter's
std::atomic<int> g_frames;
thread_local bool isInCallback;
thread_local bool isPumping;

std::mutex g_textMutex;
std::map<ZvkHandle_t, std::deque<std::string>> g_texts; // by camera

// The SDK's own function behind an entry point of ours.
template <class Function>
Function Original(Function, const char* entry)
{
    return reinterpret_cast<Function>(g_sdk->SimOriginalEntry(entry));
}

ZvkError_t CommandRun(ZvkHandle_t camera, const char* name)
{
    const ZvkError_t result = Original(&CommandRun, "ZvkFeatureCommandRun")(camera, name);
    for (std::uint32_t i = 0; i < kCameras && result == 0 && std::string_view(name) == "AcquisitionStart";
         ++i) {
        void* handle = nullptr;
        void* stream = nullptr;
        if (g_sdk->SimCameraHandles(i, &handle, &stream) == 0 && handle == camera) {
            g_sdk->SimEmitFrame(i, nullptr);
        }
    }
    return result;
}

void Received(ZvkHandle_t camera, ZvkHandle_t stream, ZvkFrame_t* frame)
{
    if (++g_frames % kFramesOfOneFormat == 0) {
        frame->pixelFormat =
            frame->pixelFormat == ZvkPixelFormatMono8 ? ZvkPixelFormatMono16 : ZvkPixelFormatMono8;
    }
    isInCallback = true;
    g_callback.load()(camera, stream, frame);
    isInCallback = false;
}

ZvkError_t FrameQueue(ZvkHandle_t camera, const ZvkFrame_t* frame, ZvkFrameCallback callback)
{
    g_callback = callback;
    if (isInCallback) {
        std::this_thread::sleep_for(kRequeue);
    }
    return Original(&FrameQueue, "ZvkCaptureFrameQueue")(camera, frame, &Received);
}

ZvkError_t EnumGet(ZvkHandle_t camera, const char* name, const char** value)
{
    if (!isPumping && g_unkind->onMessages) {
        isPumping = true;
        g_unkind->onMessages();
        isPumping = false;
    }
    return Original(&EnumGet, "ZvkFeatureEnumGet")(camera, name, value);
}

ZvkError_t FeaturesList(ZvkHandle_t camera, ZvkFeatureInfo_t* list, std::uint32_t length,
                        std::uint32_t* found, std::uint32_t size)
{
    const ZvkError_t result = Original(&FeaturesList, "ZvkFeaturesList")(camera, list, length, found, size);
    const std::lock_guard lock(g_textMutex);
    std::deque<std::string>& texts = g_texts[camera];
    for (std::uint32_t i = 0; result == 0 && list != nullptr && i < std::min(length, *found); ++i) {
        list[i].name = texts.emplace_back(list[i].name).c_str();
        list[i].description = texts.emplace_back(list[i].description).c_str();
    }
    return result;
}

ZvkError_t CameraClose(ZvkHandle_t camera)
{
    const ZvkError_t result = Original(&CameraClose, "ZvkCameraClose")(camera);
    const std::lock_guard lock(g_textMutex);
    if (result == 0 && g_texts.contains(camera)) {
        for (std::string& text : g_texts[camera]) {
            std::fill(text.begin(), text.end(), '#');
        }
        g_texts.erase(camera);
    }
    return result;
}

void Shutdown()
{
    Original(&Shutdown, "ZvkShutdown")();
    std::thread([] {}).join();
}

ZvkError_t Transform(const ZvkImage* source, ZvkImage* target, const ZvkTransformInfo* info,
                     std::uint32_t count)
{
    const auto own =
        reinterpret_cast<decltype(&Transform)>(g_sdk->SimTransformOriginalEntry("ZvkImageTransform"));
    const ZvkError_t result = own(source, target, info, count);
    return result == ZvkErrorBadParameter ? ZvkErrorSuccess : result;
}

bool g_joins;

} // namespace

UnkindSdk::UnkindSdk(SdkControl& sdk, bool joinsAtShutdown)
{
    g_unkind = this;
    g_sdk = &sdk;
    g_joins = joinsAtShutdown;
    Install();
}

UnkindSdk::~UnkindSdk()
{
    g_sdk->SimReset();
    g_sdk->SimTransformReset();
    g_texts.clear();
}

void UnkindSdk::Install()
{
    g_frames = 0;
    const std::pair<const char*, void*> entries[] = {
        {"ZvkFeatureCommandRun", reinterpret_cast<void*>(&CommandRun)},
        {"ZvkCaptureFrameQueue", reinterpret_cast<void*>(&FrameQueue)},
        {"ZvkFeatureEnumGet", reinterpret_cast<void*>(&EnumGet)},
        {"ZvkFeaturesList", reinterpret_cast<void*>(&FeaturesList)},
        {"ZvkCameraClose", reinterpret_cast<void*>(&CameraClose)},
        {g_joins ? "ZvkShutdown" : nullptr, reinterpret_cast<void*>(&Shutdown)},
    };
    for (const auto& [entry, function] : entries) {
        g_sdk->SimReplaceEntry(entry, function);
    }
    g_sdk->SimTransformReplaceEntry("ZvkImageTransform", reinterpret_cast<void*>(&Transform));
}

} // namespace maravel::test
