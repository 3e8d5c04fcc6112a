// Any bytes as a log: read in pieces, judged, and written in every form. The first byte is the size of the
// pieces.
#include "diagnosis/Analysis.h"
#include "diagnosis/Reports.h"
#include "diagnosis/Trace.h"

#include <cstdint>
#include <sstream>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace maravel::diagnosis;
    if (size == 0) {
        return 0;
    }
    const std::size_t piece = data[0] == 0 ? size : data[0];
    const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    std::ostringstream traced;
    TraceWriter trace(traced);
    Analysis analysis([&trace](const Entry& entry, const Match& match) { trace.Take(entry, match); });
    for (std::size_t at = 0; at < bytes.size(); at += piece) {
        analysis.Feed(bytes.substr(at, piece));
    }
    analysis.Finish();
    const LogReport report = analysis.Report({});
    trace.Finish(report);
    ReportAsText(report, {});
    ReportAsJson(report);
    ReportAsHtml(report);
    return 0;
}
