// The conformance run as a person starts it, on the simulated cameras as they are delivered and on the fake
// camera of Aravis.
#include "CameraTest.h"
#include "host/Utf8Path.h"
#include "tools/Shell.h"

#include <filesystem>
#include <fstream>
#include <thread>

namespace maravel::test {
namespace {

namespace fs = std::filesystem;

// What Aravis' fake camera cannot do: it sends images also while it should wait for a pulse, and takes note
// of a software trigger only with its next image. A busy machine loses packets of its large frames.
constexpr const char* kLimitsOfFakeCamera = "M4,Q2,Q3";

struct CertifyRun
{
    std::string channel;
    int exitCode = -1;
    std::string failures; // and what could not be put back
};

class Certification : public testing::TestWithParam<std::string>
{
protected:
    void SetUp() override
    {
        bench_ = MakeBench(GetParam());
        if (bench_->CameraCount() == 0) {
            GTEST_SKIP() << bench_->WhyNone();
        }
        if (GetParam() == "Aravis" && !std::string(MARAVEL_CHECKS_OF_MEMORY).empty()) {
            GTEST_SKIP() << "under a sanitizer the fake camera sends faster than is received";
        }
    }

    std::string In(const std::string& name) const { return '"' + host::TextOf(folder_.Path() / name) + '"'; }

    void Perform(CertifyRun& run) const
    {
        const std::string output = "output-" + run.channel;
        std::string line = '"' + host::TextOf(fs::path(ExecutableFolder()) / MARAVEL_CAMHOST) +
                           "\" certify --strict --sdk \"" + bench_->SdkFolder() + "\" --channel " +
                           run.channel + " --junit " + In("report-" + run.channel + ".xml");
        const std::string limits = GetParam() == "Aravis" ? kLimitsOfFakeCamera : "";
        const std::string memory = MARAVEL_CHECKS_OF_MEMORY;
        if (!limits.empty() || !memory.empty()) {
            line += " --known " + limits + (limits.empty() || memory.empty() ? "" : ",") + memory;
        }
        run.exitCode = Shell(line + " > " + In(output));
        std::ifstream file(folder_.Path() / output);
        for (std::string text; std::getline(file, text);) {
            if (text.find(": FAIL") != std::string::npos || text.find("  fail: ") != std::string::npos ||
                text.find("could not be put back") != std::string::npos) {
                run.failures += text + '\n';
            }
        }
    }

    std::unique_ptr<Bench> bench_;
    const PrivateMachine machine_;
    const OwnFolder folder_{"certification"};
};

INSTANTIATE_TEST_SUITE_P(On, Certification, testing::ValuesIn(BenchNames()), NameOfBench);

TEST_P(Certification, FindsNoFault)
{
    std::vector<CertifyRun> runs;
    if (GetParam() == "Aravis") {
        runs.push_back({.channel = bench_->Serial(0), .failures = {}});
    }
    else {
        for (const char* channel : {"0", "1", "2", "3"}) {
            runs.push_back({.channel = channel, .failures = {}});
        }
    }
    std::vector<std::thread> threads; // most of a run is waiting
    for (CertifyRun& run : runs) {
        threads.emplace_back([&] { Perform(run); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const CertifyRun& run : runs) {
        EXPECT_EQ(run.exitCode, 0) << "channel " << run.channel << '\n' << run.failures;
        if (std::string(MARAVEL_XMLLINT).empty()) {
            continue; // on Windows
        }
        EXPECT_EQ(Shell(std::string(MARAVEL_XMLLINT) + " --noout --schema \"" MARAVEL_JUNIT_SCHEMA "\" " +
                        In("report-" + run.channel + ".xml")),
                  0);
    }
}

} // namespace
} // namespace maravel::test
