#include "bench/ColourBench.h"

#include "common/HelperThreads.h"
#include "imagetransform/Bands.h"
#include "imagetransform/ImageTransform.h"
#include "imagetransform/PixelFormats.h"
#include "imagetransform/TransformInfo.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <stdexcept>

namespace maravel::bench {
namespace {

using imagetransform::Family;
using imagetransform::ImageTransform;
using imagetransform::Packing;
using imagetransform::PixelFormat;

constexpr ImageSize kVga{"VGA", 640, 480};
constexpr ImageSize k1080p{"1080p", 1920, 1080};
constexpr ImageSize k5Mp{"5 MP", 2592, 1944};
constexpr ImageSize k20Mp{"20 MP", 5472, 3648};

const char* const kCopy = "libc copy";
const char* const kLibrary = "library";
// The peers' names, in the order of the table's columns.
const char* const kPeers[] = {"OpenCV", "libyuv", "OpenCV edge-aware"};

void Convert(const PixelFormat& format, bool edgeAware, const ImageSize& size, const std::uint8_t* source,
             std::uint8_t* rgb)
{
    ZvkImage from = {};
    from.size = sizeof from;
    ZvkImage to = from;
    const auto width = static_cast<std::uint32_t>(size.width);
    const auto height = static_cast<std::uint32_t>(size.height);
    ImageTransform::ZvkSetImageInfoFromPixelFormat(format.code, width, height, &from);
    ImageTransform::ZvkSetImageInfoFromPixelFormat(ZvkPixelFormatRgb8, width, height, &to);
    from.data = const_cast<std::uint8_t*>(source);
    to.data = rgb;
    ZvkTransformInfo mode = {};
    ImageTransform::ZvkSetDebayerMode(edgeAware ? ZvkDebayerModeEdgeAware : ZvkDebayerModeBilinear, &mode);
    if (ImageTransform::ZvkImageTransform(&from, &to, &mode, 1) != ZvkErrorSuccess) {
        throw std::logic_error("the library does not convert " + std::string(format.name));
    }
}

// What the slowest format of a group must reach.
struct Goal
{
    const char* group;
    const char* what; // the reference, for people
    double limit;
    std::vector<std::string> references; // whichever of them is the fastest
    bool (*applies)(const PixelFormat& format, bool edgeAware);
};

bool IsBytes(const PixelFormat& format, Family family)
{
    return format.family == family && format.packing == Packing::Byte;
}

const std::vector<Goal>& Goals()
{
    static const std::vector<Goal> goals = {
        {"mosaics of 8 bits",
         "OpenCV",
         1.1,
         {"OpenCV"},
         [](const PixelFormat& format, bool edgeAware) {
             return IsBytes(format, Family::Bayer) && !edgeAware;
         }},
        {"mosaics of 10 to 16 bits",
         "OpenCV with 16 bits",
         1.5,
         {"OpenCV"},
         [](const PixelFormat& format, bool) {
             return format.family == Family::Bayer && format.packing != Packing::Byte;
         }},
        {"mosaics of 8 bits, edge-aware",
         "OpenCV's bilinear",
         0.5,
         {"OpenCV"},
         [](const PixelFormat& format, bool edgeAware) {
             return IsBytes(format, Family::Bayer) && edgeAware;
         }},
        {"mosaics of 8 bits, edge-aware",
         "OpenCV's edge-aware",
         1.5,
         {"OpenCV edge-aware"},
         [](const PixelFormat& format, bool edgeAware) {
             return IsBytes(format, Family::Bayer) && edgeAware;
         }},
        {"YUV and YCbCr",
         "the best peer",
         1.0,
         {"OpenCV", "libyuv"},
         [](const PixelFormat& format, bool) { return format.family == Family::Yuv; }},
        {"BGR8, RGBa8, BGRa8",
         "the best peer",
         1.0,
         {"OpenCV", "libyuv"},
         [](const PixelFormat& format, bool) {
             return IsBytes(format, Family::Rgb) && format.code != ZvkPixelFormatRgb8;
         }},
        {"RGB8",
         "the libc copy",
         0.98,
         {kCopy},
         [](const PixelFormat& format, bool) { return format.code == ZvkPixelFormatRgb8; }},
        {"RGB of 10 to 16 bits",
         "the libc copy",
         0.5,
         {kCopy},
         [](const PixelFormat& format, bool) {
             return format.family == Family::Rgb && format.packing != Packing::Byte;
         }},
    };
    return goals;
}

class ColourBench
{
public:
    ColourBench(Arena& arena, const KernelBenchSettings& settings, Report& report)
        : arena_(arena), settings_(settings), report_(report)
    {
        table_.title = "Pixel formats to RGB8, 5 MP, one thread: speed against the C library's copy of the "
                       "larger of source and target";
        table_.name = "colour";
        table_.subjects = {kCopy, kLibrary};
        if (settings.colourPeers) {
            table_.subjects.insert(table_.subjects.end(), std::begin(kPeers), std::end(kPeers));
        }
    }

    void Measure(const PixelFormat& format, bool edgeAware)
    {
        const std::size_t sourceBytes = (k5Mp.pixels() * imagetransform::BitsPerPixel(format.code) + 7) / 8;
        const std::size_t byteCount = std::max(sourceBytes, 3 * k5Mp.pixels());
        std::vector<Subject> subjects;
        const auto add = [&](const std::string& name, auto work) {
            subjects.push_back(arena_.MakeSubject(name, byteCount, 0, Access::OneTarget, work));
        };
        add(kCopy, [=](const std::uint8_t* from, std::uint8_t* to) { std::memcpy(to, from, byteCount); });
        add(kLibrary, [&format, edgeAware](const std::uint8_t* from, std::uint8_t* to) {
            Convert(format, edgeAware, k5Mp, from, to);
        });
        if (settings_.colourPeers) {
            for (const ColourPeer& peer : settings_.colourPeers(format.code, edgeAware)) {
                add(peer.name, [convert = peer.convert](const std::uint8_t* from, std::uint8_t* to) {
                    convert(from, k5Mp, to);
                });
            }
        }
        RoundSettings round = RoundsOf(settings_, byteCount);
        if (IsBytes(format, Family::Rgb)) {
            round.rounds *= 3; // little more than a copy: a copy's noise is as large as what tells them apart
        }
        const Rounds rounds(subjects, round);
        AddLine(std::string(format.name) + (edgeAware ? ", edge-aware" : ""), subjects, rounds);
        for (const Goal& goal : Goals()) {
            if (goal.applies(format, edgeAware)) {
                Note(goal, format, subjects, rounds);
            }
        }
    }

    void Finish()
    {
        for (const Goal& goal : Goals()) {
            const auto worst = worst_.find(&goal);
            if (worst != worst_.end()) {
                report_.AddGoal(std::string("To RGB8, ") + goal.group + " (slowest: " + worst->second.format +
                                    "): against " + goal.what,
                                worst->second.speed, Bound::AtLeast, goal.limit);
            }
        }
        report_.AddTable(std::move(table_));
    }

private:
    struct Worst
    {
        std::string format;
        Spread speed;
    };

    void AddLine(const std::string& label, const std::vector<Subject>& subjects, const Rounds& rounds)
    {
        SpeedTable::Line line{label, {}};
        for (const std::string& name : table_.subjects) {
            const bool measured = std::ranges::find(subjects, name, &Subject::name) != subjects.end();
            line.speeds.push_back(measured ? rounds.SpeedAgainst(name, kCopy) : Spread{});
        }
        table_.lines.push_back(std::move(line));
    }

    void Note(const Goal& goal, const PixelFormat& format, const std::vector<Subject>& subjects,
              const Rounds& rounds)
    {
        std::vector<std::string> references;
        for (const Subject& subject : subjects) {
            if (std::ranges::find(goal.references, subject.name) != goal.references.end()) {
                references.push_back(subject.name);
            }
        }
        if (references.empty()) {
            return;
        }
        const Spread speed = rounds.SpeedAgainstBest(kLibrary, references);
        const auto [worst, isNew] = worst_.try_emplace(&goal, Worst{std::string(format.name), speed});
        if (!isNew && speed.median < worst->second.speed.median) {
            worst->second = {std::string(format.name), speed};
        }
    }

    Arena& arena_;
    const KernelBenchSettings& settings_;
    Report& report_;
    SpeedTable table_;
    std::map<const Goal*, Worst> worst_;
};

// Of mosaics, at sizes around the one from which on help is worth while.
void MeasureThreads(Arena& arena, const KernelBenchSettings& settings, Report& report)
{
    const unsigned processors = backend::HelperThreads::Processors();
    if (processors < 2) {
        return;
    }
    SpeedTable table{"BayerRG8 to RGB8: speed of two threads against one", "threads", {"one", "two"}, {}};
    for (const ImageSize& size : {kVga, k1080p, k5Mp, k20Mp}) {
        std::vector<Subject> subjects;
        for (unsigned threads = 1; threads <= 2; ++threads) {
            subjects.push_back(arena.MakeSubject(
                table.subjects[threads - 1], 3 * size.pixels(), 0, Access::OneTarget,
                [=](const std::uint8_t* from, std::uint8_t* to) {
                    imagetransform::UseThreads(threads);
                    Convert(*imagetransform::FindPixelFormat("BayerRG8"), false, size, from, to);
                }));
        }
        const Rounds rounds(subjects, RoundsOf(settings, 3 * size.pixels()));
        const Spread speed = rounds.SpeedAgainst("two", "one");
        table.lines.push_back({size.name, {rounds.SpeedAgainst("one", "one"), speed}});
        if (size.pixels() >= k5Mp.pixels()) {
            report.AddGoal(std::string("To RGB8, BayerRG8, ") + size.name + ", two threads: against one",
                           speed, Bound::AtLeast, 1.6);
        }
    }
    report.AddTable(std::move(table));
}

} // namespace

void MeasureColour(Arena& arena, const KernelBenchSettings& settings, Report& report)
{
    imagetransform::UseThreads(1);
    ColourBench bench(arena, settings, report);
    for (const PixelFormat& format : imagetransform::AllPixelFormats()) {
        bench.Measure(format, false);
        if (IsBytes(format, Family::Bayer)) {
            bench.Measure(format, true);
        }
    }
    bench.Finish();
    MeasureThreads(arena, settings, report);
    imagetransform::UseThreads(0);
}

} // namespace maravel::bench
