#include "Runner.h"

#include "Worker.h"
#include "camhost/System.h"

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>

namespace maravel::certify {
namespace {

using Clock = std::chrono::steady_clock;

std::string Joined(const std::vector<std::string>& lines)
{
    std::string text;
    for (const std::string& line : lines) {
        text += (text.empty() ? "" : "\n") + line;
    }
    return text;
}

Result Judge(Session& session, const Check& check)
{
    Result result{.id = check.id, .outcome = Outcome::Ok, .text = {}, .seconds = 0};
    const auto end = [&](Outcome outcome, const std::string& text) {
        result.outcome = outcome;
        result.text = text;
    };
    try {
        if (session.Asked().readOnly && check.effect == Effect::Writes) {
            throw Skip{"it would change the camera"};
        }
        session.Reach(check.stage);
        check.body(session);
        if (const auto warnings = session.TakeWarnings(); !warnings.empty()) {
            end(Outcome::Warning, Joined(warnings));
        }
    }
    catch (const Failed& failed) {
        end(Outcome::Failed, failed.text);
    }
    catch (const Skip& skip) {
        end(Outcome::Skipped, skip.reason);
    }
    catch (const NotSupported& absent) {
        end(Outcome::NotSupported, absent.what);
    }
    catch (const std::exception& fault) {
        end(Outcome::Failed, std::string("the check itself ended with: ") + fault.what());
    }
    return result;
}

// Ends the process when a check lasts too long.
class Watchdog
{
public:
    explicit Watchdog(std::chrono::seconds patience) : patience_(patience), thread_([this] { Watch(); }) {}
    ~Watchdog()
    {
        {
            const std::lock_guard lock(mutex_);
            ended_ = true;
        }
        changed_.notify_all();
        thread_.join();
    }
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

    // Empty: none runs.
    void Runs(const std::string& check)
    {
        {
            const std::lock_guard lock(mutex_);
            check_ = check;
            since_ = Clock::now();
        }
        changed_.notify_all();
    }

private:
    void Watch()
    {
        std::unique_lock lock(mutex_);
        while (!ended_) {
            if (check_.empty()) {
                changed_.wait(lock);
                continue;
            }
            if (Clock::now() - since_ > patience_) {
                worker::Tell(
                    Result{.id = check_,
                           .outcome = Outcome::Failed,
                           .text = "it did not return within " + std::to_string(patience_.count()) + " s",
                           .seconds = static_cast<double>(patience_.count())});
                std::_Exit(worker::kHung);
            }
            changed_.wait_until(lock, since_ + patience_);
        }
    }

    const std::chrono::seconds patience_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::string check_;
    Clock::time_point since_;
    bool ended_ = false;
    std::thread thread_; // last: it uses the others
};

void TellCameraOf(Session& session)
{
    try {
        session.Reach(Stage::Started);
        std::string text = session.CameraId();
        if (!text.empty()) {
            const ZvkCameraInfo_t info = session.Cameras().at(session.CameraIndex());
            if (info.modelName != nullptr && info.serialString != nullptr) {
                text += std::string(" (") + info.modelName + ", serial number " + info.serialString + ")";
            }
        }
        worker::TellCamera(text);
    }
    catch (const Skip&) {
        // The checks tell why.
    }
    catch (const Failed&) {
    }
}

void PutBackAll(Session& session)
{
    try {
        for (const std::string& left : session.PutBack()) {
            worker::TellLeft(left);
        }
    }
    catch (const Skip& skip) {
        worker::TellLeft("the camera's settings: " + skip.reason);
    }
    catch (const Failed& failed) {
        worker::TellLeft("the camera's settings: " + failed.text);
    }
}

} // namespace

const Check* FindCheck(const std::string& id)
{
    for (const Group& group : Groups()) {
        for (const Check& check : group.checks) {
            if (id == check.id) {
                return &check;
            }
        }
    }
    return nullptr;
}

Result RunCheck(Session& session, const Check& check)
{
    const auto begin = Clock::now();
    Result result = Judge(session, check);
    session.TakeWarnings();
    if (const auto told = session.TakeTold(); !told.empty() && result.outcome != Outcome::Failed) {
        result.text += (result.text.empty() ? "" : "\n") + Joined(told);
    }
    if (result.outcome == Outcome::Failed) {
        try {
            session.Leave();
            session.PutBack();
        }
        catch (...) {
            // The next check, or the end of the group, tells what is left.
        }
        session.Leave();
    }
    result.seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    return result;
}

int RunAsWorker(const Settings& settings, const std::vector<std::string>& words)
{
    camhost::CatchEndRequests(); // the settings are put back first
    BeStrict(settings.strict);
    Watchdog watchdog(std::chrono::seconds(settings.patience));
    Session session(settings);
    if (words.front() == worker::kCamera) {
        watchdog.Runs(worker::kCamera);
        TellCameraOf(session);
        return 0;
    }
    bool clean = true;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const Check* check = FindCheck(words[i]);
        if (check == nullptr || camhost::EndRequested()) {
            break;
        }
        worker::TellBegin(words[i]);
        watchdog.Runs(words[i]);
        const Result result = RunCheck(session, *check);
        worker::Tell(result);
        clean = clean && result.outcome != Outcome::Failed;
        if (i + 1 == words.size() || words[i + 1].front() == words[i].front()) {
            continue;
        }
        // What a failed check did to this process must not reach the next group. A start of the SDK takes
        // seconds, so that a process that is as it was goes on.
        if (!clean) {
            break;
        }
        watchdog.Runs(worker::kSettings);
        PutBackAll(session);
        try {
            session.SetFreeRun();
        }
        catch (const Failed&) {
            break; // the next group tells, in a process of its own
        }
    }
    watchdog.Runs(worker::kSettings);
    PutBackAll(session);
    session.Leave();
    watchdog.Runs("");
    return 0;
}

} // namespace maravel::certify
