#include "sdk/Names.h"

#include <algorithm>
#include <iterator>

namespace maravel {

namespace {

constexpr const char* kResultNames[] = {
#define ZVK_NAME(name, code) #name,
    ZVK_RESULTS(ZVK_NAME)
#undef ZVK_NAME
};
constexpr ZvkError_t kResultCount = std::size(kResultNames);

static_assert(kResultCount == 41);

struct PixelFormatEntry
{
    ZvkPixelFormat_t format;
    const char* name;
};

// GenICam PFNC codes with the SDK's own names for them, ascending by code.
constexpr PixelFormatEntry kPixelFormats[] = {
    {0x01080001, "ZvkPixelFormatMono8"},
    {0x01080008, "ZvkPixelFormatBayerGR8"},
    {0x01080009, "ZvkPixelFormatBayerRG8"},
    {0x0108000A, "ZvkPixelFormatBayerGB8"},
    {0x0108000B, "ZvkPixelFormatBayerBG8"},
    {0x010A0046, "ZvkPixelFormatMono10p"},
    {0x010A0052, "ZvkPixelFormatBayerBG10p"},
    {0x010A0054, "ZvkPixelFormatBayerGB10p"},
    {0x010A0056, "ZvkPixelFormatBayerGR10p"},
    {0x010A0058, "ZvkPixelFormatBayerRG10p"},
    {0x010C0006, "ZvkPixelFormatMono12Packed"},
    {0x010C002A, "ZvkPixelFormatBayerGR12Packed"},
    {0x010C002B, "ZvkPixelFormatBayerRG12Packed"},
    {0x010C002C, "ZvkPixelFormatBayerGB12Packed"},
    {0x010C002D, "ZvkPixelFormatBayerBG12Packed"},
    {0x010C0047, "ZvkPixelFormatMono12p"},
    {0x010C0053, "ZvkPixelFormatBayerBG12p"},
    {0x010C0055, "ZvkPixelFormatBayerGB12p"},
    {0x010C0057, "ZvkPixelFormatBayerGR12p"},
    {0x010C0059, "ZvkPixelFormatBayerRG12p"},
    {0x01100003, "ZvkPixelFormatMono10"},
    {0x01100005, "ZvkPixelFormatMono12"},
    {0x01100007, "ZvkPixelFormatMono16"},
    {0x0110000C, "ZvkPixelFormatBayerGR10"},
    {0x0110000D, "ZvkPixelFormatBayerRG10"},
    {0x0110000E, "ZvkPixelFormatBayerGB10"},
    {0x0110000F, "ZvkPixelFormatBayerBG10"},
    {0x01100010, "ZvkPixelFormatBayerGR12"},
    {0x01100011, "ZvkPixelFormatBayerRG12"},
    {0x01100012, "ZvkPixelFormatBayerGB12"},
    {0x01100013, "ZvkPixelFormatBayerBG12"},
    {0x01100025, "ZvkPixelFormatMono14"},
    {0x0110002E, "ZvkPixelFormatBayerGR16"},
    {0x0110002F, "ZvkPixelFormatBayerRG16"},
    {0x01100030, "ZvkPixelFormatBayerGB16"},
    {0x01100031, "ZvkPixelFormatBayerBG16"},
    {0x020C001E, "ZvkPixelFormatYuv411"},
    {0x020C003C, "ZvkPixelFormatYCbCr411_8_CbYYCrYY"},
    {0x020C003F, "ZvkPixelFormatYCbCr601_411_8_CbYYCrYY"},
    {0x020C0042, "ZvkPixelFormatYCbCr709_411_8_CbYYCrYY"},
    {0x020C005A, "ZvkPixelFormatYCbCr411_8"},
    {0x0210001F, "ZvkPixelFormatYuv422"},
    {0x02100032, "ZvkPixelFormatYuv422_8"},
    {0x0210003B, "ZvkPixelFormatYCbCr422_8"},
    {0x0210003E, "ZvkPixelFormatYCbCr601_422_8"},
    {0x02100041, "ZvkPixelFormatYCbCr709_422_8"},
    {0x02100043, "ZvkPixelFormatYCbCr422_8_CbYCrY"},
    {0x02100044, "ZvkPixelFormatYCbCr601_422_8_CbYCrY"},
    {0x02100045, "ZvkPixelFormatYCbCr709_422_8_CbYCrY"},
    {0x02180014, "ZvkPixelFormatRgb8"},
    {0x02180015, "ZvkPixelFormatBgr8"},
    {0x02180020, "ZvkPixelFormatYuv444"},
    {0x0218003A, "ZvkPixelFormatYCbCr8_CbYCr"},
    {0x0218003D, "ZvkPixelFormatYCbCr601_8_CbYCr"},
    {0x02180040, "ZvkPixelFormatYCbCr709_8_CbYCr"},
    {0x0218005B, "ZvkPixelFormatYCbCr8"},
    {0x02200016, "ZvkPixelFormatArgb8"},
    {0x02200017, "ZvkPixelFormatBgra8"},
    {0x02300018, "ZvkPixelFormatRgb10"},
    {0x02300019, "ZvkPixelFormatBgr10"},
    {0x0230001A, "ZvkPixelFormatRgb12"},
    {0x0230001B, "ZvkPixelFormatBgr12"},
    {0x02300033, "ZvkPixelFormatRgb16"},
    {0x0230004A, "ZvkPixelFormatBgr14"},
    {0x0230004B, "ZvkPixelFormatBgr16"},
    {0x0230005E, "ZvkPixelFormatRgb14"},
    {0x0240004C, "ZvkPixelFormatBgra10"},
    {0x0240004E, "ZvkPixelFormatBgra12"},
    {0x02400050, "ZvkPixelFormatBgra14"},
    {0x02400051, "ZvkPixelFormatBgra16"},
    {0x0240005F, "ZvkPixelFormatRgba10"},
    {0x02400061, "ZvkPixelFormatRgba12"},
    {0x02400063, "ZvkPixelFormatRgba14"},
    {0x02400064, "ZvkPixelFormatRgba16"},
};

static_assert(std::size(kPixelFormats) == 74);
static_assert(std::is_sorted(std::begin(kPixelFormats), std::end(kPixelFormats),
                             [](const auto& a, const auto& b) { return a.format < b.format; }));

} // namespace

const char* ErrorCodeName(ZvkError_t error) noexcept
{
    return error <= 0 && error > -kResultCount ? kResultNames[-error] : "Unknown Zorvik Error";
}

const char* PixelFormatName(ZvkPixelFormat_t format) noexcept
{
    const auto* const entry = std::lower_bound(
        std::begin(kPixelFormats), std::end(kPixelFormats), format,
        [](const PixelFormatEntry& e, ZvkPixelFormat_t wanted) { return e.format < wanted; });
    return entry != std::end(kPixelFormats) && entry->format == format ? entry->name : "Unknown pixel format";
}

} // namespace maravel
