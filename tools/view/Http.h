// A request and what is answered, apart from the library that carries them.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace maravel::view {

struct Request
{
    std::string method, path; // decoded, without the query
    std::map<std::string, std::string> query;
    std::map<std::string, std::string> headers; // names in lower case
    std::string body;

    std::string Header(const std::string& name) const;
    std::string Query(const std::string& name) const;
    long long Number(const std::string& name, long long otherwise) const;
};

struct Reply
{
    int status = 200;
    std::string type = "application/json";
    std::string body;
    std::vector<std::pair<std::string, std::string>> headers;
};

// Splits and decodes a request's target; false when it is none of ours.
bool ParseTarget(const std::string& target, Request* request);

Reply ErrorReply(int status, const std::string& text);

} // namespace maravel::view
