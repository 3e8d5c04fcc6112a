#include "FrameRenderer.h"

#include "backends/common/Files.h"

#include <algorithm>
#include <array>
#include <cstring>

#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_NO_STDIO
#define STBI_NO_THREAD_LOCALS
#define STBI_NO_HDR
#define STBI_NO_LINEAR
#define STBI_ONLY_PNG
#define STBI_ONLY_PNM
#include <stb_image.h>

namespace maravel::simulated {
namespace {

constexpr std::size_t MaxPictures = 64;

constexpr Colour Bars[] = {{255, 255, 255}, {255, 255, 0}, {0, 255, 255}, {0, 255, 0},
                           {255, 0, 255},   {255, 0, 0},   {0, 0, 255},   {0, 0, 0}};

// Digits, five columns by seven rows, a row a byte, leftmost column in bit 4.
constexpr std::uint8_t Digits[10][7] = {
    {0x0E, 0x11, 0x13, 0x15, 0x19, 0x11, 0x0E}, {0x04, 0x0C, 0x04, 0x04, 0x04, 0x04, 0x0E},
    {0x0E, 0x11, 0x01, 0x02, 0x04, 0x08, 0x1F}, {0x1F, 0x02, 0x04, 0x02, 0x01, 0x11, 0x0E},
    {0x02, 0x06, 0x0A, 0x12, 0x1F, 0x02, 0x02}, {0x1F, 0x10, 0x1E, 0x01, 0x01, 0x11, 0x0E},
    {0x06, 0x08, 0x10, 0x1E, 0x11, 0x11, 0x0E}, {0x1F, 0x01, 0x02, 0x04, 0x08, 0x08, 0x08},
    {0x0E, 0x11, 0x11, 0x0E, 0x11, 0x11, 0x0E}, {0x0E, 0x11, 0x11, 0x0F, 0x01, 0x02, 0x0C}};
constexpr std::uint32_t DigitCount = 6;

std::uint32_t Luma(Colour colour)
{
    return (colour.red * 299U + colour.green * 587U + colour.blue * 114U + 500U) / 1000U;
}

std::uint8_t Clamp(int value)
{
    return static_cast<std::uint8_t>(std::clamp(value, 0, 255));
}

void PutSample(const PixelFormat& format, std::uint8_t* image, std::uint64_t index, std::uint32_t eightBits)
{
    if (format.sampleBits == 8) {
        image[index] = static_cast<std::uint8_t>(eightBits);
        return;
    }
    const std::uint32_t value = eightBits * ((1U << format.sampleBits) - 1) / 255U;
    if (!format.packed) {
        image[2 * index] = static_cast<std::uint8_t>(value);
        image[2 * index + 1] = static_cast<std::uint8_t>(value >> 8);
        return;
    }
    // First and last byte of a pair hold the high eight bits, the middle one both low halves, the first's
    // below.
    std::uint8_t* pair = image + index / 2 * 3;
    const std::uint32_t low = value & 0x0FU;
    if (index % 2 == 0) {
        pair[0] = static_cast<std::uint8_t>(value >> 4);
        pair[1] = static_cast<std::uint8_t>((pair[1] & 0xF0U) | low);
    }
    else {
        pair[2] = static_cast<std::uint8_t>(value >> 4);
        pair[1] = static_cast<std::uint8_t>((pair[1] & 0x0FU) | (low << 4));
    }
}

void PutYuv(std::uint8_t* luma, std::uint8_t* chroma, bool firstOfPair, Colour colour)
{
    const int red = colour.red;
    const int green = colour.green;
    const int blue = colour.blue;
    *luma = static_cast<std::uint8_t>(Luma(colour));
    *chroma = firstOfPair ? Clamp((-169 * red - 331 * green + 500 * blue + 128000 + 500) / 1000)
                          : Clamp((500 * red - 419 * green - 81 * blue + 128000 + 500) / 1000);
}

void PutPixel(const PixelFormat& format, std::uint8_t* image, std::uint32_t width, std::uint32_t x,
              std::uint32_t y, Colour colour)
{
    const std::uint64_t index = static_cast<std::uint64_t>(y) * width + x;
    switch (format.layout) {
    case PixelLayout::Mono:
        PutSample(format, image, index, Luma(colour));
        break;
    case PixelLayout::Bayer: {
        const std::uint32_t place = (x % 2) + 2 * (y % 2);
        const std::uint32_t sample = place == format.bayerRed        ? colour.red
                                     : place == 3U - format.bayerRed ? colour.blue
                                                                     : colour.green;
        PutSample(format, image, index, sample);
        break;
    }
    case PixelLayout::Rgb:
        image[3 * index] = colour.red;
        image[3 * index + 1] = colour.green;
        image[3 * index + 2] = colour.blue;
        break;
    case PixelLayout::Bgr:
        image[3 * index] = colour.blue;
        image[3 * index + 1] = colour.green;
        image[3 * index + 2] = colour.red;
        break;
    case PixelLayout::Uyvy:
        PutYuv(image + 2 * index + 1, image + 2 * index, index % 2 == 0, colour);
        break;
    case PixelLayout::Yuyv:
        PutYuv(image + 2 * index, image + 2 * index + 1, index % 2 == 0, colour);
        break;
    }
}

// A rectangle of one colour, cut at the image's edges. Starts and ends on even columns, where pairs of pixels
// share their colour.
void Fill(const FrameGeometry& geometry, std::uint8_t* image, std::uint32_t left, std::uint32_t top,
          std::uint32_t size, Colour colour)
{
    const std::uint32_t right = std::min(left + size, geometry.width);
    const std::uint32_t bottom = std::min(top + size, geometry.height);
    for (std::uint32_t y = top; y < bottom; ++y) {
        for (std::uint32_t x = left; x < right; ++x) {
            PutPixel(*geometry.format, image, geometry.width, x, y, colour);
        }
    }
}

void DrawNumber(const FrameGeometry& geometry, std::uint8_t* image, std::uint64_t number)
{
    const std::uint32_t dot = std::max(2U, std::min(geometry.width, geometry.height) / 160U / 2U * 2U);
    for (std::uint32_t position = DigitCount; position-- > 0; number /= 10) {
        const auto& digit = Digits[number % 10];
        for (std::uint32_t row = 0; row < 9; ++row) {
            for (std::uint32_t column = 0; column < 6; ++column) {
                const bool lit =
                    row > 0 && row < 8 && column > 0 && (digit[row - 1] >> (5 - column) & 1U) != 0;
                const Colour colour = lit ? Colour{255, 255, 255} : Colour{0, 0, 0};
                Fill(geometry, image, (position * 6 + column) * dot, row * dot, dot, colour);
            }
        }
    }
}

void DrawSquare(const FrameGeometry& geometry, std::uint8_t* image, std::uint64_t number)
{
    const std::uint32_t size = std::max(2U, std::min(geometry.width, geometry.height) / 12U / 2U * 2U);
    const std::uint32_t room = geometry.width > size ? geometry.width - size : 1;
    const auto left = static_cast<std::uint32_t>(number * 8 % room) / 2U * 2U;
    Fill(geometry, image, left, geometry.height / 2, size, {255, 128, 0});
}

bool IsPicture(const std::filesystem::path& file)
{
    const std::filesystem::path extension = file.extension();
    for (const char* const known : {".png", ".pgm", ".ppm"}) {
        if (extension == backend::PathFromUtf8(known)) {
            return true;
        }
    }
    return false;
}

} // namespace

bool FrameRenderer::LoadPictures(const std::filesystem::path& folder, std::string* error)
{
    std::vector<std::filesystem::path> files;
    std::error_code failure;
    for (const auto& entry : std::filesystem::directory_iterator(folder, failure)) {
        if (IsPicture(entry.path())) {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    if (files.empty() || files.size() > MaxPictures) {
        *error = std::string("the folder holds ") + std::to_string(files.size()) +
                 " pictures; expected 1 to " + std::to_string(MaxPictures) + " PNG, PGM or PPM files";
        return false;
    }
    for (const std::filesystem::path& file : files) {
        std::string bytes;
        const bool read = backend::ReadWholeFile(file, &bytes);
        int width = 0;
        int height = 0;
        int channels = 0;
        stbi_uc* pixels =
            stbi_load_from_memory(reinterpret_cast<const stbi_uc*>(bytes.data()),
                                  static_cast<int>(bytes.size()), &width, &height, &channels, 3);
        if (!read || pixels == nullptr) {
            *error = std::string("the picture '") + file.filename().string() +
                     "' cannot be read; expected a PNG, PGM or PPM file";
            return false;
        }
        Picture picture{static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), {}};
        picture.pixels.assign(pixels, pixels + static_cast<std::size_t>(width) *
                                                   static_cast<std::size_t>(height) * 3);
        stbi_image_free(pixels);
        pictures_.push_back(std::move(picture));
    }
    return true;
}

// The colour at a place of the image: of the picture stretched over the sensor, or of the pattern.
Colour FrameRenderer::Scene(const Picture* picture, const FrameGeometry& geometry, std::uint32_t x,
                            std::uint32_t y) const
{
    const std::uint32_t imageX = geometry.reverseX ? geometry.width - 1 - x : x;
    const std::uint32_t imageY = geometry.reverseY ? geometry.height - 1 - y : y;
    const std::uint64_t sensorX = geometry.offsetX + imageX;
    const std::uint64_t sensorY = geometry.offsetY + imageY;
    if (picture != nullptr) {
        const std::uint64_t column =
            std::min<std::uint64_t>(sensorX * picture->width / geometry.sensorWidth, picture->width - 1);
        const std::uint64_t row =
            std::min<std::uint64_t>(sensorY * picture->height / geometry.sensorHeight, picture->height - 1);
        const std::uint8_t* pixel = &picture->pixels[(row * picture->width + column) * 3];
        return {pixel[0], pixel[1], pixel[2]};
    }
    if (sensorY * 4 < static_cast<std::uint64_t>(geometry.sensorHeight) * 3) {
        return Bars[std::min<std::uint64_t>(sensorX * std::size(Bars) / geometry.sensorWidth,
                                            std::size(Bars) - 1)];
    }
    const auto grey = static_cast<std::uint8_t>(sensorX * 255 / geometry.sensorWidth);
    return {grey, grey, grey};
}

const std::vector<std::uint8_t>& FrameRenderer::Background(const FrameGeometry& geometry, std::size_t index)
{
    if (geometry != geometry_) {
        geometry_ = geometry;
        backgrounds_.assign(std::max<std::size_t>(1, pictures_.size()), {});
    }
    std::vector<std::uint8_t>& background = backgrounds_[index];
    if (background.empty()) {
        // Two samples to spare: the last pair of a packed format may be half.
        background.resize(ImageBytes(*geometry.format, geometry.width, geometry.height) + 2);
        const Picture* picture = pictures_.empty() ? nullptr : &pictures_[index];
        for (std::uint32_t y = 0; y < geometry.height; ++y) {
            for (std::uint32_t x = 0; x < geometry.width; ++x) {
                PutPixel(*geometry.format, background.data(), geometry.width, x, y,
                         Scene(picture, geometry, x, y));
            }
        }
    }
    return background;
}

std::uint64_t FrameRenderer::Draw(const FrameGeometry& geometry, std::uint64_t frameNumber,
                                  std::uint8_t* buffer, std::uint64_t size)
{
    const std::size_t index =
        pictures_.empty() ? 0 : static_cast<std::size_t>(frameNumber % pictures_.size());
    const std::vector<std::uint8_t>& background = Background(geometry, index);
    const std::uint64_t bytes = ImageBytes(*geometry.format, geometry.width, geometry.height);
    std::memcpy(buffer, background.data(), static_cast<std::size_t>(std::min(bytes, size)));
    if (pictures_.empty() && bytes <= size) {
        DrawSquare(geometry, buffer, frameNumber);
        DrawNumber(geometry, buffer, frameNumber);
    }
    return bytes;
}

} // namespace maravel::simulated
