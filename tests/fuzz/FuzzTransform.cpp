// Every conversion with odd sizes: source and destination have exactly the bytes that they need.
#include "imagetransform/TransformInfo.h"
#include "sdk/ImageTransformEntryPoints.h"
#include "support/Input.h"

#include <vector>

extern "C" {
#define PROTOTYPE(result, name, parameters) result name parameters;
ZVK_IMAGE_TRANSFORM_ENTRY_POINTS(PROTOTYPE)
#undef PROTOTYPE
}

namespace {

constexpr ZvkPixelFormat_t kFormats[] = {
    0x01080001, 0x01080008, 0x01080009, 0x0108000A, 0x0108000B, 0x010A0046, 0x010A0052, 0x010A0054,
    0x010A0056, 0x010A0058, 0x010C0006, 0x010C002A, 0x010C002B, 0x010C002C, 0x010C002D, 0x010C0047,
    0x010C0053, 0x010C0055, 0x010C0057, 0x010C0059, 0x01100003, 0x01100005, 0x01100007, 0x0110000C,
    0x0110000D, 0x0110000E, 0x0110000F, 0x01100010, 0x01100011, 0x01100012, 0x01100013, 0x01100025,
    0x0110002E, 0x0110002F, 0x01100030, 0x01100031, 0x020C001E, 0x020C003C, 0x020C003F, 0x020C0042,
    0x020C005A, 0x0210001F, 0x02100032, 0x0210003B, 0x0210003E, 0x02100041, 0x02100043, 0x02100044,
    0x02100045, 0x02180014, 0x02180015, 0x02180020, 0x0218003A, 0x0218003D, 0x02180040, 0x0218005B,
    0x02200016, 0x02200017, 0x02300018, 0x02300019, 0x0230001A, 0x0230001B, 0x02300033, 0x0230004A,
    0x0230004B, 0x0230005E, 0x0240004C, 0x0240004E, 0x02400050, 0x02400051, 0x0240005F, 0x02400061,
    0x02400063, 0x02400064,
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    maravel::test::Input input(data, size);
    const auto choice = input.Take<std::uint8_t>();
    const ZvkPixelFormat_t format =
        choice < std::size(kFormats) ? kFormats[choice] : input.Take<ZvkPixelFormat_t>();
    const std::uint32_t width = input.Take<std::uint8_t>() % 131;
    const std::uint32_t height = input.Take<std::uint8_t>() % 35;
    const auto settings = input.Take<std::uint8_t>();
    const std::uint32_t sourceGap = settings & 1 ? settings >> 4 : 0;
    const std::uint32_t targetGap = settings & 2 ? settings >> 4 : 0;
    ZvkImage source = {};
    source.size = sizeof source;
    ZvkImage target = source;
    if (ZvkSetImageInfoFromPixelFormat(format, width, height, &source) != ZvkErrorSuccess ||
        ZvkSetImageInfoFromPixelFormat(settings & 4 ? 0x02180015 : ZvkPixelFormatRgb8, width, height,
                                       &target) != ZvkErrorSuccess) {
        return 0;
    }
    source.imageInfo.stride += static_cast<std::int32_t>(sourceGap);
    target.imageInfo.stride += static_cast<std::int32_t>(targetGap);
    ZvkTransformInfo parameters[2] = {};
    std::uint32_t parameterCount = 0;
    if (settings & 8) {
        ZvkSetDebayerMode(ZvkDebayerModeEdgeAware, &parameters[0]);
        parameters[1].kind = settings >> 4;
        parameters[1].value.gamma = input.Take<float>();
        parameterCount = 2;
    }
    const std::size_t line = (std::size_t{width} * (format >> 16 & 0xFF) + 7) / 8;
    const std::size_t sourceSize = sourceGap > 0
                                       ? (line + sourceGap) * (height - 1) + line
                                       : (std::size_t{width} * height * (format >> 16 & 0xFF) + 7) / 8;
    std::vector<std::uint8_t> from(sourceSize);
    const std::string pixels = input.TakeRest();
    std::copy_n(pixels.begin(), std::min(pixels.size(), from.size()), from.begin());
    std::vector<std::uint8_t> to((std::size_t{3} * width + targetGap) * (height - 1) +
                                 std::size_t{3} * width);
    source.data = from.data();
    target.data = to.data();
    ZvkImageTransform(&source, &target, parameters, parameterCount);
    return 0;
}
