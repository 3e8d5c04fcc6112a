// Faults of the library that converts images.
#include "Faults.h"

#include <cstring>

namespace maravel::test {
namespace {

constexpr ZvkPixelFormat_t kBgr8 = 0x02180015;

std::uint8_t* PixelsOf(const ZvkImage* image)
{
    return static_cast<std::uint8_t*>(image->data);
}

// Images of one format are taken for images of another one.
template <ZvkPixelFormat_t Format, ZvkPixelFormat_t TakenFor>
void Mistake(certify::Settings&)
{
    REPLACE_TRANSFORM(ZvkImageTransform, [](auto source, auto target, auto parameters, auto count) {
        if (source == nullptr || source->imageInfo.pixelFormat != Format) {
            return own.ZvkImageTransform(source, target, parameters, count);
        }
        ZvkImage taken = *source;
        own.ZvkSetImageInfoFromPixelFormat(TakenFor, source->imageInfo.width, source->imageInfo.height,
                                           &taken);
        return own.ZvkImageTransform(&taken, target, parameters, count);
    });
}

// The library's own conversion, then something more with images that it has converted.
#define AFTER_TRANSFORM(...)                                                                                 \
    REPLACE_TRANSFORM(ZvkImageTransform, [](auto source, auto target, auto parameters, auto count) {         \
        const ZvkError_t result = own.ZvkImageTransform(source, target, parameters, count);                  \
        if (result == ZvkErrorSuccess)                                                                       \
            []([[maybe_unused]] const ZvkImage* from, [[maybe_unused]] ZvkImage* to)                         \
                __VA_ARGS__(source, target);                                                                 \
        return result;                                                                                       \
    })

const FaultRow kTransformFaults[] = {
    {"O1",
     [](auto&) {
         REPLACE_TRANSFORM(
             ZvkSetImageInfoFromPixelFormat, [](auto format, auto width, auto height, auto image) {
                 return width == 640 ? own.ZvkSetImageInfoFromPixelFormat(format, height, width, image)
                                     : own.ZvkSetImageInfoFromPixelFormat(format, width, height, image);
             });
     }},
    {"O2",
     [](auto&) {
         REPLACE_TRANSFORM(ZvkImageTransform, [](auto source, auto target, auto parameters, auto count) {
             return source != nullptr && target != nullptr && source->imageInfo.width == 3
                        ? ZvkErrorBadParameter
                        : own.ZvkImageTransform(source, target, parameters, count);
         });
     }},
    {"O3",
     [](auto&) {
         REPLACE_TRANSFORM(ZvkImageTransform, [](auto source, auto target, auto parameters, auto count) {
             return target == nullptr ? ZvkErrorSuccess
                                      : own.ZvkImageTransform(source, target, parameters, count);
         });
     }},
    {"O4",
     [](auto&) {
         REPLACE_TRANSFORM(ZvkSetImageInfoFromPixelFormat,
                           [](auto format, auto width, auto height, auto image) {
                               return own.ZvkSetImageInfoFromPixelFormat(
                                   format == 0x02180016 ? kBgr8 : format, width, height, image);
                           });
     }},
    {"O5",
     [](auto&) {
         REPLACE_TRANSFORM(ZvkSetImageInfoFromPixelFormat,
                           [](auto format, auto width, auto height, auto image) {
                               return format == 0x0108000A && width == 60 // BayerGB8
                                          ? ZvkErrorNotSupported
                                          : own.ZvkSetImageInfoFromPixelFormat(format, width, height, image);
                           });
     }},
    {"O6", Mistake<0x010C0047, 0x010C0006>},  // Mono12p, Mono12Packed
    {"O7", Mistake<0x010C002B, 0x010C0059>},  // BayerRG12Packed, BayerRG12p
    {"O8", Mistake<0x0108000B, 0x01080009>},  // BayerBG8, BayerRG8
    {"O9", Mistake<0x02100032, 0x0210001F>},  // Yuv422_8, Yuv422
    {"O10", Mistake<0x02300019, 0x02300018>}, // Bgr10, Rgb10
    {"O11",
     [](auto&) {
         AFTER_TRANSFORM({
             if (from->imageInfo.width == 60 && from->imageInfo.pixelFormat == kBgr8) {
                 PixelsOf(to)[3 * 60 * to->imageInfo.height] = 1;
             }
         });
     }},
    {"O12", [](auto&) { AFTER_TRANSFORM({ ++PixelsOf(from)[0]; }); }},
    {"O13",
     [](auto&) {
         REPLACE_TRANSFORM(ZvkImageTransform, [](auto source, auto target, auto parameters, auto count) {
             if (source != nullptr && target != nullptr) {
                 target->imageInfo.height = source->imageInfo.height;
             }
             return own.ZvkImageTransform(source, target, parameters, count);
         });
     }},
    {"O15",
     [](auto&) {
         static std::thread::id only;
         only = std::this_thread::get_id();
         AFTER_TRANSFORM({
             if (std::this_thread::get_id() != only) {
                 std::memset(to->data, 0, 180);
             }
         });
     }},
    {"O16",
     [](auto&) {
         AFTER_TRANSFORM({
             const std::size_t half = std::size_t{3} * from->imageInfo.width * (from->imageInfo.height / 2);
             if (from->imageInfo.width > 1000) {
                 std::memset(PixelsOf(to) + half, 0, 300);
             }
         });
     }},
};

} // namespace

std::span<const FaultRow> TransformFaults()
{
    return kTransformFaults;
}

} // namespace maravel::test
