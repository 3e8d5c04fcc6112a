#include "bench/Peers.h"

#include "imagetransform/PixelFormats.h"

#include <libyuv.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

namespace maravel::bench {
namespace {

using imagetransform::BayerPhase;
using imagetransform::Family;
using imagetransform::Packing;
using imagetransform::PixelFormat;
using imagetransform::RgbOrder;
using imagetransform::YuvOrder;

cv::Mat Wrap(const std::uint8_t* pixels, const ImageSize& size, int type)
{
    return {static_cast<int>(size.height), static_cast<int>(size.width), type,
            const_cast<std::uint8_t*>(pixels)};
}

ColourPeer WithOpenCv(int sourceType, int code, const char* name = "OpenCV")
{
    return {name, [=](const std::uint8_t* source, const ImageSize& size, std::uint8_t* rgb) {
                const bool words = CV_MAT_DEPTH(sourceType) == CV_16U;
                // 16 bits a colour are twice the target's bytes, which its memory has not.
                static cv::Mat wide;
                cv::Mat target = Wrap(rgb, size, CV_8UC3);
                cv::cvtColor(Wrap(source, size, sourceType), words ? wide : target, code);
            }};
}

using RowFunction = int (*)(const std::uint8_t*, int, std::uint8_t*, int, int, int);

// Line by line, so that what lies between the two steps stays in the nearest cache.
ColourPeer WithLibyuv(RowFunction toArgb, std::size_t bytesPerPixel)
{
    return {"libyuv", [=](const std::uint8_t* source, const ImageSize& size, std::uint8_t* rgb) {
                const int width = static_cast<int>(size.width);
                static std::vector<std::uint8_t> argb;
                argb.resize(4 * size.width);
                for (std::size_t row = 0; row < size.height; ++row) {
                    toArgb(source + row * size.width * bytesPerPixel, 0, argb.data(), 0, width, 1);
                    libyuv::ARGBToRAW(argb.data(), 0, rgb + 3 * row * size.width, 0, width, 1);
                }
            }};
}

ColourPeer WithLibyuvAtOnce(RowFunction convert, int bytesPerPixel)
{
    return {"libyuv", [=](const std::uint8_t* source, const ImageSize& size, std::uint8_t* rgb) {
                const int width = static_cast<int>(size.width);
                convert(source, bytesPerPixel * width, rgb, 3 * width, width, static_cast<int>(size.height));
            }};
}

// Planes with one U and V for four pixels: as many bytes as the packed 4:1:1.
void ConvertI420(const std::uint8_t* source, const ImageSize& size, std::uint8_t* rgb)
{
    const int width = static_cast<int>(size.width);
    const std::uint8_t* u = source + size.pixels();
    libyuv::I420ToRAW(source, width, u, width / 2, u + size.pixels() / 4, width / 2, rgb, 3 * width, width,
                      static_cast<int>(size.height));
}

std::vector<ColourPeer> MosaicPeers(const PixelFormat& format, bool edgeAware)
{
    struct Codes
    {
        int bilinear, edgeAware;
    };
    const auto codes = [&]() -> Codes {
        switch (format.phase) {
        case BayerPhase::GR:
            return {cv::COLOR_BayerGRBG2RGB, cv::COLOR_BayerGRBG2RGB_EA};
        case BayerPhase::RG:
            return {cv::COLOR_BayerRGGB2RGB, cv::COLOR_BayerRGGB2RGB_EA};
        case BayerPhase::GB:
            return {cv::COLOR_BayerGBRG2RGB, cv::COLOR_BayerGBRG2RGB_EA};
        case BayerPhase::BG:
            break;
        }
        return {cv::COLOR_BayerBGGR2RGB, cv::COLOR_BayerBGGR2RGB_EA};
    }();
    const int type = format.packing == Packing::Byte ? CV_8UC1 : CV_16UC1;
    std::vector<ColourPeer> peers = {WithOpenCv(type, codes.bilinear)};
    if (edgeAware) {
        peers.push_back(WithOpenCv(type, codes.edgeAware, "OpenCV edge-aware"));
    }
    return peers;
}

std::vector<ColourPeer> RgbPeers(const PixelFormat& format)
{
    if (format.packing != Packing::Byte) {
        return {};
    }
    switch (format.rgbOrder) {
    case RgbOrder::Rgb:
        return {};
    case RgbOrder::Bgr:
        return {WithOpenCv(CV_8UC3, cv::COLOR_BGR2RGB), WithLibyuvAtOnce(libyuv::RAWToRGB24, 3)};
    case RgbOrder::Rgba:
        return {WithOpenCv(CV_8UC4, cv::COLOR_RGBA2RGB), WithLibyuvAtOnce(libyuv::ARGBToRGB24, 4)};
    case RgbOrder::Bgra:
        break;
    }
    return {WithOpenCv(CV_8UC4, cv::COLOR_BGRA2RGB), WithLibyuvAtOnce(libyuv::ARGBToRAW, 4)};
}

std::vector<ColourPeer> YuvPeers(const PixelFormat& format)
{
    switch (format.yuvOrder) {
    case YuvOrder::UYVY:
        return {WithOpenCv(CV_8UC2, cv::COLOR_YUV2RGB_UYVY), WithLibyuv(libyuv::UYVYToARGB, 2)};
    case YuvOrder::YUYV:
        return {WithOpenCv(CV_8UC2, cv::COLOR_YUV2RGB_YUY2), WithLibyuv(libyuv::YUY2ToARGB, 2)};
    case YuvOrder::UYYVYY:
    case YuvOrder::YYUYYV:
        return {{"libyuv", ConvertI420}};
    case YuvOrder::UYV:
    case YuvOrder::YUV:
        break;
    }
    return {WithOpenCv(CV_8UC3, cv::COLOR_YUV2RGB)};
}

} // namespace

std::vector<ColourPeer> ColourPeers(std::uint32_t code, bool edgeAware)
{
    cv::setNumThreads(1);
    const PixelFormat& format = *imagetransform::FindPixelFormat(code);
    switch (format.family) {
    case Family::Mono:
        return format.packing == Packing::Byte
                   ? std::vector<ColourPeer>{WithOpenCv(CV_8UC1, cv::COLOR_GRAY2RGB)}
                   : std::vector<ColourPeer>{};
    case Family::Bayer:
        return MosaicPeers(format, edgeAware);
    case Family::Rgb:
        return RgbPeers(format);
    case Family::Yuv:
        break;
    }
    return YuvPeers(format);
}

} // namespace maravel::bench
