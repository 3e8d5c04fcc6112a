#include "core/AdapterData.h"

#include "diag/Log.h"

#include <cstdlib>

namespace maravel {

void ReleaseFrameMemory(ZvkFrame_t& frame) noexcept
{
    std::free(frame.buffer);
    frame.buffer = nullptr;
    frame.bufferSize = 0;
    std::free(frame.context[0]);
    frame.context[0] = nullptr;
}

void ReleaseConvertedImage(VideoChannelData& channel) noexcept
{
    if (channel.convertedImage.data != nullptr) {
        std::free(channel.convertedImage.data);
        channel.convertedImage = {};
        channel.convertedSize = 0;
    }
}

CAdapterData::~CAdapterData()
{
    Free();
}

void CAdapterData::Alloc(std::uint32_t count)
{
    WriteLog(__LINE__, "%s(%d)\n", "CAdapterData::Alloc", static_cast<int>(count));
    if (cameras != nullptr) {
        Free();
    }
    auto newCameras = std::make_unique<ZvkCameraInfo_t[]>(count);
    channels = std::make_unique<VideoChannelData[]>(count);
    cameras = std::move(newCameras);
    cameraCount = count;
}

void CAdapterData::Free() noexcept
{
    WriteLog(__LINE__, "%s\n", "CAdapterData::Free");
    for (std::uint32_t i = 0; i < cameraCount; ++i) {
        ReleaseConvertedImage(channels[i]);
        for (ZvkFrame_t& frame : channels[i].frames) {
            ReleaseFrameMemory(frame);
        }
    }
    channels.reset();
    cameras.reset();
    cameraCount = 0;
}

} // namespace maravel
