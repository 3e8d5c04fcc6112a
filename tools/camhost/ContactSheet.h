// One picture with a small copy of everything that was grabbed.
#pragma once

#include "Image.h"

#include <string>
#include <vector>

namespace maravel::camhost {

class ContactSheet
{
public:
    static constexpr int ThumbnailSide = 160;

    void Add(const Image& image);

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
};

} // namespace maravel::camhost
