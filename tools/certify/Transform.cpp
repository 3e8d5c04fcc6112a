// The library that converts images: from every format that the adapter has converted, to RGB8.
#include "Groups.h"
#include "Output.h"
#include "Pictures.h"
#include "Session.h"

#include <array>
#include <chrono>
#include <cstring>
#include <thread>

namespace maravel::certify::transform {

// Even, for formats that share a value between pixels, and of no vector's width.
constexpr std::uint32_t kWidth = 60, kHeight = 6;

constexpr int kRounding = 2;  // of a library that rounds where another one cuts off
constexpr int kNuance = 8;    // a colour that one can hardly tell from the right one
constexpr int kWrongHue = 40; // another range or matrix does not come to as much

constexpr int kConversions = 50; // of each of two threads

ZvkImage RecordOf(void* data)
{
    ZvkImage image{};
    image.size = sizeof(image);
    image.data = data;
    return image;
}

// As the adapter does it. The first result that is no success.
ZvkError_t Convert(const Sdk& sdk, const Picture& picture, Memory& source, Memory& target)
{
    ZvkImage from = RecordOf(source.Data());
    ZvkImage to = RecordOf(target.Data());
    std::ranges::copy(picture.source, source.Data());
    for (const auto& [code, image] : {std::pair{picture.format.code, &from}, {ZvkPixelFormatRgb8, &to}}) {
        const ZvkError_t result =
            sdk.ZvkSetImageInfoFromPixelFormat(code, picture.width, picture.height, image);
        if (result != 0) {
            return result;
        }
    }
    return sdk.ZvkImageTransform(&from, &to, nullptr, 0);
}

// Asks the same of the converted picture of each format that `wanted` chooses. What is refused is up to O5.
template <class Wanted, class Body>
void ForEachConverted(const Session& session, const Wanted& wanted, const Body& body)
{
    Findings findings;
    for (const Format& format : ConvertedFormats()) {
        if (!wanted(format)) {
            continue;
        }
        const Picture picture = PictureOf(format, kWidth, kHeight);
        Memory source(picture.source.size());
        Memory target(picture.rgb.size());
        if (Convert(session.Sdk(), picture, source, target) == 0) {
            findings.About(format.Name(), [&] { body(picture, source, target); });
        }
    }
    findings.Judge("the library converts no such format");
}

template <Family Of, bool IsWhole>
void ExpectRight(Session& session)
{
    const auto wanted = [](const Format& format) {
        return format.family == Of && (format.bits == Bits::Whole) == IsWhole;
    };
    ForEachConverted(session, wanted, [](const Picture& picture, Memory&, Memory& target) {
        const int deviation = Deviation(picture, target.Data());
        CERTIFY(deviation <= kRounding, "a colour is wrong by " << deviation << " of 255");
    });
}

// What a library for cameras cannot do without.
bool IsUsual(const Format& format)
{
    return format.depth == 8 &&
           (format.family == Family::Bayer || format.order == "RGB" || format.order == "BGR");
}

void ExpectAllConverted(Session& session)
{
    Findings findings;
    std::string refused;
    for (const Format& format : ConvertedFormats()) {
        const Picture picture = PictureOf(format, kWidth, kHeight);
        Memory source(picture.source.size());
        Memory target(picture.rgb.size());
        const ZvkError_t result = Convert(session.Sdk(), picture, source, target);
        if (IsUsual(format)) {
            findings.About(format.Name(), [&] { CERTIFY(result == 0, "it is refused: " << NameOf(result)); });
        }
        else if (result != 0) {
            refused += " " + format.Name();
        }
    }
    if (!refused.empty()) {
        session.Warn("the library does not convert" + refused);
    }
    findings.Judge();
}

// Some libraries refuse an odd size of formats that share a value between pixels, but not of RGB8.
void ExpectSizes(Session& session)
{
    constexpr std::array<std::uint32_t, 2> sizes[] = {{1, 1}, {3, 3}, {7, 1}, {1, 5}};
    Findings findings;
    for (const Format& format : ConvertedFormats()) {
        for (const auto& size : sizes) {
            findings.About(format.Name() + " " + std::to_string(size[0]) + " x " + std::to_string(size[1]),
                           [&] {
                               const Picture picture = PictureOf(format, size[0], size[1]);
                               Memory source(picture.source.size());
                               Memory target(picture.rgb.size());
                               const ZvkError_t result = Convert(session.Sdk(), picture, source, target);
                               CERTIFY(target.WallsStand(), "it wrote outside the target");
                               if (format.code == ZvkPixelFormatRgb8) {
                                   CERTIFY(result == 0 && Deviation(picture, target.Data()) == 0,
                                           "it is not converted right: " << NameOf(result));
                               }
                           });
        }
    }
    findings.Judge();
    const Picture empty = PictureOf(ConvertedFormats().front(), 0, 0);
    Memory source(16);
    Memory target(16);
    Convert(session.Sdk(), empty, source, target);
    CERTIFY(target.IsUntouched() && target.WallsStand(), "an image of 0 x 0 pixels was written");
}

void ExpectHues(Session& session)
{
    std::string nuances;
    ForEachConverted(
        session, [](const Format& format) { return format.family == Family::Yuv; },
        [&](const Picture& picture, Memory&, Memory& target) {
            const int deviation = Deviation(picture, target.Data());
            CERTIFY(deviation <= kWrongHue, "a colour is wrong by " << deviation << " of 255");
            if (deviation > kNuance) {
                nuances += " " + picture.format.Name() + " (" + std::to_string(deviation) + ")";
            }
        });
    if (!nuances.empty()) {
        session.Warn("colours deviate, as with another range or matrix:" + nuances);
    }
}

void ExpectUnequalSizesRefused(Session& session)
{
    const Sdk& sdk = session.Sdk();
    const Picture picture = PictureOf({0x02180015, Family::Rgb, "BGR"}, kWidth, kHeight);
    Memory source(picture.source.size());
    Memory target(picture.rgb.size());
    std::ranges::copy(picture.source, source.Data());
    ZvkImage from = RecordOf(source.Data());
    ZvkImage to = RecordOf(target.Data());
    CERTIFY_OK(sdk.ZvkSetImageInfoFromPixelFormat(picture.format.code, kWidth, kHeight, &from));
    CERTIFY_OK(sdk.ZvkSetImageInfoFromPixelFormat(ZvkPixelFormatRgb8, kWidth, kHeight / 2, &to));
    const ZvkError_t result = sdk.ZvkImageTransform(&from, &to, nullptr, 0);
    CERTIFY(target.IsUntouched(target.Size() / 2) && target.WallsStand(),
            "it wrote past the end of the smaller target");
    if (result == 0) {
        session.Warn("an image is converted into one of half its height");
    }
    else {
        CERTIFY(target.IsUntouched(), "it wrote into the target: " << NameOf(result));
    }
}

// How often the conversions of one thread went wrong.
int Mistakes(const Sdk& sdk, const Picture& picture)
{
    int mistakes = 0;
    Memory source(picture.source.size());
    for (int i = 0; i < kConversions; ++i) {
        Memory target(picture.rgb.size());
        if (Convert(sdk, picture, source, target) != 0 || Deviation(picture, target.Data()) > kRounding) {
            ++mistakes;
        }
    }
    return mistakes;
}

void ExpectThreads(Session& session)
{
    const Picture pictures[] = {PictureOf({0x01080009, Family::Bayer, "RGGB"}, kWidth, kHeight),
                                PictureOf({0x02180015, Family::Rgb, "BGR"}, kWidth, kHeight)};
    int mistakes[2] = {};
    const auto start = [&](int i) {
        return std::thread([&, i] { mistakes[i] = Mistakes(session.Sdk(), pictures[i]); });
    };
    for (int i : {0, 1}) {
        start(i).join();
        CERTIFY(mistakes[i] == 0,
                mistakes[i] << " of " << kConversions << " images of another thread are wrong");
    }
    std::thread threads[] = {start(0), start(1)};
    for (std::thread& thread : threads) {
        thread.join();
    }
    if (const int both = mistakes[0] + mistakes[1]; both > 0) {
        session.Warn(std::to_string(both) + " of " + std::to_string(2 * kConversions) +
                     " images are wrong when two threads convert at once");
    }
}

// Of a size that a library shares out among threads.
void ExpectLarge(Session& session)
{
    constexpr std::uint32_t side = 1200;
    const Format format{0x01080009, Family::Bayer, "RGGB"};
    const Picture lines = PictureOf(format, side, 2);
    Picture picture{.format = format, .width = side, .height = side, .source = {}, .rgb = {}};
    for (std::uint32_t y = 0; y < side; y += 2) {
        picture.source.insert(picture.source.end(), lines.source.begin(), lines.source.end());
    }
    Memory source(picture.source.size());
    Memory target(std::size_t{3} * side * side);
    const auto begin = std::chrono::steady_clock::now();
    CERTIFY_OK(Convert(session.Sdk(), picture, source, target));
    const std::chrono::duration<double, std::micro> time = std::chrono::steady_clock::now() - begin;
    session.Tell(format.Name() + ": " + std::to_string(static_cast<int>(side * side / time.count())) +
                 " MP/s");
    for (std::size_t y = 2; y < side - 2; ++y) {
        const std::uint8_t* line = target.Data() + 3 * (y * side + 2);
        for (std::size_t x = 0; x < 3 * (side - 4); ++x) {
            CERTIFY(std::abs(line[x] - lines.rgb[x]) <= kRounding, "line " << y << " is wrong");
        }
    }
    CERTIFY(target.WallsStand(), "it wrote outside the target");
}

const Check kChecks[] = {
    {"O1", Stage::Loaded, Effect::Reads,
     [](Session& session) {
         Findings findings;
         for (const Format& format : ConvertedFormats()) {
             std::uint8_t pixel = 0;
             ZvkImage image = RecordOf(&pixel);
             if (session.Sdk().ZvkSetImageInfoFromPixelFormat(format.code, 640, 480, &image) != 0) {
                 continue;
             }
             findings.About(format.Name(), [&] {
                 CERTIFY_EQUAL(image.imageInfo.width, 640u);
                 CERTIFY_EQUAL(image.imageInfo.height, 480u);
                 CERTIFY(image.size == sizeof(image) && image.data == &pixel,
                         "the record's size or data was changed");
             });
         }
         findings.Judge("the library knows no format");
     }},
    {"O2", Stage::Loaded, Effect::Reads, ExpectSizes},
    {"O3", Stage::Loaded, Effect::Reads,
     [](Session& session) {
         const Sdk& sdk = session.Sdk();
         Memory pixels(3);
         ZvkImage image = RecordOf(pixels.Data());
         CERTIFY_OK(sdk.ZvkSetImageInfoFromPixelFormat(ZvkPixelFormatRgb8, 1, 1, &image));
         CERTIFY_REFUSED(sdk.ZvkSetImageInfoFromPixelFormat(ZvkPixelFormatRgb8, 1, 1, nullptr),
                         ZvkErrorBadParameter);
         CERTIFY_REFUSED(sdk.ZvkImageTransform(nullptr, &image, nullptr, 0), ZvkErrorBadParameter);
         CERTIFY_REFUSED(sdk.ZvkImageTransform(&image, nullptr, nullptr, 0), ZvkErrorBadParameter);
         Output<ZvkImage> small;
         small->size = sizeof(ZvkImage) - 8;
         CERTIFY_REFUSED(sdk.ZvkSetImageInfoFromPixelFormat(ZvkPixelFormatRgb8, 1, 1, small.Get()),
                         ZvkErrorStructSize);
         CERTIFY(pixels.IsUntouched(), "pixels were written");
     }},
    {"O4", Stage::Loaded, Effect::Reads,
     [](Session& session) {
         for (const ZvkPixelFormat_t code : {0u, 0x02180016u, 0xFFFFFFFFu}) {
             Output<ZvkImageInfo> info;
             ZvkImage image = RecordOf(nullptr);
             image.imageInfo = *info;
             const ZvkError_t result = session.Sdk().ZvkSetImageInfoFromPixelFormat(code, 640, 480, &image);
             CERTIFY(result < 0, "format " << code << " is described");
             CERTIFY(std::memcmp(&image.imageInfo, info.Get(), sizeof(ZvkImageInfo)) == 0,
                     "the record was written");
         }
     }},
    {"O5", Stage::Loaded, Effect::Reads, ExpectAllConverted},
    {"O6", Stage::Loaded, Effect::Reads, ExpectRight<Family::Mono, false>},
    {"O7", Stage::Loaded, Effect::Reads, ExpectRight<Family::Bayer, false>},
    {"O8", Stage::Loaded, Effect::Reads, ExpectRight<Family::Bayer, true>},
    {"O9", Stage::Loaded, Effect::Reads, ExpectHues},
    {"O10", Stage::Loaded, Effect::Reads, ExpectRight<Family::Rgb, true>},
    {"O11", Stage::Loaded, Effect::Reads,
     [](Session& session) {
         ForEachConverted(
             session, [](auto&) { return true; },
             [](const Picture&, Memory&, Memory& target) {
                 CERTIFY(target.WallsStand(), "it wrote outside the target");
             });
     }},
    {"O12", Stage::Loaded, Effect::Reads,
     [](Session& session) {
         ForEachConverted(
             session, [](auto&) { return true; },
             [](const Picture& picture, Memory& source, Memory&) {
                 CERTIFY(std::memcmp(source.Data(), picture.source.data(), source.Size()) == 0 &&
                             source.WallsStand(),
                         "the camera's image was changed");
             });
     }},
    {"O13", Stage::Loaded, Effect::Reads, ExpectUnequalSizesRefused},
    {"O15", Stage::Loaded, Effect::Reads, ExpectThreads},
    {"O16", Stage::Loaded, Effect::Reads, ExpectLarge},
};

const Group kGroup{'O', kChecks};

} // namespace maravel::certify::transform
