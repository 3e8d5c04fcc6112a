// A report in the forms that people and programs read.
#pragma once

#include "LogReport.h"
#include "MessageMatcher.h"

#include <iosfwd>
#include <string>

namespace maravel::diagnosis {

struct TextStyle
{
    bool blocks = false; // the rate strip in block elements instead of ASCII
};

// The answer first, the evidence second, a row for each channel third.
std::string ReportAsText(const LogReport& report, const TextStyle& style);
std::string FindingAsText(const Finding& finding);

// docs/log-report.schema.json describes it.
std::string ReportAsJson(const LogReport& report);

// One page with charts that needs nothing else.
std::string ReportAsHtml(const LogReport& report);

// The format file for lnav.
std::string LnavFormat();

// What a message or a fault means, in a few lines; empty when nothing of that kind is known.
std::string Explain(const std::string& text);

} // namespace maravel::diagnosis
