#include "Verdict.h"

#include <algorithm>
#include <cstdio>
#include <span>
#include <tuple>

namespace maravel::diagnosis {
namespace {

struct Advice
{
    const char* reason;
    const char* text;
};
constexpr Advice kStartAdvice[] = {
    {"ZvkErrorNoTL",
     "No transport layer is installed: install the one of the camera's kind, and look at the variable GENICAM_GENTL64_PATH."},
    {"ZvkErrorTLNotFound",
     "A transport layer was not found: look at the variable GENICAM_GENTL64_PATH, and repair the SDK's installation."},
    {"ZvkErrorBadParameter",
     "The SDK does not take its configuration: repair its installation (with simulated cameras: look at cameras.toml; 'camhost doctor' names the line)."},
    {"ZvkErrorResources", "Memory or another resource was short: close other programs, restart the machine."},
};

// Of two faults of one channel the second is only the first one's consequence.
struct Consequence
{
    FaultId cause;
    FaultId effect;
};
constexpr Consequence kConsequences[] = {
    {FaultId::Unplugged, FaultId::NoFrames},
    {FaultId::Unplugged, FaultId::WaitingForPulses},
    {FaultId::Unplugged, FaultId::CameraGone},
    {FaultId::Unplugged, FaultId::CameraNotOpened},
    {FaultId::Unplugged, FaultId::StartFailed},
    {FaultId::Unplugged, FaultId::FeatureRefused},
    {FaultId::TriggerRefused, FaultId::NoFrames},
    {FaultId::TriggerRefused, FaultId::FeatureRefused},
    {FaultId::AllIncomplete, FaultId::PacketsLost},
    {FaultId::HostTooSlow, FaultId::FramesMissing},
    {FaultId::OutOfMemory, FaultId::StartFailed},
    {FaultId::StartFailed, FaultId::NoFrames},
    {FaultId::ConversionUnknown, FaultId::NoFrames},
    {FaultId::BuffersLost, FaultId::FramesMissing},
    {FaultId::BuffersLost, FaultId::HostTooSlow},
    {FaultId::BuffersLost, FaultId::NoFrames},
    {FaultId::BuffersLost, FaultId::PacketsLost},
    {FaultId::RegionRefused, FaultId::FeatureRefused},
    {FaultId::PacketSizeNotSettled, FaultId::SmallPackets},
};

void ReplaceAll(std::string& text, std::string_view name, const std::string& value)
{
    for (std::size_t at = text.find(name); at != std::string::npos; at = text.find(name, at + value.size())) {
        text.replace(at, name.size(), value);
    }
}

std::string CameraName(std::int64_t channel, const std::map<std::int64_t, std::string>& cameras)
{
    if (channel < 0) {
        return "A camera";
    }
    const auto found = cameras.find(channel);
    return "Camera " + std::to_string(channel) +
           (found == cameras.end() || found->second.empty() ? "" : " (" + found->second + ")");
}

std::string Fill(std::string text, const Finding& finding, const RunEvidence& evidence,
                 const std::map<std::int64_t, std::string>& cameras)
{
    char seconds[32];
    std::snprintf(seconds, sizeof(seconds), "%.1f", static_cast<double>(evidence.milliseconds) / 1000);
    const char* advice = "Repair the SDK's installation, then restart the program.";
    for (const Advice& known : kStartAdvice) {
        if (evidence.reason == known.reason) {
            advice = known.text;
        }
    }
    ReplaceAll(text, "{reason-advice}", advice);
    ReplaceAll(text, "{camera}", CameraName(finding.channel, cameras));
    ReplaceAll(text, "{reason}",
               evidence.reason.empty() ? "no reason given"
                                       : evidence.reason + " " + std::to_string(evidence.code));
    ReplaceAll(text, "{n}", std::to_string(evidence.frames));
    ReplaceAll(text, "{total}", std::to_string(evidence.of));
    ReplaceAll(text, "{seconds}", seconds);
    ReplaceAll(text, "{detail}", evidence.detail);
    ReplaceAll(text, "{text}", evidence.quotes.empty() ? "" : evidence.quotes.front().text);
    ReplaceAll(text, "{0}", evidence.values.empty() ? "" : evidence.values.front());
    return text;
}

// The adapter logs nothing when a library does not load, so the files themselves are asked.
void LookAtLibraries(Finding& finding, const RunReport& run, const Circumstances& circumstances)
{
    const LibraryVerdict verdict =
        circumstances.inspect ? circumstances.inspect(run.sdkPath) : LibraryVerdict();
    if (verdict.transform) {
        finding.fault = &Describe(FaultId::TransformNotLoaded);
    }
    finding.advice = finding.fault->advice;
    finding.sentence = finding.fault->sentence;
    ReplaceAll(finding.sentence, "{0}", run.sdkPath);
    if (!verdict.text.empty()) {
        finding.sentence.replace(finding.sentence.size() - 1, 1, ": " + verdict.text + ".");
    }
    else if (!verdict.transform) {
        finding.sentence += " (Or ZvkImageTransform.dll did not; the files cannot be looked at here.)";
    }
}

} // namespace

std::vector<Finding> Judge(const std::map<std::pair<FaultId, std::int64_t>, RunEvidence>& evidence,
                           const RunReport& run, const std::map<std::int64_t, std::string>& cameras,
                           const Circumstances& circumstances)
{
    std::vector<Finding> findings;
    for (const auto& [key, found] : evidence) {
        const FaultId id = key.first;
        const std::int64_t channel = key.second;
        const bool consequence = std::ranges::any_of(kConsequences, [&](const Consequence& known) {
            return known.effect == id && (evidence.contains({known.cause, channel}) ||
                                          evidence.contains({known.cause, Finding::NoChannel}));
        });
        if (consequence) {
            continue;
        }
        Finding finding;
        finding.fault = &Describe(id);
        finding.channel = channel;
        finding.quotes = found.quotes;
        finding.count = found.count;
        finding.sentence = Fill(finding.fault->sentence, finding, found, cameras);
        finding.advice = Fill(finding.fault->advice, finding, found, cameras);
        if (id == FaultId::LibraryNotLoaded) {
            LookAtLibraries(finding, run, circumstances);
        }
        findings.push_back(std::move(finding));
    }
    std::ranges::sort(findings, {}, [](const Finding& finding) {
        return std::tuple(finding.fault->severity, finding.fault->id, finding.channel);
    });
    return findings;
}

} // namespace maravel::diagnosis
