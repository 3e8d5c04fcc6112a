// Draws the simulated cameras' images: colour bars over a grey ramp, fixed on the sensor, with a moving
// square and the frame's number; or the pictures of a folder. What does not move is drawn once for a geometry
// and copied into every frame. One renderer per camera, used by that camera's thread only; pictures are
// loaded before.
#pragma once

#include "PixelFormats.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace maravel::simulated {

struct FrameGeometry
{
    const PixelFormat* format = nullptr;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t offsetX = 0;
    std::uint32_t offsetY = 0;
    std::uint32_t sensorWidth = 0; // after binning
    std::uint32_t sensorHeight = 0;
    bool reverseX = false;
    bool reverseY = false;

    bool operator==(const FrameGeometry&) const = default;
};

struct Colour
{
    std::uint8_t red;
    std::uint8_t green;
    std::uint8_t blue;
};

class FrameRenderer
{
public:
    // Loads the folder's pictures, in the order of their names. False: `error` says why.
    bool LoadPictures(const std::filesystem::path& folder, std::string* error);

    // Draws the frame with that number into `buffer`, at most `size` bytes; returns the image's bytes.
    std::uint64_t Draw(const FrameGeometry& geometry, std::uint64_t frameNumber, std::uint8_t* buffer,
                       std::uint64_t size);

private:
    struct Picture
    {
        std::uint32_t width = 0;
        std::uint32_t height = 0;
        std::vector<std::uint8_t> pixels; // red, green, blue
    };

    Colour Scene(const Picture* picture, const FrameGeometry& geometry, std::uint32_t x,
                 std::uint32_t y) const;
    const std::vector<std::uint8_t>& Background(const FrameGeometry& geometry, std::size_t index);

    std::vector<Picture> pictures_;
    FrameGeometry geometry_;
    std::vector<std::vector<std::uint8_t>> backgrounds_; // of geometry_, one per picture or the pattern's one
};

} // namespace maravel::simulated
