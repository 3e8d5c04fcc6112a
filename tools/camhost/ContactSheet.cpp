#include "ContactSheet.h"

#include <stb_easy_font.h>

#include <algorithm>
#include <cmath>
#include <tuple>

namespace maravel::camhost {
namespace {

constexpr int kMargin = 8;
constexpr int kLabelHeight = 14;
constexpr int kCellWidth = ContactSheet::ThumbnailSide + kMargin;
constexpr std::uint8_t kPaper = 32;

std::uint8_t* PixelAt(ColourImage& image, int x, int y)
{
    return image.pixels.data() + 3 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(image.width) +
                                      static_cast<std::size_t>(x));
}

void FillWhite(ColourImage& sheet, int left, int top, int right, int bottom)
{
    for (int y = std::max(top, 0); y < std::min(bottom, sheet.height); ++y) {
        for (int x = std::max(left, 0); x < std::min(right, sheet.width); ++x) {
            std::fill_n(PixelAt(sheet, x, y), 3, std::uint8_t{255});
        }
    }
}

// The font comes as rectangles: four corners each, the first top left, the third bottom right.
void DrawLabel(ColourImage& sheet, int left, int top, std::string text)
{
    struct Corner
    {
        float x, y, z;
        unsigned char colour[4];
    };
    text.resize(std::min<std::size_t>(text.size(), 26)); // what fits above a thumbnail
    std::vector<Corner> corners(4 * 64 * text.size() + 4);
    const int rectangles = stb_easy_font_print(0, 0, text.data(), nullptr, corners.data(),
                                               static_cast<int>(corners.size() * sizeof(Corner)));
    for (int i = 0; i < rectangles; ++i) {
        const Corner& from = corners[static_cast<std::size_t>(4 * i)];
        const Corner& to = corners[static_cast<std::size_t>(4 * i + 2)];
        FillWhite(sheet, left + static_cast<int>(from.x), top + static_cast<int>(from.y),
                  left + static_cast<int>(to.x), top + static_cast<int>(to.y));
    }
}

} // namespace

void ContactSheet::Add(const Image& image)
{
    if (cells_.size() == MostImages) {
        ++left_;
        return;
    }
    cells_.push_back({MakeThumbnail(image, ThumbnailSide), image.camera, image.number});
}

std::vector<std::uint8_t> ContactSheet::EncodeAsPng()
{
    std::ranges::sort(cells_, {}, [](const Cell& cell) { return std::tie(cell.camera, cell.number); });
    int highest = 1;
    for (const Cell& cell : cells_) {
        highest = std::max(highest, cell.thumbnail.height);
    }
    const int cellHeight = highest + kLabelHeight + kMargin;

    const int count = static_cast<int>(cells_.size());
    const int columns = std::max(1, static_cast<int>(std::ceil(std::sqrt(count))));
    const int rows = std::max(1, (count + columns - 1) / columns);
    ColourImage sheet;
    sheet.width = columns * kCellWidth + kMargin;
    sheet.height = rows * cellHeight + kMargin;
    sheet.pixels.assign(3 * static_cast<std::size_t>(sheet.width) * static_cast<std::size_t>(sheet.height),
                        kPaper);
    for (int i = 0; i < count; ++i) {
        const Cell& cell = cells_[static_cast<std::size_t>(i)];
        const int left = kMargin + i % columns * kCellWidth;
        const int top = kMargin + i / columns * cellHeight;
        DrawLabel(sheet, left, top, cell.camera + " #" + std::to_string(cell.number));
        const auto lineBytes = static_cast<std::size_t>(3 * cell.thumbnail.width);
        for (int y = 0; y < cell.thumbnail.height; ++y) {
            std::copy_n(cell.thumbnail.pixels.data() + static_cast<std::size_t>(y) * lineBytes, lineBytes,
                        PixelAt(sheet, left, top + kLabelHeight + y));
        }
    }
    return EncodePng(sheet.width, sheet.height, 3, sheet.pixels.data());
}

} // namespace maravel::camhost
