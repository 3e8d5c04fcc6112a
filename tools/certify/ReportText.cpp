#include "Report.h"

#include <algorithm>

namespace maravel::certify {
namespace {

constexpr const char* kWords[] = {"OK", "OK (not supported)", "WARNING", "FAIL", "SKIPPED"};

// The first line after `begin`, the others below it.
std::string Indented(const std::string& text, const std::string& begin)
{
    const std::string indent(begin.size(), ' ');
    std::string result = begin;
    for (const char c : text) {
        result += c == '\n' ? "\n" + indent : std::string(1, c);
    }
    return result + "\n";
}

} // namespace

std::array<std::size_t, 5> Report::Counts() const
{
    std::array<std::size_t, 5> counts{};
    for (const Result& result : results) {
        ++counts[static_cast<std::size_t>(result.outcome)];
    }
    return counts;
}

bool Report::Passed() const
{
    return Counts()[static_cast<std::size_t>(Outcome::Failed)] == 0 && left.empty();
}

const char* WordOf(Outcome outcome)
{
    return kWords[static_cast<std::size_t>(outcome)];
}

std::string HeaderAsText(const Header& header)
{
    std::string text = header.program + ", " + header.system + ", " + header.when + "\n";
    const std::pair<const char*, const std::string&> rows[] = {
        {"SDK folder", header.sdkFolder},
        {"ZvkC.dll", header.runtimeSum},
        {"ZvkImageTransform.dll", header.transformSum},
        {"adapter", header.adapter},
        {"", header.adapterSum},
        {"camera", header.camera},
        {"mode", header.mode},
    };
    for (const auto& [name, value] : rows) {
        if (!value.empty()) {
            text += std::string(name) + std::string(23 - std::string_view(name).size(), ' ') + value + "\n";
        }
    }
    return text;
}

std::string GroupAsText(const GroupText& group)
{
    return "\n" + std::string(1, group.letter) + ". " + group.title + " (" + group.level + "):\n";
}

std::string ResultAsText(const Result& result)
{
    const CheckText* text = FindText(result.id);
    std::string line =
        "    test " + result.id + " " + (text != nullptr ? text->asks : "") + ": " + WordOf(result.outcome);
    const bool inOneLine = result.outcome != Outcome::Failed && result.text.find('\n') == std::string::npos;
    if (inOneLine && !result.text.empty()) {
        return line + " (" + result.text + ")\n";
    }
    line += "\n";
    if (!result.text.empty()) {
        line += Indented(result.text, result.outcome == Outcome::Failed ? "        fail: " : "        ");
    }
    if (result.outcome == Outcome::Failed && text != nullptr) {
        line += Indented(text->remedy, "        do: ");
    }
    return line;
}

std::string TotalAsText(const Report& report)
{
    const auto counts = report.Counts();
    const auto of = [&](Outcome outcome) { return counts[static_cast<std::size_t>(outcome)]; };
    std::string text;
    for (const std::string& setting : report.left) {
        text += "could not be put back: " + setting + "\n";
    }
    return text + "Total for " + (report.header.camera.empty() ? "the SDK" : report.header.camera) + ": " +
           std::to_string(report.results.size()) + ", Succeeded: " +
           std::to_string(of(Outcome::Ok) + of(Outcome::NotSupported) + of(Outcome::Warning)) +
           ", Failed: " + std::to_string(of(Outcome::Failed)) +
           ", Warnings: " + std::to_string(of(Outcome::Warning)) +
           ", Skipped: " + std::to_string(of(Outcome::Skipped)) + "\n";
}

} // namespace maravel::certify
