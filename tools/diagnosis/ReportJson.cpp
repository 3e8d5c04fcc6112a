#include "Doctor.h"
#include "LogReader.h"
#include "Reports.h"

#include <nlohmann/json.hpp>

namespace maravel::diagnosis {
namespace {

using Json = nlohmann::ordered_json;

// In the order of the page that describes it. A field that is not known is left out.
Json JsonOf(const Quote& quote)
{
    return {{"line", quote.line}, {"time", FormatTime(quote.time)}, {"text", quote.text}};
}

Json JsonOf(const Finding& finding)
{
    Json json = {{"id", finding.fault->name}, {"severity", SeverityName(finding.fault->severity)}};
    if (finding.channel >= 0) {
        json["channel"] = finding.channel;
    }
    json["sentence"] = finding.sentence;
    json["advice"] = finding.advice;
    json["count"] = finding.count;
    json["lines"] = Json::array();
    for (const Quote& quote : finding.quotes) {
        json["lines"].push_back(JsonOf(quote));
    }
    return json;
}

Json JsonOf(const ChannelReport& row)
{
    Json json = {{"channel", row.channel}, {"camera", row.camera}, {"id", row.id}};
    if (!row.trigger.empty()) {
        json["trigger"] = row.trigger;
    }
    if (!row.format.empty()) {
        json["format"] = row.format;
    }
    json["starts"] = row.starts;
    json["frames"] = {{"complete", row.complete}, {"incomplete", row.incomplete}, {"missing", row.missing}};
    json["rate"] = {{"minimum", row.rateMinimum}, {"median", row.rateMedian}, {"maximum", row.rateMaximum}};
    if (row.longestGap > 0) {
        json["longestGap"] = {{"seconds", static_cast<double>(row.longestGap) / 1000},
                              {"at", FormatTime(row.longestGapAt)}};
    }
    return json;
}

Json JsonOf(const RunReport& run)
{
    Json json = {{"healthy", run.Healthy()},   {"begin", FormatTime(run.begin)}, {"end", FormatTime(run.end)},
                 {"firstLine", run.firstLine}, {"lastLine", run.lastLine},       {"shutDown", run.shutDown}};
    const std::pair<const char*, const std::string&> texts[] = {{"adapterVersion", run.adapterVersion},
                                                                {"sdkVersion", run.sdkVersion},
                                                                {"transformVersion", run.transformVersion},
                                                                {"host", run.host},
                                                                {"sdkPath", run.sdkPath}};
    for (const auto& [name, text] : texts) {
        if (!text.empty()) {
            json[name] = text;
        }
    }
    if (run.cameras >= 0) {
        json["cameras"] = run.cameras;
    }
    json["findings"] = Json::array();
    for (const Finding& finding : run.findings) {
        json["findings"].push_back(JsonOf(finding));
    }
    json["channels"] = Json::array();
    for (const ChannelReport& row : run.channels) {
        json["channels"].push_back(JsonOf(row));
    }
    return json;
}

// The texts' placeholders as a regular expression that takes what they print.
std::string Expression(const std::string& text)
{
    std::string expression;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%') {
            while (i + 1 < text.size() &&
                   std::string(" 0123456789l").find(text[i + 1]) != std::string::npos) {
                ++i;
            }
            ++i;
            expression += i < text.size() && text[i] == 's' ? ".*" : "[-\\dA-F.]+";
        }
        else {
            if (std::string("\\^$.|?*+()[]{}#").find(text[i]) != std::string::npos) {
                expression += '\\';
            }
            expression += text[i];
        }
    }
    return expression;
}

std::string Expressions(Level level)
{
    std::string all;
    for (const Message& message : Messages()) {
        if (message.level == level && message.text != "%s, (%d)") {
            all += (all.empty() ? "^(?:" : "|") + Expression(message.text);
        }
    }
    return all + ")$";
}

} // namespace

std::string ReportAsJson(const LogReport& report)
{
    Json json = {{"schema", "maravel-log-report-1"}, {"file", report.file}, {"healthy", report.Healthy()}};
    if (!report.date.empty()) {
        json["date"] = report.date;
    }
    json["bytes"] = report.bytes;
    json["lines"] = report.lines;
    json["messages"] = report.entries;
    json["unknown"] = report.unknown;
    json["unknownLines"] = Json::array();
    for (const Quote& quote : report.firstUnknown) {
        json["unknownLines"].push_back(JsonOf(quote));
    }
    json["earlierRuns"] = report.earlierRuns;
    json["runs"] = Json::array();
    for (const RunReport& run : report.runs) {
        json["runs"].push_back(JsonOf(run));
    }
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string ChecksAsJson(const std::vector<Check>& checks)
{
    Json json = {{"schema", "maravel-doctor-1"}, {"healthy", !HasFault(checks)}, {"checks", Json::array()}};
    for (const Check& check : checks) {
        Json row = {{"id", check.id}, {"status", StatusName(check.status)}, {"text", check.text}};
        if (!check.remedy.empty()) {
            row["remedy"] = check.remedy;
        }
        json["checks"].push_back(std::move(row));
    }
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string LnavFormat()
{
    // The channel is captured ahead of the body: an optional group captures nothing.
    const std::string pattern = R"(^\[(?<timestamp>\d{2}:\d{2}:\d{2}:\d{3}) L(?<src_line>\d{5})\] )"
                                R"((?=(?:.*?[Cc]hannelID[=: ]+(?<channel>-?\d+))?))"
                                R"((?=(?:.*?Reason=(?<reason>Zvk\w+) \((?<code>-?\d+)\))?))"
                                R"((?=(?:.*?FrameID=(?<frame_id>\d+), Frame timestamp=(?<device_time>\d+))?))"
                                R"((?<body>(?:(?<operation>[A-Za-z_][\w:]*)(?:\(\))?(?::|\.) )?.*)$)";
    const auto value = [](const char* kind, const char* role) { return Json{{"kind", kind}, {role, true}}; };
    Json format = {{"title", "Maravel adapter log"},
                   {"description", "MaravelAdapterZorvik.log"},
                   {"file-pattern", "MaravelAdapter.*\\.log"},
                   {"multiline", false},
                   {"regex", {{"std", {{"pattern", pattern}}}}},
                   {"timestamp-format", {"%H:%M:%S:%L"}},
                   {"level-field", "body"},
                   {"level",
                    {{"error", Expressions(Level::Error)},
                     {"warning", Expressions(Level::Warning)},
                     {"debug", Expressions(Level::Frequent)}}},
                   {"value",
                    {{"src_line", value("integer", "foreign-key")},
                     {"operation", value("string", "identifier")},
                     {"channel", value("integer", "foreign-key")},
                     {"reason", value("string", "identifier")},
                     {"code", value("integer", "foreign-key")},
                     {"frame_id", value("integer", "foreign-key")},
                     {"device_time", value("integer", "foreign-key")}}}};
    format["sample"] = {
        {{"line", "[09:05:03:007 L00248] StartAcquisition: channelID=0"}},
        {{"line", "[00:06:01:808 L00142] StartAcquisition: ERROR. TriggerSoftware failed. ChannelID=1. "
                  "Reason=ZvkErrorInvalidAccess (-6)."},
         {"level", "error"}},
        {{"line", "[00:05:54:829 L00043] FrameReceivedCallback: Frame incomplete (-1). Requeueing..."},
         {"level", "warning"}}};
    const Json file = {{"$schema", "https://lnav.org/schemas/format-v1.schema.json"},
                       {"maravel_log", format}};
    return file.dump(1) + "\n";
}

} // namespace maravel::diagnosis
