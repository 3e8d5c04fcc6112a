#include "PixelFormats.h"

#include <cstring>

namespace maravel::simulated {
namespace {

constexpr PixelFormat Formats[] = {
    {"Mono8", 0x01080001, PixelLayout::Mono, 8, false, 0},
    {"Mono10", 0x01100003, PixelLayout::Mono, 10, false, 0},
    {"Mono12", 0x01100005, PixelLayout::Mono, 12, false, 0},
    {"Mono12Packed", 0x010C0006, PixelLayout::Mono, 12, true, 0},
    {"Mono14", 0x01100025, PixelLayout::Mono, 14, false, 0},
    {"Mono16", 0x01100007, PixelLayout::Mono, 16, false, 0},
    {"BayerGR8", 0x01080008, PixelLayout::Bayer, 8, false, 1},
    {"BayerRG8", 0x01080009, PixelLayout::Bayer, 8, false, 0},
    {"BayerGB8", 0x0108000A, PixelLayout::Bayer, 8, false, 2},
    {"BayerBG8", 0x0108000B, PixelLayout::Bayer, 8, false, 3},
    {"BayerGR10", 0x0110000C, PixelLayout::Bayer, 10, false, 1},
    {"BayerRG10", 0x0110000D, PixelLayout::Bayer, 10, false, 0},
    {"BayerGB10", 0x0110000E, PixelLayout::Bayer, 10, false, 2},
    {"BayerBG10", 0x0110000F, PixelLayout::Bayer, 10, false, 3},
    {"BayerGR12", 0x01100010, PixelLayout::Bayer, 12, false, 1},
    {"BayerRG12", 0x01100011, PixelLayout::Bayer, 12, false, 0},
    {"BayerGB12", 0x01100012, PixelLayout::Bayer, 12, false, 2},
    {"BayerBG12", 0x01100013, PixelLayout::Bayer, 12, false, 3},
    {"BayerGR12Packed", 0x010C002A, PixelLayout::Bayer, 12, true, 1},
    {"BayerRG12Packed", 0x010C002B, PixelLayout::Bayer, 12, true, 0},
    {"BayerGB12Packed", 0x010C002C, PixelLayout::Bayer, 12, true, 2},
    {"BayerBG12Packed", 0x010C002D, PixelLayout::Bayer, 12, true, 3},
    {"RGB8", 0x02180014, PixelLayout::Rgb, 8, false, 0},
    {"BGR8", 0x02180015, PixelLayout::Bgr, 8, false, 0},
    {"YUV422_8_UYVY", 0x0210001F, PixelLayout::Uyvy, 8, false, 0},
    {"YUV422_8", 0x02100032, PixelLayout::Yuyv, 8, false, 0},
};

} // namespace

const PixelFormat* FindPixelFormat(const char* name)
{
    for (const PixelFormat& format : Formats) {
        if (std::strcmp(format.name, name) == 0) {
            return &format;
        }
    }
    return nullptr;
}

const PixelFormat* FindPixelFormat(std::uint32_t code)
{
    for (const PixelFormat& format : Formats) {
        if (format.code == code) {
            return &format;
        }
    }
    return nullptr;
}

const char* PixelFormatNames()
{
    return "Mono8, Mono10, Mono12, Mono12Packed, Mono14, Mono16, Bayer{GR,RG,GB,BG}{8,10,12,12Packed}, RGB8, BGR8, "
           "YUV422_8_UYVY, YUV422_8";
}

std::uint64_t ImageBytes(const PixelFormat& format, std::uint32_t width, std::uint32_t height)
{
    return (static_cast<std::uint64_t>(width) * height * format.BitsPerPixel() + 7) / 8;
}

} // namespace maravel::simulated
