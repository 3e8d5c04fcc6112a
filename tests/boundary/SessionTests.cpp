// One whole session, word by word: what the log says of it (Session.log) and what the SDK is asked for
// (Session.calls). MARAVEL_TEST_REWRITE=1 writes both files anew, beside the program; read them before use.
#include "boundary/AdapterTest.h"

#include "support/Patterns.h"

#include <cstdlib>
#include <fstream>

namespace maravel::test {

namespace {

using Lines = std::vector<std::string>;

Lines ReadLines(const std::string& file)
{
    Lines lines;
    std::ifstream stream(file);
    for (std::string line; std::getline(stream, line);) {
        std::erase(line, '\r');
        lines.push_back(line);
    }
    return lines;
}

class SessionTest : public AdapterTest
{
protected:
    SessionTest()
    {
        Open();
        EXPECT_EQ(Configure(2), 0);
        EXPECT_EQ(Configure(1, 0, 0), 0);
        EXPECT_EQ(Configure(1, 0, 1), 0);
        EXPECT_EQ(Configure(1, 1, 1), 0);
        EXPECT_EQ(Configure(1), 0);
        WorkWithFeatures();
        EXPECT_EQ(Start(1), 0);
        DeliverFrames(1);
        Fetch(1, std::size_t{32} * 16 * 3);
        EXPECT_EQ(Stop(1), 0);
        EXPECT_EQ(Release(0), 0);
        UnloadAdapter();
    }

    void WorkWithFeatures()
    {
        const std::pair<const char*, const char*> values[] = {
            {"Width", "32"},          {"Gain", "1.5"},       {"GainAuto", "Off"},
            {"DeviceUserID", "here"}, {"ReverseX", "False"},
        };
        for (const auto& [name, text] : values) {
            Read(1, name);
            EXPECT_EQ(Result(), 0) << name;
            EXPECT_EQ(Write(1, name, text), 0) << name;
        }
        EXPECT_EQ(Execute(1, "TriggerSoftware"), 0);
        EXPECT_NE(Entry(1, "GainAuto", 0), "");
    }

    // Where the machine or the run speaks, a name in angle brackets; repeated lines once, with their number.
    Lines Masked(const Lines& lines) const
    {
        static const std::pair<const char*, const char*> masks[] = {
            {"(Calling process: ).*boundary_tests(?:\\.exe)?", "$1<program>"},
            {"(Adapter version: V\\d+\\.\\d+\\.\\d+\\.)\\d+", "$1<revision>"},
            {"(as admin: )[01]", "$1<admin>"},
            {"(Camera[:=] ?)[0-9A-Fx]+", "$1<handle>"},
            {"(timestamp=)\\d+", "$1<time>"},
            {"(Frame(?:Announce|Queue)\\(camera \\d, )\\w+", "$1<frame>"},
        };
        Lines masked;
        std::vector<int> times;
        for (std::string line : lines) {
            if (const std::size_t at = line.find(SdkFolder()); at != std::string::npos) {
                line.replace(at, SdkFolder().size(), "<sdk>");
            }
            for (const auto& [mask, name] : masks) {
                line = ReplacePattern(line, mask, name);
            }
            if (masked.empty() || line != masked.back()) {
                masked.push_back(line);
                times.push_back(0);
            }
            ++times.back();
        }
        for (std::size_t i = 0; i < masked.size(); ++i) {
            if (times[i] > 1) {
                masked[i] += " (" + std::to_string(times[i]) + " times)";
            }
        }
        return masked;
    }

    void ExpectAsWritten(const Lines& lines, const std::string& name) const
    {
        const std::string file = ExecutableFolder() + PathSeparator + name;
        const Lines masked = Masked(lines);
        if (std::getenv("MARAVEL_TEST_REWRITE") != nullptr) {
            std::ofstream stream(file);
            for (const std::string& line : masked) {
                stream << line << '\n';
            }
        }
        const Lines expected = ReadLines(file);
        ASSERT_FALSE(expected.empty()) << file;
        for (std::size_t i = 0; i < std::max(masked.size(), expected.size()); ++i) {
            ASSERT_EQ(i < masked.size() ? masked[i] : "(end)", i < expected.size() ? expected[i] : "(end)")
                << name << ", line " << i + 1;
        }
    }
};

TEST_F(SessionTest, TheLogTellsIt)
{
    ExpectAsWritten(Log(), "Session.log");
}

TEST_F(SessionTest, TheSdkIsAskedForNothingElse)
{
    ExpectAsWritten(sdk.Calls(), "Session.calls");
}

} // namespace

} // namespace maravel::test
