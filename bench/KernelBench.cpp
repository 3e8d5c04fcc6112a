#include "bench/KernelBench.h"

#include "bench/Arena.h"
#include "bench/ColourBench.h"
#include "pixels/ImageWriting.h"
#include "pixels/Kernels.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace maravel::bench {
namespace {

constexpr ImageSize kVga{"VGA", 640, 480};
constexpr ImageSize k1080p{"1080p", 1920, 1080};
constexpr ImageSize k5Mp{"5 MP", 2592, 1944};
constexpr ImageSize k20Mp{"20 MP", 5472, 3648};

// Of an image with an odd number of pixels each plane begins elsewhere in its cache line.
ImageSize Misaligned(const ImageSize& size)
{
    return {size.name, size.width - 1, size.height - 1};
}

const char* const kLibc = "libc copy";
const char* const kStreamingCopy = "streaming copy";
const char* const kAdapter = "adapter";

// The fastest way of copying past the caches that is known here, whatever the size.
void CopyStreaming(std::uint8_t* target, const std::uint8_t* source, std::size_t byteCount)
{
    const std::size_t head = (0 - reinterpret_cast<std::uintptr_t>(target)) % kStreamingStep;
    const std::size_t whole = (byteCount - head) / kStreamingStep * kStreamingStep;
    std::memcpy(target, source, head);
    (InstructionSetUsable(InstructionSet::Avx2) ? StreamingCopyAvx2
                                                : StreamingCopySse2)(target + head, source + head, whole);
    std::memcpy(target + head + whole, source + head + whole, byteCount - head - whole);
}

class SplitBench
{
public:
    SplitBench(Arena& arena, const KernelBenchSettings& settings, Report& report)
        : arena_(arena), settings_(settings), report_(report)
    {
        table_.subjects = {kLibc, kStreamingCopy};
        for (const SplitPeer& peer : settings.peers) {
            table_.subjects.push_back(peer.name);
            peers_.push_back(peer.name);
        }
        for (const InstructionSet set : kInstructionSets) {
            if (InstructionSetUsable(set)) {
                table_.subjects.emplace_back(InstructionSetName(set));
            }
        }
        table_.subjects.emplace_back(kAdapter);
        table_.title = "RGB8 to planes: speed against the C library's copy of the same bytes";
        table_.name = "split";
    }

    void Measure(const ImageSize& nominal, Access access, bool aligned)
    {
        const ImageSize size = aligned ? nominal : Misaligned(nominal);
        const Rounds rounds(Subjects(size, access, aligned), RoundsOf(settings_, 3 * size.pixels()));
        const std::string label =
            std::string(nominal.name) + ", " + AccessName(access) + (aligned ? ", aligned" : ", misaligned");
        SpeedTable::Line line{label, {}};
        for (const std::string& subject : table_.subjects) {
            line.speeds.push_back(rounds.SpeedAgainst(subject, kLibc));
        }
        table_.lines.push_back(std::move(line));
        if (access == Access::Streaming) {
            AddGoals(nominal, aligned, rounds, "Planar split, " + label + ": ");
        }
    }

    void Finish() { report_.AddTable(std::move(table_)); }

private:
    std::vector<Subject> Subjects(const ImageSize& size, Access access, bool aligned)
    {
        const std::size_t misalignment = aligned ? 0 : 1;
        const std::size_t byteCount = 3 * size.pixels();
        std::vector<Subject> subjects;
        const auto add = [&](const std::string& name, auto work) {
            subjects.push_back(arena_.MakeSubject(name, byteCount, misalignment, access, work));
        };
        add(kLibc, [=](const std::uint8_t* rgb, std::uint8_t* to) { std::memcpy(to, rgb, byteCount); });
        add(kStreamingCopy,
            [=](const std::uint8_t* rgb, std::uint8_t* to) { CopyStreaming(to, rgb, byteCount); });
        for (const SplitPeer& peer : settings_.peers) {
            add(peer.name, [=](const std::uint8_t* rgb, std::uint8_t* to) { peer.split(rgb, size, to); });
        }
        const InstructionSet chosen = CurrentInstructionSet();
        const auto addKernel = [&](const char* name, InstructionSet set) {
            if (!InstructionSetUsable(set)) {
                return;
            }
            add(name, [=](const std::uint8_t* rgb, std::uint8_t* to) {
                ForceInstructionSet(set);
                SplitRgb8IntoPlanes(rgb, size.pixels(), to);
                ForceInstructionSet(chosen);
            });
        };
        for (const InstructionSet set : kInstructionSets) {
            addKernel(InstructionSetName(set), set);
        }
        addKernel(kAdapter, chosen);
        return subjects;
    }

    void AddGoals(const ImageSize& size, bool aligned, const Rounds& rounds, const std::string& label)
    {
        if (aligned && size.pixels() >= k5Mp.pixels()) {
            report_.AddGoal(label + "against the libc copy", rounds.SpeedAgainst(kAdapter, kLibc),
                            Bound::AtLeast, settings_.copyGoal);
            report_.AddGoal(label + "against the best streaming copy",
                            rounds.SpeedAgainst(kAdapter, kStreamingCopy), Bound::AtLeast, 0.95);
        }
        if (!peers_.empty() && size.pixels() >= k1080p.pixels()) {
            report_.AddGoal(label + "against the best peer", rounds.SpeedAgainstBest(kAdapter, peers_),
                            Bound::AtLeast, aligned ? 1.0 : 1.2);
            if (InstructionSetUsable(InstructionSet::Avx2)) {
                report_.AddGoal(label + "AVX2 alone against the best peer",
                                rounds.SpeedAgainstBest(InstructionSetName(InstructionSet::Avx2), peers_),
                                Bound::AtLeast, 0.95);
            }
        }
    }

    Arena& arena_;
    const KernelBenchSettings& settings_;
    Report& report_;
    std::vector<std::string> peers_;
    SpeedTable table_;
};

void MeasureCopies(Arena& arena, const KernelBenchSettings& settings, Report& report)
{
    struct
    {
        const char* name;
        std::size_t byteCount;
    } const payloads[] = {{"VGA, 8 bit", kVga.pixels()},        {"1080p, 8 bit", k1080p.pixels()},
                          {"5 MP, 8 bit", k5Mp.pixels()},       {"5 MP, 16 bit", 2 * k5Mp.pixels()},
                          {"15 MB", std::size_t{15'000'000}},   {"20 MP, 8 bit", k20Mp.pixels()},
                          {"20 MP, 16 bit", 2 * k20Mp.pixels()}};
    SpeedTable table{
        "Raw delivery: speed against the C library's copy", "copy", {kLibc, kStreamingCopy, kAdapter}, {}};
    for (const Access access : {Access::Streaming, Access::Hot, Access::ReadAtOnce}) {
        for (const auto& payload : payloads) {
            const std::size_t byteCount = payload.byteCount;
            std::vector<Subject> subjects;
            const auto add = [&](const char* name, auto work) {
                subjects.push_back(arena.MakeSubject(name, byteCount, 0, access, work));
            };
            add(kLibc, [=](const std::uint8_t* from, std::uint8_t* to) { std::memcpy(to, from, byteCount); });
            add(kStreamingCopy,
                [=](const std::uint8_t* from, std::uint8_t* to) { CopyStreaming(to, from, byteCount); });
            add(kAdapter,
                [=](const std::uint8_t* from, std::uint8_t* to) { CopyPayload(to, from, byteCount); });

            // Below the size that streams both are the same function, and the limit is two percent away.
            RoundSettings round = RoundsOf(settings, byteCount);
            round.rounds *= 3;
            const Rounds rounds(subjects, round);
            const std::string label = std::string(payload.name) + ", " + AccessName(access);
            SpeedTable::Line line{label, {}};
            for (const std::string& subject : table.subjects) {
                line.speeds.push_back(rounds.SpeedAgainst(subject, kLibc));
            }
            table.lines.push_back(std::move(line));
            const bool large = access == Access::Streaming && byteCount >= 15'000'000;
            if (access != Access::ReadAtOnce) {
                report.AddGoal("Raw delivery, " + label + ": against the libc copy",
                               rounds.SpeedAgainst(kAdapter, kLibc), Bound::AtLeast, large ? 1.05 : 0.98);
            }
        }
    }
    report.AddTable(std::move(table));
}

} // namespace

void MeasureKernels(const KernelBenchSettings& settings, Report& report)
{
    Arena arena;
    SplitBench split(arena, settings, report);
    for (const Access access : {Access::Streaming, Access::Hot, Access::ReadAtOnce}) {
        for (const ImageSize& size : {kVga, k1080p, k5Mp, k20Mp}) {
            for (const bool aligned : {true, false}) {
                split.Measure(size, access, aligned);
            }
        }
    }
    split.Finish();
    MeasureCopies(arena, settings, report);
    if (settings.withColour) {
        MeasureColour(arena, settings, report);
    }
}

} // namespace maravel::bench
