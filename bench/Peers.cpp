#include "bench/Peers.h"

#include <libyuv/planar_functions.h>
#include <opencv2/core.hpp>

namespace maravel::bench {
namespace {

void SplitWithLibyuv(const std::uint8_t* rgb, const ImageSize& size, std::uint8_t* planes)
{
    const int width = static_cast<int>(size.width);
    libyuv::SplitRGBPlane(rgb, 3 * width, planes, width, planes + size.pixels(), width,
                          planes + 2 * size.pixels(), width, width, static_cast<int>(size.height));
}

void SplitWithOpenCv(const std::uint8_t* rgb, const ImageSize& size, std::uint8_t* planes)
{
    const int width = static_cast<int>(size.width);
    const int height = static_cast<int>(size.height);
    const cv::Mat image(height, width, CV_8UC3, const_cast<std::uint8_t*>(rgb));
    cv::Mat targets[3] = {cv::Mat(height, width, CV_8UC1, planes),
                          cv::Mat(height, width, CV_8UC1, planes + size.pixels()),
                          cv::Mat(height, width, CV_8UC1, planes + 2 * size.pixels())};
    cv::split(image, targets);
}

} // namespace

std::vector<SplitPeer> SplitPeers()
{
    cv::setNumThreads(1);
    return {{"libyuv", SplitWithLibyuv}, {"OpenCV", SplitWithOpenCv}};
}

} // namespace maravel::bench
