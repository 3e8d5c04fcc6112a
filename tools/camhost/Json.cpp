#include "Json.h"

#include <nlohmann/json.hpp>

#include <charconv>
#include <cstdlib>
#include <locale>
#include <sstream>

namespace maravel::camhost {
namespace {

using Json = nlohmann::ordered_json;

std::string Text(const char* schema, Json content)
{
    Json json = {{"schema", schema}};
    json.update(content);
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

// A value in the type that the camera gives it; a text that is none of that type stays a text.
Json ValueOf(const FeatureRow& row)
{
    const char* const end = row.value.data() + row.value.size();
    std::uint64_t whole = 0;
    if (row.type == FeatureTypeInt && std::from_chars(row.value.data(), end, whole).ptr == end &&
        !row.value.empty()) {
        return whole;
    }
    std::istringstream stream(row.value);
    stream.imbue(std::locale::classic());
    double number = 0;
    if (row.type == FeatureTypeFloat && (stream >> number)) {
        return number;
    }
    if (row.type == FeatureTypeBool && (row.value == "True" || row.value == "False")) {
        return row.value == "True";
    }
    return row.value;
}

Json ChannelOf(const host::Channel& channel)
{
    return {{"channel", channel.Index()}, {"serialNumber", channel.SerialNumber()}};
}

} // namespace

std::string CamerasAsJson(const std::vector<CameraRow>& rows)
{
    Json cameras = Json::array();
    for (const CameraRow& row : rows) {
        Json camera = ChannelOf(row.channel);
        camera["label"] = row.channel.Label();
        camera["opened"] = row.channel.Opened();
        if (row.channel.Opened()) {
            const VideoChannelDescriptor& d = row.channel.Descriptor();
            camera["address"] = row.address;
            camera["width"] = +d.width; // copies: the packed record's fields may lie unaligned
            camera["height"] = +d.height;
            camera["exposureTime"] = +d.exposureTime;
        }
        else if (!row.fault.empty()) {
            camera["fault"] = row.fault;
        }
        cameras.push_back(std::move(camera));
    }
    return Text("maravel-list-1", {{"cameras", std::move(cameras)}});
}

std::string FeaturesAsJson(const host::Channel& channel, const std::vector<FeatureRow>& rows)
{
    Json json = ChannelOf(channel);
    json["features"] = Json::array();
    for (const FeatureRow& row : rows) {
        Json feature = {{"name", row.name},
                        {"type", TypeName(row.type)},
                        {"readable", row.readable},
                        {"writable", row.writable}};
        if (row.known) {
            feature["value"] = ValueOf(row);
        }
        if (row.type == FeatureTypeEnum) {
            feature["entries"] = row.entries;
        }
        feature["description"] = row.description;
        json["features"].push_back(std::move(feature));
    }
    return Text("maravel-describe-1", std::move(json));
}

std::string ValuesAsJson(const host::Channel& channel, const std::vector<FeatureRow>& rows)
{
    Json json = ChannelOf(channel);
    json["values"] = Json::object();
    for (const FeatureRow& row : rows) {
        json["values"][row.name] = ValueOf(row);
    }
    return Text("maravel-get-1", std::move(json));
}

std::string GrabAsJson(const std::vector<GrabResult>& results, const std::string& contactSheet)
{
    Json cameras = Json::array();
    for (const GrabResult& result : results) {
        Json camera = {{"channel", result.channel}, {"camera", result.camera}, {"images", result.images},
                       {"width", result.width},     {"height", result.height}, {"seconds", result.seconds},
                       {"rate", result.rate}};
        if (result.lost) {
            camera["lost"] = *result.lost;
            camera["lostBy"] = result.byFrameNumbers ? "frame numbers" : "time stamps";
        }
        camera["interruptions"] = result.interruptions;
        camera["secondsGone"] = result.secondsGone;
        camera["firstFile"] = result.firstFile;
        camera["lastFile"] = result.lastFile;
        cameras.push_back(std::move(camera));
    }
    Json json = {{"cameras", std::move(cameras)}};
    if (!contactSheet.empty()) {
        json["contactSheet"] = contactSheet;
    }
    return Text("maravel-grab-1", std::move(json));
}

} // namespace maravel::camhost
