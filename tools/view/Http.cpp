#include "Http.h"

#include <nlohmann/json.hpp>

#include <charconv>

namespace maravel::view {
namespace {

bool Decode(const std::string& text, std::string* out)
{
    out->clear();
    for (std::size_t i = 0; i < text.size(); ++i) {
        unsigned value = 0;
        if (text[i] != '%') {
            out->push_back(text[i] == '+' ? ' ' : text[i]);
            continue;
        }
        if (i + 2 >= text.size()) {
            return false;
        }
        const auto end = text.data() + i + 3;
        const auto result = std::from_chars(text.data() + i + 1, end, value, 16);
        if (result.ec != std::errc() || result.ptr != end || value == 0) {
            return false;
        }
        out->push_back(static_cast<char>(value));
        i += 2;
    }
    return true;
}

} // namespace

std::string Request::Header(const std::string& name) const
{
    const auto found = headers.find(name);
    return found == headers.end() ? "" : found->second;
}

std::string Request::Query(const std::string& name) const
{
    const auto found = query.find(name);
    return found == query.end() ? "" : found->second;
}

long long Request::Number(const std::string& name, long long otherwise) const
{
    const std::string text = Query(name);
    long long value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc() && result.ptr == text.data() + text.size() ? value : otherwise;
}

bool ParseTarget(const std::string& target, Request* request)
{
    const std::size_t question = target.find('?');
    if (target.empty() || target.front() != '/' || !Decode(target.substr(0, question), &request->path)) {
        return false;
    }
    std::size_t at = question == std::string::npos ? target.size() : question + 1;
    while (at < target.size()) {
        const std::size_t end = std::min(target.find('&', at), target.size());
        const std::size_t equals = std::min(target.find('=', at), end);
        std::string name, value;
        if (!Decode(target.substr(at, equals - at), &name) ||
            !Decode(equals < end ? target.substr(equals + 1, end - equals - 1) : "", &value)) {
            return false;
        }
        request->query[name] = value;
        at = end + 1;
    }
    return true;
}

Reply ErrorReply(int status, const std::string& text)
{
    // The adapter's texts are in whatever code page the system has.
    const nlohmann::json json = {{"error", text}};
    return {
        status, "application/json", json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace), {}};
}

} // namespace maravel::view
