// One picture with small copies of what was grabbed.
#pragma once

#include "Image.h"

#include <string>
#include <vector>

namespace maravel::camhost {

class ContactSheet
{
public:
    static constexpr int ThumbnailSide = 160;
    static constexpr std::size_t MostImages = 2000; // a sheet of more is beyond what programs open

    // Images beyond MostImages are counted only.
    void Add(const Image& image);
    std::size_t Left() const { return left_; }

    // In the order of cameras and numbers, each labelled with them.
    std::vector<std::uint8_t> EncodeAsPng();

private:
    struct Cell
    {
        ColourImage thumbnail;
        std::string camera;
        int number = 0;
    };

    std::vector<Cell> cells_;
    std::size_t left_ = 0; // images that have no place
};

} // namespace maravel::camhost
