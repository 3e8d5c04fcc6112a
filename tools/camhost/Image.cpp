#include "Image.h"

#include "Failure.h"

#include <stb_image_resize.h>
#include <stb_image_write.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <limits>
#include <stdexcept>

namespace maravel::camhost {
namespace {

std::size_t Pixels(const ImageAttributes& attributes)
{
    return static_cast<std::size_t>(attributes.width) * static_cast<std::size_t>(attributes.height);
}

std::vector<std::uint8_t> EncodePgm(const Image& image)
{
    char header[64];
    const int length =
        std::snprintf(header, sizeof(header), "P5\n%d %d\n%u\n", image.attributes.width,
                      image.attributes.height, (1u << SampleDepth(image.attributes.pixelType)) - 1);
    std::vector<std::uint8_t> file(header, header + length);
    const std::size_t count = Pixels(image.attributes);
    file.reserve(file.size() + 2 * count);
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint16_t sample = SampleAt(image, i);
        file.push_back(static_cast<std::uint8_t>(sample >> 8));
        file.push_back(static_cast<std::uint8_t>(sample & 255));
    }
    return file;
}

} // namespace

unsigned SampleDepth(std::int32_t pixelType)
{
    switch (pixelType) {
    case PixelTypeMono10:
        return 10;
    case PixelTypeMono12:
    case PixelTypeMono12Packed:
        return 12;
    case PixelTypeMono14:
        return 14;
    case PixelTypeMono16:
        return 16;
    default:
        return 8;
    }
}

std::uint16_t SampleAt(const Image& image, std::size_t i)
{
    const std::uint8_t* bytes = image.bytes.data();
    if (image.attributes.pixelType == PixelTypeMono8) {
        return bytes[i];
    }
    if (image.attributes.pixelType != PixelTypeMono12Packed) {
        return static_cast<std::uint16_t>(bytes[2 * i] | (bytes[2 * i + 1] << 8));
    }
    // The middle one of three bytes holds both low nibbles, the first sample's in its low half.
    const std::uint8_t* pair = bytes + i / 2 * 3;
    return static_cast<std::uint16_t>(i % 2 == 0 ? (pair[0] << 4) | (pair[1] & 15)
                                                 : (pair[2] << 4) | (pair[1] >> 4));
}

std::vector<std::uint8_t> Interleaved(const Image& image)
{
    const std::size_t count = Pixels(image.attributes);
    std::vector<std::uint8_t> pixels(3 * count);
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t plane = 0; plane < 3; ++plane) {
            pixels[3 * i + plane] = image.bytes[plane * count + i];
        }
    }
    return pixels;
}

std::size_t ImageBytes(const ImageAttributes& attributes)
{
    const std::size_t count = Pixels(attributes);
    switch (attributes.pixelType) {
    case PixelTypeMono8:
        return count;
    case PixelTypeRgbPlanes:
        return 3 * count;
    case PixelTypeMono12Packed:
        return (3 * count + 1) / 2;
    default:
        return 2 * count;
    }
}

std::vector<std::uint8_t> EncodePng(int width, int height, int channels, const std::uint8_t* pixels)
{
    // The fastest there is: a camera must not outrun the writer. Files are a little larger for it.
    stbi_write_png_compression_level = 5;
    stbi_write_force_png_filter = 2;

    std::vector<std::uint8_t> file;
    const auto append = [](void* context, void* data, int size) {
        const auto* bytes = static_cast<const std::uint8_t*>(data);
        static_cast<std::vector<std::uint8_t>*>(context)->assign(bytes, bytes + size);
    };
    if (stbi_write_png_to_func(append, &file, width, height, channels, pixels, width * channels) == 0) {
        throw std::bad_alloc();
    }
    return file;
}

std::vector<std::uint8_t> EncodeImage(const Image& image)
{
    const ImageAttributes& a = image.attributes;
    if (a.pixelType == PixelTypeMono8) {
        return EncodePng(a.width, a.height, 1, image.bytes.data());
    }
    if (a.pixelType == PixelTypeRgbPlanes) {
        return EncodePng(a.width, a.height, 3, Interleaved(image).data());
    }
    return EncodePgm(image);
}

std::string ImageFileName(const Image& image)
{
    std::string name = image.camera;
    for (char& c : name) {
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '-' && c != '.') {
            c = '_';
        }
    }
    char number[16];
    std::snprintf(number, sizeof(number), "_%04d", image.number);
    return name + number + (SampleDepth(image.attributes.pixelType) == 8 ? ".png" : ".pgm");
}

ColourImage MakeThumbnail(const Image& image, int side)
{
    const ImageAttributes& a = image.attributes;
    std::vector<std::uint8_t> pixels;
    if (a.pixelType == PixelTypeRgbPlanes) {
        pixels = Interleaved(image);
    }
    else {
        const unsigned shift = SampleDepth(a.pixelType) - 8;
        for (std::size_t i = 0; i < Pixels(a); ++i) {
            pixels.insert(pixels.end(), 3, static_cast<std::uint8_t>(SampleAt(image, i) >> shift));
        }
    }
    const double scale = std::min(1.0, static_cast<double>(side) / std::max(a.width, a.height));
    ColourImage small;
    small.width = std::max(1, static_cast<int>(a.width * scale));
    small.height = std::max(1, static_cast<int>(a.height * scale));
    small.pixels.resize(static_cast<std::size_t>(3 * small.width) * static_cast<std::size_t>(small.height));
    if (stbir_resize_uint8(pixels.data(), a.width, a.height, 0, small.pixels.data(), small.width,
                           small.height, 0, 3) == 0) {
        throw std::bad_alloc();
    }
    return small;
}

} // namespace maravel::camhost
