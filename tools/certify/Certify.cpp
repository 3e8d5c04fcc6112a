#include "Certify.h"

#include "Process.h"
#include "Report.h"
#include "Runner.h"
#include "Sha256.h"
#include "Worker.h"
#include "camhost/Failure.h"
#include "camhost/OutputFile.h"
#include "camhost/System.h"
#include "host/Utf8Path.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <memory>
#include <random>
#include <regex>
#include <sstream>

namespace maravel::certify {
namespace {

namespace fs = std::filesystem;
using camhost::Failure;
using Clock = std::chrono::steady_clock;

// A folder of this run, gone with the object.
class OwnFolder
{
public:
    OwnFolder()
        : path_(fs::temp_directory_path() / ("camhost-certify-" + std::to_string(std::random_device()())))
    {
        fs::create_directories(path_);
    }
    ~OwnFolder()
    {
        std::error_code error; // a library of a crashed process may still be loaded
        fs::remove_all(path_, error);
    }
    OwnFolder(const OwnFolder&) = delete;
    OwnFolder& operator=(const OwnFolder&) = delete;

    const fs::path& Path() const { return path_; }

private:
    const fs::path path_;
};

std::vector<std::string> Split(const std::string& text)
{
    std::vector<std::string> words;
    std::istringstream rest(text);
    for (std::string word; std::getline(rest, word, ',');) {
        words.push_back(word);
    }
    return words;
}

struct Chosen
{
    const GroupText* group;
    std::vector<std::string> checks;
};

std::vector<Chosen> Choose(const Order& order)
{
    std::regex filter;
    try {
        filter = std::regex(order.filter, std::regex::icase);
    }
    catch (const std::regex_error&) {
        throw Failure(camhost::ExitWrongArguments,
                      "--filter '" + order.filter + "' is no regular expression; see camhost certify --help");
    }
    std::vector<Chosen> chosen;
    for (const GroupText& group : Catalogue()) {
        if ((!order.group.empty() && order.group.find(group.letter) == std::string::npos) ||
            (!order.level.empty() && order.level != group.level)) {
            continue;
        }
        Chosen one{&group, {}};
        for (const CheckText& check : group.checks) {
            if (std::regex_search(check.id + " " + check.asks, filter)) {
                one.checks.push_back(check.id);
            }
        }
        if (!one.checks.empty()) {
            chosen.push_back(std::move(one));
        }
    }
    if (chosen.empty()) {
        throw Failure(camhost::ExitWrongArguments,
                      "no check is called that; 'camhost certify --list' shows them all");
    }
    return chosen;
}

Settings SettingsOf(const Order& order, const fs::path& folder)
{
    return {.sdk = fs::absolute(order.sdk),
            .adapter = order.adapter,
            .camera = order.channel,
            .program = order.program,
            .folder = folder,
            .strict = order.strict,
            .readOnly = order.readOnly,
            .patience = order.patience};
}

std::string Now()
{
    const std::time_t now = std::time(nullptr);
    char text[32];
    std::strftime(text, sizeof(text), "%Y-%m-%d %H:%M:%S", std::localtime(&now));
    return text;
}

class Run
{
public:
    explicit Run(const Order& order) : order_(order), settings_(SettingsOf(order, folder_.Path())) {}

    Report Perform(const std::vector<Chosen>& chosen)
    {
        const auto begin = Clock::now();
        WriteHeader();
        Print(HeaderAsText(report_.header));
        std::vector<std::string> checks;
        for (const Chosen& one : chosen) {
            checks.insert(checks.end(), one.checks.begin(), one.checks.end());
        }
        while (!checks.empty() && !camhost::EndRequested()) {
            RunSome(checks);
        }
        if (unclean_) {
            PutBack();
        }
        report_.seconds = std::chrono::duration<double>(Clock::now() - begin).count();
        return std::move(report_);
    }

private:
    void Print(const std::string& text) const
    {
        if (order_.json) {
            return;
        }
        std::fputs(text.c_str(), stdout);
        std::fflush(stdout);
    }

    void WriteHeader()
    {
        Header& header = report_.header;
        header.program = order_.version;
        header.system = SystemName();
        header.when = Now();
        header.sdkFolder = host::TextOf(settings_.sdk);
        header.runtimeSum = SumOf(settings_.sdk / "bin" / kRuntimeFile);
        header.transformSum = SumOf(settings_.sdk / "bin" / kTransformFile);
        header.adapter = order_.adapter;
        header.adapterSum = SumOf(host::PathOf(order_.adapter));
        header.mode = std::string(order_.strict ? "strict" : "") +
                      (order_.strict && order_.readOnly ? ", " : "") + (order_.readOnly ? "read-only" : "");
        DescribeCamera();
    }

    void Begin(const std::string& id)
    {
        const auto group = std::ranges::find(Catalogue(), id.front(), &GroupText::letter);
        if (report_.results.empty() || report_.results.back().id.front() != id.front()) {
            Print(GroupAsText(*group));
        }
    }

    void Take(Result result)
    {
        if (result.outcome == Outcome::Failed && std::ranges::count(known_, result.id) > 0) {
            result.outcome = Outcome::Warning;
            result.text = "known: " + result.text;
        }
        Print(ResultAsText(result));
        report_.results.push_back(result);
    }

    // A process that does what `words` say (see Worker.h).
    std::unique_ptr<ChildProcess> Start(const std::string& words) const
    {
        std::vector<std::string> arguments{"certify",
                                           "--sdk",
                                           host::TextOf(settings_.sdk),
                                           "--adapter",
                                           order_.adapter,
                                           "--folder",
                                           host::TextOf(folder_.Path()),
                                           "--patience",
                                           std::to_string(order_.patience),
                                           "--worker",
                                           words};
        if (!order_.channel.empty()) {
            arguments.insert(arguments.end(), {"--channel", order_.channel});
        }
        if (order_.strict) {
            arguments.emplace_back("--strict");
        }
        if (order_.readOnly) {
            arguments.emplace_back("--read-only");
        }
        return std::make_unique<ChildProcess>(order_.program, arguments);
    }

    // No SDK is loaded in this process: it could crash it.
    void DescribeCamera()
    {
        const auto child = Start(worker::kCamera);
        for (std::string line; child->ReadLine(&line);) {
            const worker::Message message = worker::Parse(line);
            if (message.kind != worker::Message::Kind::Camera) {
                continue;
            }
            if (message.text.empty() && !order_.channel.empty()) {
                throw Failure(camhost::ExitWrongArguments,
                              "the SDK finds no camera '" + order_.channel + "'; 'camhost list' shows them");
            }
            report_.header.camera = message.text;
        }
        child->Wait();
    }

    // Runs the checks in one process, and takes those away that it ran. What one check keeps it from running
    // is left for the next process, and so is the group after a failure.
    void RunSome(std::vector<std::string>& checks)
    {
        std::string names;
        for (const std::string& id : checks) {
            names += (names.empty() ? "" : ",") + id;
        }
        const auto child = Start(names);
        std::string running;
        std::size_t done = 0;
        for (std::string line; child->ReadLine(&line);) {
            const worker::Message message = worker::Parse(line);
            if (message.kind == worker::Message::Kind::Begin) {
                running = message.result.id;
                Begin(running);
            }
            else if (message.kind == worker::Message::Kind::Left) {
                report_.left.push_back(message.text);
            }
            else if (message.kind == worker::Message::Kind::End && message.result.id == running) {
                Take(message.result);
                running.clear();
                ++done;
            }
        }
        const std::string end = child->Wait();
        unclean_ = !end.empty();
        if (!running.empty() || (done == 0 && !camhost::EndRequested())) {
            if (running.empty()) {
                Begin(running = checks.front());
            }
            Take({.id = running,
                  .outcome = Outcome::Failed,
                  .text = "the process ended during this check: " + (end.empty() ? "exit code 0" : end),
                  .seconds = 0});
            ++done;
        }
        checks.erase(checks.begin(), checks.begin() + static_cast<std::ptrdiff_t>(done));
    }

    // After a process that could not do it itself.
    void PutBack()
    {
        const auto child = Start(worker::kSettings);
        for (std::string line; child->ReadLine(&line);) {
            if (const worker::Message message = worker::Parse(line);
                message.kind == worker::Message::Kind::Left) {
                report_.left.push_back(message.text);
            }
        }
        if (const std::string end = child->Wait(); !end.empty()) {
            report_.left.push_back("the camera's settings: the process ended with " + end);
        }
    }

    const Order& order_;
    const std::vector<std::string> known_ = Split(order_.known);
    const OwnFolder folder_;
    const Settings settings_;
    Report report_;
    bool unclean_ = false; // the last process did not come to its end
};

int List(const std::vector<Chosen>& chosen)
{
    for (const Chosen& one : chosen) {
        std::fputs(GroupAsText(*one.group).c_str(), stdout);
        for (const std::string& id : one.checks) {
            std::printf("    %-4s %s\n", id.c_str(), FindText(id)->asks.c_str());
        }
    }
    return camhost::ExitDone;
}

void Write(const std::string& file, const std::string& text)
{
    camhost::OutputFile output(host::PathOf(file));
    output.Stream() << text;
    output.Commit();
}

} // namespace

int Certify(const Order& order)
{
    if (!order.worker.empty()) {
        EndOnCrash();
        if (!order.folder.empty()) {
            return RunAsWorker(SettingsOf(order, host::PathOf(order.folder)), Split(order.worker));
        }
        const OwnFolder folder;
        return RunAsWorker(SettingsOf(order, folder.Path()), Split(order.worker));
    }
    const auto chosen = Choose(order);
    for (const std::string& id : Split(order.known)) {
        if (FindText(id) == nullptr) {
            throw Failure(camhost::ExitWrongArguments,
                          "--known '" + id + "' is no check; 'camhost certify --list' shows them all");
        }
    }
    if (order.list) {
        return List(chosen);
    }
    camhost::CatchEndRequests();
    const Report report = Run(order).Perform(chosen);
    std::fputs(order.json ? ReportAsJson(report).c_str() : ("\n" + TotalAsText(report)).c_str(), stdout);
    if (!order.junit.empty()) {
        Write(order.junit, ReportAsJUnit(report));
    }
    if (!order.html.empty()) {
        Write(order.html, ReportAsHtml(report));
    }
    if (camhost::EndRequested()) {
        throw Failure(camhost::ExitRefused, "it was ended before all checks had run");
    }
    return report.Passed() ? camhost::ExitDone : camhost::ExitRefused;
}

} // namespace maravel::certify
