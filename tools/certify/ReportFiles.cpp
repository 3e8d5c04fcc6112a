// The report as a file: JSON for programs, JUnit for build servers, a page for people.
#include "Report.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>

namespace maravel::certify {
namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kNames[] = {"ok", "not supported", "warning", "failed", "skipped"};

constexpr const char* kHead = R"(<!doctype html>
<html lang="en"><head><meta charset="utf-8"><meta name="viewport" content="width=device-width">
<title>Conformance run</title><style>
body{font:15px/1.5 system-ui,sans-serif;max-width:64rem;margin:2rem auto;padding:0 1rem;color:#1d2530;background:#fff}
h1{font-size:1.4rem}h2{font-size:1.1rem;margin-top:2rem}small{color:#596273}
table{border-collapse:collapse;width:100%}th,td{text-align:left;vertical-align:top;padding:.25rem .5rem;border-bottom:1px solid #dde2ea}
th{font-weight:600}td:last-child{white-space:pre-wrap;overflow-wrap:anywhere}.head th{width:12rem}
.failed b{color:#b3261e}.warning b{color:#8f5a00}.ok b,.not b{color:#1b6e3c}.skipped b{color:#5b6b82}
.verdict{font-size:1.1rem;font-weight:600}code{font-size:13px}
@media(prefers-color-scheme:dark){body{background:#14181f;color:#dfe5ee}th,td{border-color:#333c4a}small{color:#97a3b6}
.failed b{color:#ff8a80}.warning b{color:#f0b45c}.ok b,.not b{color:#6fd39a}.skipped b{color:#97a3b6}}
@media print{body{margin:0;max-width:none}tr{break-inside:avoid}}
</style></head><body>
)";

// For XML and HTML; what neither can hold becomes a question mark.
std::string Escaped(const std::string& text)
{
    std::string escaped;
    for (const char c : text) {
        if (c == '<') {
            escaped += "&lt;";
        }
        else if (c == '>') {
            escaped += "&gt;";
        }
        else if (c == '&') {
            escaped += "&amp;";
        }
        else if (c == '"') {
            escaped += "&quot;";
        }
        else if (static_cast<unsigned char>(c) < 0x20 && c != '\n' && c != '\t') {
            escaped += '?';
        }
        else {
            escaped += c;
        }
    }
    return escaped;
}

std::string Attribute(const char* name, const std::string& value)
{
    return std::string(" ") + name + "=\"" + Escaped(value) + "\"";
}

std::string Seconds(double seconds)
{
    char text[32];
    std::snprintf(text, sizeof(text), "%.3f", seconds);
    std::replace(text, text + sizeof(text), ',', '.');
    return text;
}

const char* NameOf(Outcome outcome)
{
    return kNames[static_cast<std::size_t>(outcome)];
}

// The header's rows, as every form shows them.
std::vector<std::pair<std::string, std::string>> RowsOf(const Header& header)
{
    return {
        {"program", header.program},
        {"system", header.system},
        {"time", header.when},
        {"SDK folder", header.sdkFolder},
        {"ZvkC.dll", header.runtimeSum},
        {"ZvkImageTransform.dll", header.transformSum},
        {"adapter", header.adapter},
        {"adapter file", header.adapterSum},
        {"camera", header.camera},
        {"mode", header.mode.empty() ? "any error will do, settings are changed and put back" : header.mode}};
}

std::vector<const Result*> ResultsOf(const Report& report, char group)
{
    std::vector<const Result*> results;
    for (const Result& result : report.results) {
        if (result.id.starts_with(group)) {
            results.push_back(&result);
        }
    }
    return results;
}

std::size_t CountOf(const std::vector<const Result*>& results, Outcome outcome)
{
    return static_cast<std::size_t>(std::ranges::count(results, outcome, &Result::outcome));
}

std::string CaseAsJUnit(const Result& result, const GroupText& group)
{
    const CheckText* text = FindText(result.id);
    std::string xml =
        "    <testcase" + Attribute("name", result.id + " " + (text != nullptr ? text->asks : "")) +
        Attribute("classname", "certify." + group.level) + Attribute("time", Seconds(result.seconds)) + ">";
    if (result.outcome == Outcome::Failed) {
        xml += "<failure" + Attribute("message", result.text.substr(0, result.text.find('\n'))) +
               " type=\"failure\">" +
               Escaped(result.text + (text != nullptr ? "\ndo: " + text->remedy : "")) + "</failure>";
    }
    else if (result.outcome == Outcome::Skipped) {
        xml += "<skipped" + Attribute("message", result.text) + "/>";
    }
    else if (!result.text.empty()) {
        xml += "<system-out>" +
               Escaped((result.outcome == Outcome::Ok ? "" : std::string(NameOf(result.outcome)) + ": ") +
                       result.text) +
               "</system-out>";
    }
    return xml + "</testcase>\n";
}

std::string RowAsHtml(const Result& result)
{
    const CheckText* text = FindText(result.id);
    const std::string name = NameOf(result.outcome);
    std::string html = "<tr class=\"" + name.substr(0, name.find(' ')) + "\"><td>" + result.id + "</td><td>" +
                       (text != nullptr ? Escaped(text->asks) : "");
    if (result.outcome == Outcome::Failed && text != nullptr) {
        html += "<br><small>" + Escaped(text->why) + "</small>";
    }
    html += "</td><td><b>" + name + "</b></td><td>" + Escaped(result.text);
    if (result.outcome == Outcome::Failed && text != nullptr) {
        html += "\n<b>do:</b> " + Escaped(text->remedy);
    }
    return html + "</td></tr>\n";
}

} // namespace

std::string ReportAsJson(const Report& report)
{
    Json json;
    json["schema"] = "maravel-certify-1";
    for (const auto& [name, value] : RowsOf(report.header)) {
        json["header"][name] = value;
    }
    json["passed"] = report.Passed();
    json["seconds"] = report.seconds;
    const auto counts = report.Counts();
    for (std::size_t i = 0; i < counts.size(); ++i) {
        json["counts"][kNames[i]] = counts[i];
    }
    json["checks"] = Json::array();
    for (const Result& result : report.results) {
        const CheckText* text = FindText(result.id);
        json["checks"].push_back({{"id", result.id},
                                  {"asks", text != nullptr ? text->asks : ""},
                                  {"outcome", NameOf(result.outcome)},
                                  {"text", result.text},
                                  {"seconds", result.seconds}});
    }
    json["notPutBack"] = report.left;
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string ReportAsJUnit(const Report& report)
{
    std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites" +
                      Attribute("name", "camhost certify") + Attribute("time", Seconds(report.seconds)) +
                      ">\n";
    for (const GroupText& group : Catalogue()) {
        const auto results = ResultsOf(report, group.letter);
        if (results.empty()) {
            continue;
        }
        double seconds = 0;
        for (const Result* result : results) {
            seconds += result->seconds;
        }
        xml += "  <testsuite" + Attribute("name", std::string(1, group.letter) + ". " + group.title) +
               Attribute("tests", std::to_string(results.size())) +
               Attribute("failures", std::to_string(CountOf(results, Outcome::Failed))) +
               Attribute("errors", "0") +
               Attribute("skipped", std::to_string(CountOf(results, Outcome::Skipped))) +
               Attribute("time", Seconds(seconds)) + ">\n    <properties>\n";
        for (const auto& [name, value] : RowsOf(report.header)) {
            xml += "      <property" + Attribute("name", name) + Attribute("value", value) + "/>\n";
        }
        xml += "    </properties>\n";
        for (const Result* result : results) {
            xml += CaseAsJUnit(*result, group);
        }
        xml += "  </testsuite>\n";
    }
    return xml + "</testsuites>\n";
}

std::string ReportAsHtml(const Report& report)
{
    const auto counts = report.Counts();
    const auto of = [&](Outcome outcome) {
        return std::to_string(counts[static_cast<std::size_t>(outcome)]);
    };
    std::string html = kHead;
    html +=
        "<h1>Conformance run</h1>\n<p class=\"verdict " + std::string(report.Passed() ? "ok" : "failed") +
        "\"><b>" + (report.Passed() ? "Passed" : "Not passed") + "</b>: " + of(Outcome::Failed) +
        " failed, " + of(Outcome::Warning) + " warnings, " + of(Outcome::Ok) + " as relied upon, " +
        of(Outcome::NotSupported) + " not supported, " + of(Outcome::Skipped) + " skipped</p>\n" +
        "<p><small>This page tells what one program found on one machine. It is no licence and no mark of "
        "any standard.</small></p>\n<table class=\"head\">\n";
    for (const auto& [name, value] : RowsOf(report.header)) {
        html += "<tr><th>" + name + "</th><td>" + Escaped(value) + "</td></tr>\n";
    }
    html += "</table>\n";
    for (const std::string& setting : report.left) {
        html += "<p class=\"failed\"><b>could not be put back:</b> " + Escaped(setting) + "</p>\n";
    }
    for (const GroupText& group : Catalogue()) {
        const auto results = ResultsOf(report, group.letter);
        if (results.empty()) {
            continue;
        }
        html += "<h2>" + std::string(1, group.letter) + ". " + Escaped(group.title) + " <small>" +
                group.level + "</small></h2>\n<table>\n";
        for (const Result* result : results) {
            html += RowAsHtml(*result);
        }
        html += "</table>\n";
    }
    return html + "</body></html>\n";
}

} // namespace maravel::certify
