// A way to get images from cameras, for the comparison of the whole: through the adapter, or by a loop on the
// SDK that does no more than copy the same bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>

namespace maravel::bench {

class ImageSource
{
public:
    virtual ~ImageSource() = default;

    // Starts and stops all cameras. Throw std::runtime_error when one refuses.
    virtual void Start() = 0;
    virtual void Stop() = 0;

    // Copies the camera's oldest image to the memory and returns true, or returns false when none waits.
    virtual bool Fetch(std::size_t camera, std::uint8_t* image) = 0;
};

// A host of the built adapter, through its public header alone.
std::unique_ptr<ImageSource> MakeAdapterSource(const std::filesystem::path& adapter, std::size_t cameraCount);

// The bare loop. The SDK folder is one that nothing else in this process uses. Its cameras share the
// converted images, one at least.
std::unique_ptr<ImageSource> MakeBareSource(const std::filesystem::path& sdkFolder, std::size_t cameraCount,
                                            bool colour, std::size_t convertedImages = 1);

} // namespace maravel::bench
