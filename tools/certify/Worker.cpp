#include "Worker.h"

#include <nlohmann/json.hpp>

#include <cstdio>

namespace maravel::certify::worker {
namespace {

using Json = nlohmann::json;

void Print(const Json& message)
{
    // Texts of a library may be anything.
    const std::string line = kMark + message.dump(-1, ' ', true, Json::error_handler_t::replace) + "\n";
    std::fputs(line.c_str(), stdout);
    std::fflush(stdout);
}

} // namespace

void TellBegin(const std::string& id)
{
    Print({{"begin", id}});
}

void Tell(const Result& result)
{
    Print({{"end", result.id},
           {"outcome", static_cast<int>(result.outcome)},
           {"text", result.text},
           {"seconds", result.seconds}});
}

void TellLeft(const std::string& setting)
{
    Print({{"left", setting}});
}

void TellCamera(const std::string& camera)
{
    Print({{"camera", camera}});
}

Message Parse(const std::string& line)
{
    Message message;
    // A library may have printed without a line end before it.
    const auto mark = line.find(kMark);
    if (mark == std::string::npos) {
        return message;
    }
    const Json json = Json::parse(line.substr(mark + std::char_traits<char>::length(kMark)), nullptr, false);
    if (!json.is_object()) {
        return message;
    }
    if (json.contains("begin")) {
        message.kind = Message::Kind::Begin;
        message.result.id = json.at("begin").get<std::string>();
    }
    else if (json.contains("left")) {
        message.kind = Message::Kind::Left;
        message.text = json.at("left").get<std::string>();
    }
    else if (json.contains("camera")) {
        message.kind = Message::Kind::Camera;
        message.text = json.at("camera").get<std::string>();
    }
    else if (json.contains("end")) {
        message.kind = Message::Kind::End;
        message.result = {.id = json.at("end").get<std::string>(),
                          .outcome = static_cast<Outcome>(json.at("outcome").get<int>()),
                          .text = json.at("text").get<std::string>(),
                          .seconds = json.at("seconds").get<double>()};
    }
    return message;
}

} // namespace maravel::certify::worker
