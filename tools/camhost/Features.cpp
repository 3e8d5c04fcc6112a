#include "Features.h"

#include "Failure.h"
#include "Json.h"
#include "OwnLog.h"
#include "Table.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <locale>
#include <numeric>
#include <optional>
#include <sstream>

namespace maravel::camhost {
namespace {

using host::Channel;
using host::Outcome;

// Characters to change, add or leave out to get from one word to the other, whatever the case.
std::size_t Distance(const std::string& a, const std::string& b)
{
    const auto lower = [](char c) { return std::tolower(static_cast<unsigned char>(c)); };
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), 0u);
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t changed = diagonal + (lower(a[i]) == lower(b[j]) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

// A name of the camera's that is close to one that it does not have; empty when none is.
std::string NearestName(const Channel& channel, const std::string& feature)
{
    const std::vector<std::string> names = channel.FeatureNames();
    const auto nearest =
        std::ranges::min_element(names, {}, [&](const std::string& name) { return Distance(name, feature); });
    return nearest == names.end() || Distance(*nearest, feature) > 1 + feature.size() / 4 ? "" : *nearest;
}

[[noreturn]] void Refuse(const Channel& channel, const std::string& feature, const std::string& reason)
{
    const bool missing = reason.find("not found") != std::string::npos;
    const std::string nearest = missing ? NearestName(channel, feature) : "";
    throw Failure(ExitRefused, reason + (!nearest.empty() ? " Did you mean " + nearest + "?"
                                         : missing        ? " ('camhost describe' lists the names)"
                                                          : ""));
}

std::int32_t TypeOf(const Channel& channel, const std::string& feature)
{
    std::int32_t type = FeatureTypeUnsupported;
    if (const Outcome outcome = channel.GetFeatureType(feature, &type); !outcome) {
        Refuse(channel, feature, ReasonOf(outcome));
    }
    return type;
}

std::string Read(const Channel& channel, const std::string& feature)
{
    std::string value;
    if (const Outcome outcome = channel.ReadValue(feature, &value); !outcome) {
        Refuse(channel, feature, ReasonOf(outcome));
    }
    return value;
}

// Of 64 bits, signed or unsigned; to the end of the text.
bool ParseInteger(const std::string& text, std::int64_t* value)
{
    std::uint64_t large = 0;
    const char* end = text.data() + text.size();
    if (const auto [stop, error] = std::from_chars(text.data(), end, *value);
        stop == end && error == std::errc()) {
        return true;
    }
    const auto [stop, error] = std::from_chars(text.data(), end, large);
    *value = static_cast<std::int64_t>(large);
    return stop == end && error == std::errc();
}

// With a decimal point, whatever the locale; to the end of the text.
std::optional<double> ParseNumber(const std::string& text)
{
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    double value = 0;
    if ((stream >> value) && stream.peek() == std::istringstream::traits_type::eof()) {
        return value;
    }
    return std::nullopt;
}

// Where a camera is reached: its IP address, or else what it is connected by; empty when it does not say.
std::string AddressOf(const Channel& channel)
{
    const std::vector<std::string> names = channel.FeatureNames();
    const auto read = [&](const char* feature, std::string* text) {
        return std::ranges::find(names, feature) != names.end() && channel.ReadValue(feature, text);
    };
    std::string text;
    std::uint32_t address = 0;
    if (read("GevCurrentIPAddress", &text) &&
        std::from_chars(text.data(), text.data() + text.size(), address).ec == std::errc()) {
        char dotted[16];
        std::snprintf(dotted, sizeof(dotted), "%u.%u.%u.%u", address >> 24, address >> 16 & 0xFF,
                      address >> 8 & 0xFF, address & 0xFF);
        return dotted;
    }
    return read("DeviceTLType", &text) ? text : "";
}

// The two texts that the adapter knows; any other one when the text means neither.
std::string BoolText(std::string text)
{
    std::ranges::transform(text, text.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (text == "true" || text == "1" || text == "on" || text == "yes") {
        return "True";
    }
    if (text == "false" || text == "0" || text == "off" || text == "no") {
        return "False";
    }
    return {};
}

std::string CheckedValue(const std::string& feature, const std::string& value, std::int32_t type)
{
    const std::string quoted = std::string("'").append(value).append("'");
    if (type == FeatureTypeCommand) {
        throw Failure(ExitWrongArguments, feature + " is a command; use 'camhost run'");
    }
    std::int64_t whole = 0;
    if (type == FeatureTypeInt && !ParseInteger(value, &whole)) {
        throw Failure(ExitWrongArguments, feature + " is an integer; " + quoted + " is none");
    }
    if (type == FeatureTypeFloat && !ParseNumber(value)) {
        throw Failure(ExitWrongArguments, feature + " is a number; " + quoted + " is none");
    }
    if (type == FeatureTypeBool && BoolText(value).empty()) {
        throw Failure(ExitWrongArguments, feature + " is True or False; " + quoted + " is neither");
    }
    return type == FeatureTypeBool ? BoolText(value) : value;
}

std::string Join(const std::vector<std::string>& words, const char* between)
{
    std::string joined;
    for (const std::string& word : words) {
        joined += (joined.empty() ? "" : between) + word;
    }
    return joined;
}

FeatureRow RowOf(const Channel& channel, const std::string& feature)
{
    FeatureRow row = {.name = feature,
                      .type = TypeOf(channel, feature),
                      .readable = channel.IsReadable(feature),
                      .writable = channel.IsWritable(feature),
                      .description = channel.Description(feature)};
    if (row.readable && row.type != FeatureTypeCommand) {
        row.known = static_cast<bool>(channel.ReadValue(feature, &row.value));
    }
    if (row.type == FeatureTypeEnum) {
        row.entries = channel.EnumEntries(feature);
    }
    return row;
}

// Why it cannot be opened; empty when it is open or nothing is known.
std::string FaultOf(const Channel& channel)
{
    if (channel.Opened()) {
        return {};
    }
    const OwnLog log;
    const diagnosis::Finding* fault = log.Fault(channel.Index());
    return fault == nullptr ? "" : fault->fault->name;
}

std::string StateOf(const Channel& channel, const std::string& fault)
{
    return channel.Opened() ? "ready" : fault.empty() ? "cannot be opened" : "cannot be opened: " + fault;
}

} // namespace

std::string ReasonOf(const Outcome& outcome)
{
    return outcome.text.empty() ? "the adapter refused without a reason; its log may tell more"
                                : outcome.text;
}

const char* TypeName(std::int32_t type)
{
    switch (type) {
    case FeatureTypeEnum:
        return "enum";
    case FeatureTypeInt:
        return "int";
    case FeatureTypeFloat:
        return "float";
    case FeatureTypeCommand:
        return "command";
    case FeatureTypeBool:
        return "bool";
    case FeatureTypeString:
        return "string";
    default:
        return "other";
    }
}

void ListChannels(const std::vector<Channel>& channels, bool asJson)
{
    std::vector<CameraRow> rows;
    for (const Channel& channel : channels) {
        rows.push_back({channel, channel.Opened() ? AddressOf(channel) : "", FaultOf(channel)});
    }
    if (asJson) {
        return static_cast<void>(std::fputs(CamerasAsJson(rows).c_str(), stdout));
    }
    Table table({"CHANNEL", "SERIAL", "CAMERA", "ADDRESS", "SIZE", "EXPOSURE", "STATE"});
    for (const auto& [channel, address, fault] : rows) {
        const VideoChannelDescriptor& d = channel.Descriptor();
        char size[32] = "";
        char exposure[32] = "";
        if (channel.Opened()) {
            std::snprintf(size, sizeof(size), "%dx%d", d.width, d.height);
            std::snprintf(exposure, sizeof(exposure), "%.3f ms", d.exposureTime * 1000);
        }
        table.Add({std::to_string(channel.Index()), channel.SerialNumber(), channel.Label(), address, size,
                   exposure, StateOf(channel, fault)});
    }
    table.Print();
}

void DescribeChannel(const Channel& channel, bool asJson)
{
    Read(channel, "Width"); // opens the camera; every one has a width
    std::vector<FeatureRow> rows;
    for (const std::string& feature : channel.FeatureNames()) {
        rows.push_back(RowOf(channel, feature));
    }
    if (asJson) {
        return static_cast<void>(std::fputs(FeaturesAsJson(channel, rows).c_str(), stdout));
    }
    Table table({"FEATURE", "TYPE", "ACCESS", "VALUE", "DESCRIPTION"});
    for (const FeatureRow& row : rows) {
        const std::string access = {row.readable ? 'R' : '-', row.writable ? 'W' : '-'};
        const bool unread = row.readable && !row.known && row.type != FeatureTypeCommand;
        table.Add({row.name, TypeName(row.type), access, unread ? "?" : row.value, row.description});
        if (row.type == FeatureTypeEnum) {
            table.Continue(3, "of " + Join(row.entries, ", "));
        }
    }
    table.Print();
}

void GetFeatures(const Channel& channel, const std::vector<std::string>& features, bool asJson)
{
    std::vector<FeatureRow> rows;
    for (const std::string& feature : features) {
        FeatureRow row = {.name = feature, .value = Read(channel, feature)}; // of a command: nothing
        if (asJson || row.value.empty()) {
            row.type = TypeOf(channel, feature);
        }
        if (row.value.empty() && row.type == FeatureTypeCommand) {
            throw Failure(ExitWrongArguments, feature + " is a command; use 'camhost run'");
        }
        if (!asJson) {
            std::printf("%s=%s\n", feature.c_str(), row.value.c_str());
        }
        rows.push_back(std::move(row));
    }
    if (asJson) {
        std::fputs(ValuesAsJson(channel, rows).c_str(), stdout);
    }
}

std::string Difference(const std::string& feature, const std::string& asked, const std::string& now)
{
    // The adapter reads an integer as an unsigned one.
    std::int64_t whole = 0;
    if (ParseInteger(asked, &whole) && std::to_string(static_cast<std::uint64_t>(whole)) == now) {
        return {};
    }
    // Cameras round to their own steps, which is no reason for a word.
    const auto wanted = ParseNumber(asked), became = ParseNumber(now);
    const double tolerance = now.find('.') == std::string::npos ? 0 : std::abs(wanted.value_or(0)) / 100;
    if (asked == now || (wanted && became && std::abs(*wanted - *became) <= tolerance + 1e-6)) {
        return {};
    }
    return feature + " became " + now + ", not " + asked + "; the camera takes no other value near it";
}

std::string WriteFeature(const Channel& channel, const std::string& feature, const std::string& value)
{
    const std::int32_t type = TypeOf(channel, feature);
    const std::string text = CheckedValue(feature, value, type);
    const Outcome outcome = channel.WriteValue(feature, text);
    if (!outcome) {
        std::string reason = ReasonOf(outcome);
        if (type == FeatureTypeEnum) {
            reason += " (entries now: " + Join(channel.EnumEntries(feature), ", ") + ")";
        }
        throw Failure(ExitRefused, reason);
    }
    std::string now; // what cannot be read back was written all the same
    return channel.ReadValue(feature, &now) ? Difference(feature, text, now) : "";
}

void SetFeatures(const Channel& channel, const std::vector<Assignment>& assignments)
{
    std::string faults;
    for (const auto& [feature, value] : assignments) {
        if (const std::string fault = WriteFeature(channel, feature, value); !fault.empty()) {
            faults += (faults.empty() ? "" : "; ") + fault;
        }
        std::string now;
        if (channel.ReadValue(feature, &now)) {
            std::printf("%s=%s\n", feature.c_str(), now.c_str());
        }
        else {
            std::printf("%s was written\n", feature.c_str());
        }
    }
    if (!faults.empty()) {
        throw Failure(ExitRefused, faults);
    }
}

void RunCommand(const Channel& channel, const std::string& feature)
{
    if (const Outcome outcome = channel.ExecuteCommand(feature); !outcome) {
        Refuse(channel, feature, ReasonOf(outcome));
    }
    std::printf("%s was run\n", feature.c_str());
}

} // namespace maravel::camhost
