// What a run came to, and the forms in which it is handed on.
#pragma once

#include "Catalogue.h"
#include "Check.h"

#include <array>
#include <string>
#include <vector>

namespace maravel::certify {

struct Header
{
    std::string program; // "camhost 1.4.0-r150"
    std::string system;
    std::string when; // local time
    std::string sdkFolder;
    std::string runtimeSum, transformSum; // SHA-256 of the two libraries, or why there is none
    std::string adapter, adapterSum;
    std::string camera; // identifier, model and serial number
    std::string mode;   // "strict, read-only", or empty
};

struct Report
{
    Header header;
    std::vector<Result> results;
    std::vector<std::string> left; // settings that could not be put back
    double seconds = 0;

    // By Outcome.
    std::array<std::size_t, 5> Counts() const;
    bool Passed() const;
};

const char* WordOf(Outcome outcome); // "OK", "OK (not supported)", "FAIL", ...

// The lines of the terminal.
std::string HeaderAsText(const Header& header);
std::string GroupAsText(const GroupText& group);
std::string ResultAsText(const Result& result);
std::string TotalAsText(const Report& report);

std::string ReportAsJson(const Report& report);  // docs/certify.schema.json
std::string ReportAsJUnit(const Report& report); // one test suite a group
std::string ReportAsHtml(const Report& report);  // one page that needs no other file

} // namespace maravel::certify
