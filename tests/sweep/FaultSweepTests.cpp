// Every scenario again and again, each time with another call of the SDK failing: the first, the second, ...
// until none is left that could fail; with several codes, once and for ever. Prints the number of faults.

#include "sweep/Scenarios.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <set>
#include <utility>

namespace maravel::sweep {

namespace {

constexpr std::int32_t kCodes[] = {-1, -3, -9, -12, -27, 1};
// A fault in the adapter usually shows in thousands of points; these are enough to find it by.
constexpr std::size_t kMaxComplaints = 25;

// Where a fault sits.
struct Point
{
    SdkLibrary library;
    std::uint32_t nth;
    std::int32_t code;
    bool forever;
};

std::uint64_t WantedPoints()
{
    const char* text = std::getenv("MARAVEL_SWEEP_POINTS");
    const std::uint64_t points = text != nullptr ? std::strtoull(text, nullptr, 10) : 0;
    return points > 0 ? points : MARAVEL_SWEEP_DEFAULT_POINTS;
}

bool IsInLog(const std::string& log, const std::string& text)
{
    return log.find("] " + text) != std::string::npos;
}

bool IsReasonOf(const std::string& text, std::int32_t code)
{
    return text.find("(" + std::to_string(code) + ")") != std::string::npos;
}

class Sweep
{
public:
    explicit Sweep(bool isUnkind) : isUnkind_(isUnkind) { ReloadAll(); }

    void Run(std::uint64_t wanted);
    std::uint64_t PointsTried() const { return points_; }

private:
    // What a scenario comes to without faults.
    struct Reference
    {
        std::vector<Answer> first;  // from a released channel, or a stopped adapter
        std::vector<Answer> second; // right after it
        std::uint64_t calls[2];     // of each library, in the first
    };

    void ReloadAll();
    void Prepare(const Scenario& scenario);
    void Finish(const Scenario& scenario);
    Reference Learn(const Scenario& scenario);
    void SweepScenario(const Scenario& scenario, const Reference& reference, std::uint64_t stride);
    bool RunPoint(const Scenario& scenario, const Reference& reference, const Point& point);
    void CheckAnswers(const Reference& reference, const Point& point);
    void CheckAnswer(const Answer& answer, const std::string& log);
    void CheckSecondAttempt(const Scenario& scenario, const std::vector<Answer>& expected);
    void CheckState(const Scenario& scenario);
    void CheckViolations();
    void Complain(const std::string& what);

    const bool isUnkind_;
    std::unique_ptr<SweepHost> host_;
    std::string where_;
    std::set<std::string> complaints_;
    std::uint64_t points_ = 0;
    std::uint64_t skew_ = 0; // where the next strided sweep begins
};

void Sweep::Complain(const std::string& what)
{
    if (complaints_.size() < kMaxComplaints && complaints_.insert(what).second) {
        ADD_FAILURE() << what << "\n  at " << where_;
    }
}

void Sweep::ReloadAll()
{
    host_.reset();
    const std::string left = SweepHost::LeftModules();
    if (!left.empty()) {
        Complain("still loaded: " + left);
    }
    host_ = std::make_unique<SweepHost>(isUnkind_);
}

// A started adapter with the scenario's channel closed and another one open, so that releasing the former
// does not shut the adapter down.
void Sweep::Prepare(const Scenario& scenario)
{
    if (!scenario.IsWholeLife()) {
        host_->Open();
        host_->Read((scenario.channel + 1) % kCameraCount, "Width");
    }
}

// Gives back whatever the scenario left open, and looks whether anything stayed.
void Sweep::Finish(const Scenario& scenario)
{
    if (!scenario.IsWholeLife()) {
        host_->Release(scenario.channel);
        // The one value that decides how many calls a set-up makes.
        host_->sdk.SimWriteFeature(static_cast<std::uint32_t>(scenario.channel), "TriggerSource", "Software");
    }
    else {
        for (int channel = 0; channel < kCameraCount && host_->sdk.State().started != 0; ++channel) {
            host_->Release(channel);
        }
        if (host_->sdk.State().started != 0) {
            host_->Reload(); // without a channel there is nothing to release
        }
    }
    CheckState(scenario);
}

void Sweep::CheckState(const Scenario& scenario)
{
    const std::string left = host_->LeftOver(scenario.IsWholeLife() ? 0 : 1);
    if (!left.empty()) {
        Complain("left over: " + left);
    }
}

void Sweep::CheckViolations()
{
    for (const std::string& violation : host_->Violations()) {
        Complain("the SDK was misused: " + violation);
    }
    if (host_->HasSilentStart()) {
        Complain("a start succeeded, no image came, and the log does not say why");
    }
}

Sweep::Reference Sweep::Learn(const Scenario& scenario)
{
    where_ = scenario.group + ", " + scenario.name + ", without a fault";
    Prepare(scenario);
    Reference reference;
    host_->EndFaults();
    host_->BeginRecord();
    scenario.run(*host_);
    reference.first = host_->Answers();
    reference.calls[0] = host_->Calls(SdkLibrary::Runtime);
    reference.calls[1] = host_->Calls(SdkLibrary::Transform);
    CheckViolations();
    host_->EndFaults();
    host_->BeginRecord();
    scenario.run(*host_);
    reference.second = host_->Answers();
    CheckViolations();
    Finish(scenario);
    return reference;
}

// The host's text, the status and the log say the same.
void Sweep::CheckAnswer(const Answer& answer, const std::string& log)
{
    const bool hasText = !answer.text.empty();
    if (!answer.IsConsistent()) {
        Complain(answer.operation + " answered " + std::to_string(answer.status) + " with the text '" +
                 answer.text + "'");
    }
    if (hasText && answer.isLogged && !IsInLog(log, answer.text)) {
        Complain(answer.operation + " did not log its text '" + answer.text + "'");
    }
}

void Sweep::CheckAnswers(const Reference& reference, const Point& point)
{
    const std::string log = host_->LogSinceRecord();
    const std::vector<Answer>& answers = host_->Answers();
    bool isSame = true; // so far, the fault has not shown
    for (std::size_t i = 0; i < answers.size(); ++i) {
        CheckAnswer(answers[i], log);
        if (isSame && (i >= reference.first.size() || !(answers[i] == reference.first[i]))) {
            isSame = false;
            const std::string& text = answers[i].text;
            if (text.find("Reason=") != std::string::npos && !IsReasonOf(text, point.code)) {
                Complain("'" + text + "' does not name the code " + std::to_string(point.code));
            }
        }
    }
}

void Sweep::CheckSecondAttempt(const Scenario& scenario, const std::vector<Answer>& expected)
{
    host_->BeginRecord();
    scenario.run(*host_);
    const std::vector<Answer>& answers = host_->Answers();
    for (std::size_t i = 0; i < answers.size() || i < expected.size(); ++i) {
        if (i >= answers.size() || i >= expected.size() || !(answers[i] == expected[i])) {
            Complain("the second attempt differs at its answer " + std::to_string(i) + ": " +
                     (i < answers.size()
                          ? answers[i].operation + " " + std::to_string(answers[i].status) + " " +
                                std::to_string(answers[i].detail) + " '" + answers[i].text + "'"
                          : std::string("none")));
            return;
        }
    }
}

// One run with a fault, one without; whether the fault fired.
bool Sweep::RunPoint(const Scenario& scenario, const Reference& reference, const Point& point)
{
    where_ = scenario.group + ", " + scenario.name + ", channel " + std::to_string(scenario.channel) +
             (point.library == SdkLibrary::Runtime ? ", runtime" : ", transform") + " call " +
             std::to_string(point.nth) + (point.forever ? " and all later ones" : "") + " = " +
             std::to_string(point.code);
    host_->BeginRecord();
    host_->EndFaults();
    host_->FailCall(point.library, point.nth, point.code, point.forever);
    scenario.run(*host_);
    const bool fired = host_->FaultsFired(point.library) != 0;
    CheckAnswers(reference, point);
    CheckViolations();
    const int stopRefused = host_->StopRefused();
    host_->EndFaults();

    // Half of the time the host gives up in between, half of the time it goes on with what it has.
    const bool givesUp = point.nth % 2 == 0;
    if (givesUp) {
        Finish(scenario);
    }
    else if (stopRefused >= 0) {
        host_->Stop(stopRefused);
    }
    CheckSecondAttempt(scenario, givesUp ? reference.first : reference.second);
    CheckViolations();
    Finish(scenario);
    return fired;
}

void Sweep::SweepScenario(const Scenario& scenario, const Reference& reference, std::uint64_t stride)
{
    Prepare(scenario);
    for (const SdkLibrary library : {SdkLibrary::Runtime, SdkLibrary::Transform}) {
        const std::uint64_t calls = reference.calls[library == SdkLibrary::Runtime ? 0 : 1];
        for (const std::int32_t code : kCodes) {
            for (const bool forever : {false, true}) {
                // Other calls with every code and mode, so that a stride leaves none out for good.
                std::uint64_t nth = 1 + skew_ % stride;
                for (; nth <= calls && complaints_.size() < kMaxComplaints; nth += stride) {
                    if (RunPoint(scenario, reference,
                                 {library, static_cast<std::uint32_t>(nth), code, forever})) {
                        ++points_;
                    }
                    else {
                        Complain("the fault did not fire");
                    }
                }
                skew_ += nth - calls - 1 + stride - 1;
            }
        }
        // No further call is left that could fail.
        if (RunPoint(scenario, reference,
                     {library, static_cast<std::uint32_t>(calls) + 1, kCodes[0], false})) {
            Complain("there are more calls than counted");
        }
    }
    if (!scenario.IsWholeLife()) {
        host_->Release((scenario.channel + 1) % kCameraCount);
    }
}

// Every how many points of a scenario are tried when it may have no more than `share` of them.
std::uint64_t StrideFor(std::uint64_t available, std::uint64_t share)
{
    return (available + share - 1) / share;
}

// The share of points for each scenario with which all together try at least `wanted`, if there are as many:
// short scenarios are tried whole before long ones are.
std::uint64_t FairShare(const std::vector<std::uint64_t>& available, std::uint64_t wanted)
{
    std::uint64_t low = 1;
    std::uint64_t high = *std::max_element(available.begin(), available.end());
    while (low < high) {
        const std::uint64_t share = low + (high - low) / 2;
        std::uint64_t sum = 0;
        for (const std::uint64_t points : available) {
            sum += points / StrideFor(points, share);
        }
        if (sum < wanted) {
            low = share + 1;
        }
        else {
            high = share;
        }
    }
    return low;
}

void Sweep::Run(std::uint64_t wanted)
{
    const std::vector<Scenario> scenarios = AllScenarios(*host_);
    std::vector<Reference> references;
    std::vector<std::uint64_t> available;
    for (const Scenario& scenario : scenarios) {
        references.push_back(Learn(scenario));
        if (!scenario.IsWholeLife()) {
            host_->Release((scenario.channel + 1) % kCameraCount);
        }
        available.push_back((references.back().calls[0] + references.back().calls[1]) * std::size(kCodes) *
                            2);
    }
    const std::uint64_t share = FairShare(available, wanted);
    std::map<std::string, std::uint64_t> byGroup;
    for (std::size_t i = 0; i < scenarios.size() && complaints_.size() < kMaxComplaints; ++i) {
        const std::uint64_t before = points_;
        ReloadAll();
        const std::uint32_t handles = test::HandlesInUse();
        SweepScenario(scenarios[i], references[i], StrideFor(available[i], share));
        where_ = scenarios[i].group + ", " + scenarios[i].name + ", at its end";
        if (test::HandlesInUse() != handles) {
            Complain("handles or files stay open");
        }
        byGroup[scenarios[i].group] += points_ - before;
    }
    for (const auto& [group, count] : byGroup) {
        std::printf("  %-12s %8llu\n", group.c_str(), static_cast<unsigned long long>(count));
    }
    host_.reset();
    EXPECT_EQ(SweepHost::LeftModules(), "");
}

void SweepAll(bool isUnkind, std::uint64_t wanted)
{
    Sweep sweep(isUnkind);
    sweep.Run(wanted);
    EXPECT_GT(sweep.PointsTried(), 0u);
    std::printf("fault points: %llu\n", static_cast<unsigned long long>(sweep.PointsTried()));
}

TEST(FaultSweep, EveryFaultIsReportedAndLeavesAUsableAdapter)
{
    SweepAll(false, WantedPoints());
}

TEST(FaultSweep, TheSameAboveAnUnkindSdk)
{
    SweepAll(true, WantedPoints() / 4);
}

} // namespace

} // namespace maravel::sweep
