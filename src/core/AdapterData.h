// The cameras that the adapter knows and what it keeps for each channel between host calls. Host threads
// under g_adapterMutex; the SDK's threads reach what g_frameMutex guards.
#pragma once

#include "core/FeatureNameIndex.h"
#include "core/FrameFifo.h"
#include "core/Locks.h"
#include "sdk/ZvkTypes.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace maravel {

// Hosts count in the former, cameras in the latter.
inline constexpr double MicrosecondsPerSecond = 1'000'000.0;

enum TriggerModeValue : std::int32_t
{
    TriggerModeManual = 0,          // the host's StartAcquisition fires one software trigger a call
    TriggerModeFreerun = 1,         // the camera streams continuously
    TriggerModeHardwareAuto = 2,    // acquisition runs, every frame waits for a hardware trigger
    TriggerModeHardwareSemiAuto = 3 // a hardware trigger starts the acquisition
};

// A feature whose values cross the host interface as text.
struct CompatibleFeature
{
    std::uint32_t featureIndex; // position in VideoChannelData::featureInfo
    std::string name;
};

// What the first context pointer of every announced frame record refers to. A heap block of its own: the
// record's address and the block's stay the same while the frame is announced.
struct FrameContext
{
    std::uint64_t channelIndex;
    std::uint32_t bufferIndex; // position of the record in VideoChannelData::frames
};

struct VideoChannelData
{
    // Guarded by g_adapterMutex: every host entry holds it.
    ZvkHandle_t cameraHandle = nullptr; // null: the camera is not open
    // The SDK's list, its names and descriptions copied: an SDK need not keep them once the camera is closed.
    std::vector<ZvkFeatureInfo_t> featureInfo;
    std::unique_ptr<char[]> featureTexts;              // one behind the other, each with its null
    std::uint32_t featureCount = 0;                    // entries of featureInfo
    FeatureNameIndex featureNames;                     // into featureInfo
    std::vector<CompatibleFeature> compatibleFeatures; // ascending by name, byte order
    // Target of the colour conversion; no data: frames are delivered as they are.
    ZvkImage convertedImage = {};
    std::size_t convertedSize = 0;    // bytes of its pixels
    std::uint32_t payloadSize = 0;    // bytes, of every frame's buffer
    ZvkPixelFormat_t pixelFormat = 0; // the camera's at the last start
    // What the SDK still holds of the channel. A step that failed half-way leaves some of these set, and the
    // next start takes back just what they name.
    // The SDK knows the records of `frames`: neither they nor their buffers may move.
    bool bFramesAnnounced = false;
    bool bCaptureRunning = false;
    bool bFramesQueued = false;

    bool bAcquisitionStarted = false; // frames announced, capture started and frames queued
    std::int32_t triggerMode = TriggerModeManual;
    bool bExposureTimeAvail = false;
    bool bExposureTimeAbsAvail = false;
    bool bTriggerSourceAvail = false;
    bool bTriggerActivationAvail = false;
    bool bExposureModeAvail = false;
    bool bTriggerModeAvail = false;

    // Changed only under both mutexes and read under either one. Each record's buffer and FrameContext are
    // blocks of the C heap that belong to the channel.
    std::vector<ZvkFrame_t> frames;

    // Guarded by g_frameMutex: the SDK's threads store frames.
    FrameFifo fifo MARAVEL_GUARDED_BY(g_frameMutex);
    std::uint32_t framesComplete MARAVEL_GUARDED_BY(g_frameMutex) = 0;   // since the last stop
    std::uint32_t framesIncomplete MARAVEL_GUARDED_BY(g_frameMutex) = 0; // since the last stop

    // The first record of the feature list whose name equals the given one byte for byte; null when there is
    // none.
    const ZvkFeatureInfo_t* FindFeature(const char* name) const
    {
        const std::size_t position = featureNames.Find(name);
        return position == FeatureNameIndex::NotFound ? nullptr : &featureInfo[position];
    }
};

// The record's context block; null before the channel's first start.
inline FrameContext* ContextOf(const ZvkFrame_t& frame) noexcept
{
    return static_cast<FrameContext*>(frame.context[0]);
}

// A text of the SDK as it goes into a message; the SDK owes one but need not give it.
inline const char* TextOrEmpty(const char* text) noexcept
{
    return text != nullptr ? text : "";
}

// Releases the record's buffer and its FrameContext.
void ReleaseFrameMemory(ZvkFrame_t& frame) noexcept;

// Makes the channel's conversion image empty and releases its pixels.
void ReleaseConvertedImage(VideoChannelData& channel) noexcept;

// The camera list of one start-up. Entry i of both arrays and channel index i belong together.
class CAdapterData
{
public:
    // The most cameras that a list may hold. More than that is a fault of the SDK, not an installation.
    static constexpr std::uint32_t MaxCameras = 4096;

    CAdapterData() = default;
    CAdapterData(const CAdapterData&) = delete;
    CAdapterData& operator=(const CAdapterData&) = delete;
    virtual ~CAdapterData();

    // Makes `count` zeroed camera records and fresh channel records; what was there is released first.
    void Alloc(std::uint32_t count);

    // Releases everything, the blocks that acquisition attached to the channels included. Closes no camera.
    // Safe on an empty object.
    void Free() noexcept;

    std::unique_ptr<VideoChannelData[]> channels;
    std::unique_ptr<ZvkCameraInfo_t[]> cameras;
    std::uint32_t cameraCount = 0;
};

} // namespace maravel
