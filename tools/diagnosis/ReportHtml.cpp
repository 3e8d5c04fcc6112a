#include "LogReader.h"
#include "Reports.h"

#include <algorithm>
#include <cstdio>

namespace maravel::diagnosis {
namespace {

constexpr const char* kHead = R"(<!doctype html>
<html lang="en"><head><meta charset="utf-8"><meta name="viewport" content="width=device-width">
<title>Adapter log</title><style>
body{font:15px/1.5 system-ui,sans-serif;max-width:60rem;margin:2rem auto;padding:0 1rem;color:#1d2530;background:#fff}
h1{font-size:1.4rem}h2{font-size:1.1rem;margin-top:2rem}small{color:#596273}
.finding{border-left:.3rem solid;padding:.1rem 1rem;margin:1rem 0}.fault{border-color:#b3261e}.warning{border-color:#b06f00}
.hint{border-color:#5b6b82}.healthy{color:#1b6e3c;font-weight:600}pre{white-space:pre-wrap;font-size:13px;background:#f2f4f7;padding:.5rem}
table{border-collapse:collapse;width:100%}th,td{text-align:right;padding:.2rem .5rem;border-bottom:1px solid #dde2ea}
th:nth-child(2),td:nth-child(2){text-align:left}svg{width:100%;height:7rem;background:#f2f4f7}rect{fill:#2c62a8}
@media(prefers-color-scheme:dark){body{background:#14181f;color:#dfe5ee}pre,svg{background:#1e242e}td,th{border-color:#333c4a}rect{fill:#7fb0f0}small{color:#97a3b6}.healthy{color:#6fd39a}}
</style></head><body>
)";

std::string EscapeHtml(const std::string& text)
{
    std::string escaped;
    for (const char c : text) {
        if (c == '<') {
            escaped += "&lt;";
        }
        else if (c == '&') {
            escaped += "&amp;";
        }
        else if (c == '"') {
            escaped += "&quot;";
        }
        else {
            escaped += c;
        }
    }
    return escaped;
}

std::string Number(double value)
{
    char text[32];
    std::snprintf(text, sizeof(text), "%.1f", value);
    return text;
}

// Frames a second over time, as bars.
std::string Chart(const ChannelReport& row)
{
    const std::vector<double> columns = row.timeline.Columns(Timeline::Most);
    const double highest = columns.empty() ? 0 : *std::ranges::max_element(columns);
    if (highest <= 0) {
        return {};
    }
    std::string svg = "<svg role=\"img\" aria-label=\"Frames a second of channel " +
                      std::to_string(row.channel) + "\" viewBox=\"0 0 " + std::to_string(columns.size()) +
                      " 100\" preserveAspectRatio=\"none\">";
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const double height = columns[i] / highest * 96;
        svg += "<rect x=\"" + std::to_string(i) + "\" width=\".9\" y=\"" + Number(100 - height) +
               "\" height=\"" + Number(height) + "\"><title>" + Number(columns[i]) + " /s</title></rect>";
    }
    const std::int64_t end =
        row.timeline.Begin() + row.timeline.Width() * static_cast<std::int64_t>(row.timeline.Counts().size());
    return svg + "</svg><small>" + FormatTime(row.timeline.Begin()) + " to " + FormatTime(end) +
           ", highest " + Number(highest) + " frames/s</small>\n";
}

std::string FindingAsHtml(const Finding& finding)
{
    std::string html = std::string("<div class=\"finding ") + SeverityName(finding.fault->severity) +
                       "\"><p><b>" + EscapeHtml(finding.sentence) + "</b> <small>" + finding.fault->name +
                       "</small></p><p>" + EscapeHtml(finding.advice) + "</p>";
    if (!finding.quotes.empty()) {
        html += "<pre>";
        for (const Quote& quote : finding.quotes) {
            html += "line " + std::to_string(quote.line) + ", " + FormatTime(quote.time) + "  " +
                    EscapeHtml(quote.text) + "\n";
        }
        html += "</pre>";
    }
    return html + "</div>\n";
}

std::string ChannelsAsHtml(const RunReport& run)
{
    std::string html =
        "<table><tr><th>channel</th><th>camera</th><th>complete</th><th>incomplete</th><th>missing</th>"
        "<th>frames/s, median</th><th>longest gap</th></tr>\n";
    for (const ChannelReport& row : run.channels) {
        html += "<tr><td>" + std::to_string(row.channel) + "</td><td>" + EscapeHtml(row.camera) +
                "</td><td>" + std::to_string(row.complete) + "</td><td>" + std::to_string(row.incomplete) +
                "</td><td>" + std::to_string(row.missing) + "</td><td>" + Number(row.rateMedian) +
                "</td><td>" +
                (row.longestGap > 0 ? Number(static_cast<double>(row.longestGap) / 1000) + " s at " +
                                          FormatTime(row.longestGapAt)
                                    : "") +
                "</td></tr>\n";
    }
    html += "</table>\n";
    for (const ChannelReport& row : run.channels) {
        if (const std::string chart = Chart(row); !chart.empty()) {
            html += "<h3>Channel " + std::to_string(row.channel) + ", " + EscapeHtml(row.camera) + "</h3>\n" +
                    chart;
        }
    }
    return html;
}

} // namespace

std::string ReportAsHtml(const LogReport& report)
{
    std::string html = kHead;
    html += "<h1>" + EscapeHtml(report.file) + "</h1><p><small>" + std::to_string(report.entries) +
            " messages" + (report.date.empty() ? "" : ", last changed " + report.date) + "</small></p>\n";
    for (const RunReport& run : report.runs) {
        html += "<h2>Run " + FormatTime(run.begin) + " to " + FormatTime(run.end) + "</h2><p><small>" +
                EscapeHtml(run.host) +
                (run.adapterVersion.empty() ? "" : ", adapter V" + EscapeHtml(run.adapterVersion)) +
                (run.sdkVersion.empty() ? "" : ", SDK V" + EscapeHtml(run.sdkVersion)) + "</small></p>\n";
        if (run.Healthy()) {
            html += "<p class=\"healthy\">healthy</p>\n";
        }
        for (const Finding& finding : run.findings) {
            html += FindingAsHtml(finding);
        }
        if (!run.channels.empty()) {
            html += ChannelsAsHtml(run);
        }
    }
    return html + "</body></html>\n";
}

} // namespace maravel::diagnosis
