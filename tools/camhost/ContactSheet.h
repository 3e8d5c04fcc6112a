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

    // Labels the image with its serial number and its number.
    void Add(const Image& image);

    bool Empty() const { return cells_.empty(); }

    std::vector<std::uint8_t> EncodeAsPng() const;

private:
    struct Cell
    {
        ColourImage thumbnail;
        std::string label;
    };

    std::vector<Cell> cells_;
};

} // namespace maravel::camhost
