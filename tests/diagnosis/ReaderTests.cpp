// The reader of the log: bytes to entries, entries to messages, messages to findings.
#include "diagnosis/Analysis.h"
#include "diagnosis/LogFile.h"
#include "diagnosis/Machine.h"
#include "diagnosis/Reports.h"
#include "support/Patterns.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

namespace maravel::diagnosis {
namespace {

using Texts = std::vector<std::string>;

// "line|milliseconds since midnight|text" of every entry; the bytes come in pieces of that size.
Texts Entries(const std::string& bytes, std::size_t piece)
{
    Texts entries;
    LogReader reader;
    const auto sink = [&](const Entry& entry) {
        entries.push_back(std::to_string(entry.line) + "|" + std::to_string(entry.time) + "|" +
                          std::string(entry.text));
    };
    for (std::size_t at = 0; at < bytes.size(); at += piece) {
        reader.Feed(std::string_view(bytes).substr(at, piece), sink);
    }
    reader.Finish(sink);
    return entries;
}

TEST(LogReader, CutsEntriesOutOfWhateverIsLeft)
{
    const std::string nul(3, '\0');
    const std::string longest(1023, 'x');
    const std::pair<std::string, Texts> rows[] = {
        {"[00:00:01:000 L00001] A: b\n[00:00:02:000 L00002] C\n", {"1|1000|A: b", "2|2000|C"}},
        {"[00:00:01:000 L00001] A: b\r\n", {"1|1000|A: b"}},
        {"[00:00:01:000 L00001] no end", {"1|1000|no end"}},
        {"[00:00:01:000 L00001] no end[00:00:02:000 L00002] C\n", {"1|1000|no end", "1|2000|C"}},
        {"[00:00:01:000 L00001] (Mono [T0])\n", {"1|1000|(Mono [T0])"}},
        {"[00:00:01:000 L00001] " + longest + "[00:00:02:000 L00002] C\n", {"1|1000|" + longest, "1|2000|C"}},
        {"[00:00:01:000 L00001] A\n" + nul + "eft over\n[00:00:02:000 L00002] C\n",
         {"1|1000|A", "2|-1|eft over", "3|2000|C"}},
        {"[00:00:01:000 L00001] A" + nul + "[00:00:02:000 L00002] C\n", {"1|1000|A", "1|2000|C"}},
        {"[23:59:59:900 L00001] A\n[00:00:00:100 L00002] B\n[23:59:59:950 L00003] C\n",
         {"1|86399900|A", "2|86400100|B", "3|86399950|C"}},
        {"[08:00:00:000 L00001] A\n[07:59:59:999 L00001] B\n", {"1|28800000|A", "2|28799999|B"}},
        {"[00:00:01:000 L0001] five digits\n[99\n\n", {"1|-1|[00:00:01:000 L0001] five digits", "2|-1|[99"}},
    };
    for (const auto& [bytes, expected] : rows) {
        for (const std::size_t piece : {bytes.size(), std::size_t{1}, std::size_t{7}}) {
            EXPECT_EQ(Entries(bytes, piece), expected) << bytes << " in pieces of " << piece;
        }
    }
}

std::string Replace(std::string text, const std::string& name, const std::string& value)
{
    for (std::size_t at = text.find(name); at != std::string::npos; at = text.find(name, at + value.size())) {
        text.replace(at, name.size(), value);
    }
    return text;
}

TEST(MessageMatcher, RecognisesEveryMessageOfTheDocument)
{
    MessageMatcher matcher;
    ASSERT_GT(Messages().size(), 150u);
    for (const Message& message : Messages()) {
        if (message.text == "%s" || message.text == "%s(%d)" || message.text == "%s, (%d)" ||
            message.section.empty()) {
            continue;
        }
        std::string line = Replace(Replace(message.text, "% s", "%s"), "% d", "%d");
        const bool listed = line == "%s: %s" || line.starts_with("%s:  %s=");
        const std::size_t operation = line.find("%s");
        if (operation == 0 || (operation == 1 && line[0] == ' ')) {
            line.replace(operation, 2, listed ? "listAdapters" : "C3::Oper_ation");
        }
        line = test::ReplacePattern(line, "%[0-9]*(llu|lld|u|d|X)", "12");
        line = Replace(Replace(line, "%f", "-1.500000"), "%s", "it's");
        const Match match = matcher.Find(line);
        ASSERT_NE(match.message, nullptr) << line;
        if (message.text != "%s:  %s=%u") { // a number is a text, too
            EXPECT_EQ(match.message->text, message.text) << line;
        }
        const bool names =
            test::ContainsPattern(message.text, "[Cc]hannelID[=: ]+%(lld|d)|Channel: %d|devnum=%d");
        EXPECT_EQ(match.channel, names ? 12 : Match::NoChannel) << line;
        EXPECT_EQ(match.reason, message.text.find("Reason") == std::string::npos ? "" : "it's") << line;
    }
}

TEST(MessageMatcher, TakesCutMessagesAndNothingElse)
{
    MessageMatcher matcher;
    const std::string name(400, 'n');
    std::string cut = "ReadValue: ERROR. Feature '" + name;
    cut.resize(255);
    ASSERT_NE(matcher.Find(cut).message, nullptr);
    EXPECT_EQ(matcher.Find(cut).message->text, "%s: ERROR. Feature '%s' not found for channelID=%lld.");
    cut.pop_back();
    for (const std::string& text :
         {cut, std::string("Hello: world"), std::string("Found 3 camera(s)"), std::string(),
          std::string("GetVideoChannel: Accessing channelID x..."), std::string("Width"),
          std::string("StopAcquisition: channelID=3 or so")}) {
        EXPECT_EQ(matcher.Find(text).message, nullptr) << text;
    }
}

TEST(FieldGuide, HasARemedyForEveryFault)
{
    std::ifstream file(MARAVEL_SOURCE_FOLDER "/docs/field-guide.md");
    const std::string guide{std::istreambuf_iterator<char>(file), {}};
    for (const Fault& fault : Faults()) {
        EXPECT_NE(guide.find("`" + std::string(fault.name) + "`"), std::string::npos) << fault.name;
        EXPECT_NE(Explain(fault.name).find(fault.name), std::string::npos);
        EXPECT_EQ(Explain(fault.name).find('{'), std::string::npos) << Explain(fault.name);
    }
}

// As `camhost log --follow` reads it.
TEST(LogTail, ReadsOnAndNoticesThatTheFileWasEmptied)
{
    const std::filesystem::path file = std::filesystem::temp_directory_path() / "maravel-tail-test.log";
    const auto write = [&file](std::ios::openmode mode, const char* text) {
        std::ofstream(file, std::ios::binary | mode) << text;
    };
    write(std::ios::trunc, "[09:00:00:000 L00001] EnumCam");
    LogTail tail(file);
    Analysis analysis;
    EXPECT_TRUE(tail.ReadInto(analysis));
    EXPECT_FALSE(tail.ReadInto(analysis));
    EXPECT_EQ(analysis.Report({}).entries, 0u) << "half a line";
    write(std::ios::app, "eras\n[09:00:00:001 L00001] EnumCameras: Found 0 camera(s)\n");
    EXPECT_TRUE(tail.ReadInto(analysis));
    EXPECT_FALSE(tail.WasEmptied());
    const LogReport report = analysis.Report({});
    EXPECT_EQ(report.entries, 2u);
    ASSERT_FALSE(report.runs.at(0).findings.empty());
    EXPECT_STREQ(report.runs[0].findings[0].fault->name, "no-camera");
    write(std::ios::trunc, "[09:00:00:002 L00001] Exit\n");
    EXPECT_TRUE(tail.WasEmptied());
    for (int i = 0; i < 9; ++i) {
        write(std::ios::app, "[09:00:00:003 L00001] EnumCameras\n");
    }
    EXPECT_TRUE(tail.WasEmptied()) << "and grew beyond what was read";
    std::filesystem::last_write_time(file,
                                     std::filesystem::file_time_type::clock::now() + std::chrono::hours(1));
    EXPECT_EQ(LastChangeOf(file).secondsAgo, 0) << "a clock that was set back";
    std::filesystem::remove(file);
    EXPECT_THROW(tail.ReadInto(analysis), std::system_error);
}

TEST(Analysis, TakesWhatIsNotUtf8ForWindows1252)
{
    const std::pair<const char*, const char*> rows[] = {
        {"plain", "plain"},
        {"\xC3\xA9", "\u00e9"},
        {"\xE9t\xE9", "\u00e9t\u00e9"},
        {"\xC3", "\u00c3"},
        {"\xE2\x82\xAC", "\u20ac"},
        {"\xC0\x80", "\u00c0\u20ac"},
        {"\xED\xA0\x80", "\u00ed\u00a0\u20ac"},
        {"a\tb\x01", "a b "},
    };
    for (const auto& [bytes, text] : rows) {
        EXPECT_EQ(ToUtf8(bytes), text) << bytes;
    }
}

TEST(Analysis, TakesTogetherWhatALineBreakInAValueParts)
{
    Analysis analysis;
    analysis.Feed("[09:00:00:000 L00001] WriteValue: channelID=0, addr='A', val='x\n\ny'\n"
                  "[09:00:00:001 L00002] Something new\n[09:00:00:002 L00003] EnumCameras\nleft over\n");
    EXPECT_EQ(analysis.Report({}).unknown, 1u);
    EXPECT_EQ(analysis.Report({}).firstUnknown.at(0).text, "Something new");
}

// The line of an incomplete frame names no camera.
TEST(Analysis, FindsTheCameraOfAnIncompleteFrameAmongSeveral)
{
    struct
    {
        int every; // of the second camera's frames one is incomplete
        const char* fault;
        std::uint64_t incomplete;
    } const rows[] = {{4, "packets-lost", 24}, {1, "all-frames-incomplete", 99}, {1000, nullptr, 0}};
    for (const auto& row : rows) {
        Analysis analysis;
        int time = 0;
        const auto feed = [&](const std::string& text) {
            char head[40];
            std::snprintf(head, sizeof head, "[09:00:%02d:%03d L00001] ", time / 1000, time % 1000);
            analysis.Feed(head + text + "\n");
        };
        const auto store = [&](const char* channel, int number) {
            feed(std::string("FrameReceivedCallback: Frame stored in FIFO. channelID=") + channel +
                 ", BufferID=0, FrameID=" + std::to_string(number) + ", Frame timestamp=1");
            feed("GetImageAttributes: INFO offsetX=0, offsetY=0, width=8, height=8");
        };
        for (const char* channel : {"0", "1"}) {
            feed(std::string("StartAcquisition: channelID=") + channel);
            feed("StartAcquisition: ZvkFeatureCommandRun->AcquisitionStart success.");
        }
        for (int number = 1; number < 100; ++number, time += 20) {
            store("0", number);
            if (number % row.every == 0) {
                feed("FrameReceivedCallback: Frame incomplete (-1). Requeueing...");
            }
            else {
                store("1", number);
            }
        }
        const RunReport run = analysis.Report({}).runs.at(0);
        EXPECT_EQ(run.channels.at(0).incomplete, 0u);
        EXPECT_EQ(run.channels.at(1).incomplete, row.incomplete);
        EXPECT_EQ(run.channels.at(1).missing, 0u);
        ASSERT_EQ(run.findings.size(), row.fault == nullptr ? 0u : 1u);
        if (row.fault != nullptr) {
            EXPECT_STREQ(run.findings[0].fault->name, row.fault);
            EXPECT_EQ(run.findings[0].channel, 1);
        }
    }
}

// The session that the tests of the boundary compare whole has everything that a healthy run writes.
TEST(Analysis, KnowsEveryLineOfTheWrittenSession)
{
    std::ifstream file(MARAVEL_SOURCE_FOLDER "/tests/boundary/Session.log");
    std::string log;
    for (std::string line; std::getline(file, line);) {
        for (const char* number : {"<revision>", "<admin>", "<time>"}) {
            line = Replace(line, number, "1");
        }
        log += "[09:00:00:000 L00001] " + Replace(line, "<handle>", "0x0000000A") + "\n";
    }
    Analysis analysis;
    analysis.Feed(log);
    const LogReport report = analysis.Report({});
    EXPECT_GT(report.entries, 100u);
    EXPECT_EQ(report.unknown, 0u) << report.firstUnknown.at(0).text;
    ASSERT_EQ(report.runs.size(), 1u);
    EXPECT_TRUE(report.Healthy()) << ReportAsText(report, {});
    EXPECT_EQ(report.runs[0].channels.size(), 3u);
}

} // namespace
} // namespace maravel::diagnosis
