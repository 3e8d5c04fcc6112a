#include "bench/PathBench.h"
#include "core/FeatureNameIndex.h"

#include <cstring>
#include <deque>
#include <random>
#include <stdexcept>
#include <string>

namespace maravel::bench {
namespace {

// Names as cameras have them: many begin alike.
class FeatureList
{
public:
    explicit FeatureList(std::size_t count)
    {
        const char* const stems[] = {
            "AcquisitionFrame", "DeviceTemperature", "TriggerSelector", "ExposureTime",
            "BalanceRatio",     "CounterValue",      "LineStatus",      "UserSet"};
        for (std::size_t i = 0; i < count; ++i) {
            names_.push_back(stems[i % std::size(stems)] + std::to_string(1000 + i));
            ZvkFeatureInfo_t feature = {};
            feature.name = names_.back().c_str();
            features_.push_back(feature);
        }
        index_.Build(features_.data(), features_.size());

        std::mt19937 random(1);
        for (int i = 0; i < 4096; ++i) {
            wanted_.push_back(names_[random() % count]);
        }
    }

    // Looks up a name that the caller has in memory of its own; the next one at every call.
    void FindInIndex() { Check(index_.Find(Next())); }

    void FindByWalking()
    {
        const std::string& name = Next();
        std::size_t i = 0;
        while (i < features_.size() && std::strcmp(features_[i].name, name.c_str()) != 0) {
            ++i;
        }
        Check(i);
    }

private:
    const std::string& Next()
    {
        next_ = (next_ + 1) % wanted_.size();
        return wanted_[next_];
    }

    void Check(std::size_t position) const
    {
        if (position >= features_.size()) {
            throw std::logic_error("a name was not found");
        }
    }

    std::deque<std::string> names_; // whose texts stay where they are
    std::vector<ZvkFeatureInfo_t> features_;
    std::vector<std::string> wanted_;
    FeatureNameIndex index_;
    std::size_t next_ = 0;
};

} // namespace

void MeasureLookUp(const PathBenchSettings& settings, Report& report)
{
    FeatureList few(300);
    FeatureList many(1000);
    const std::vector<Subject> subjects = {{"walk 1,000", [&] { many.FindByWalking(); }},
                                           {"index 1,000", [&] { many.FindInIndex(); }},
                                           {"index 300", [&] { few.FindInIndex(); }}};
    RoundSettings round;
    round.rounds = settings.rounds;
    round.stopwatch = settings.stopwatch;
    round.repeats = 20'000;
    round.warmUps = 2'000;
    const Rounds rounds(subjects, round);
    report.AddGoal("Look-up among 1,000 names against a walk with strcmp",
                   rounds.SpeedAgainst("index 1,000", "walk 1,000"), Bound::AtLeast, 20);
    report.AddGoal("Look-up among 1,000 names: time against 300 names",
                   rounds.SpeedAgainst("index 300", "index 1,000"), Bound::AtMost, 1.15);
}

} // namespace maravel::bench
