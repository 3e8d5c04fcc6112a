// camhost: a camera host for the command line. It knows the adapter through its public header alone.
#include "CommandLine.h"
#include "Failure.h"
#include "Features.h"
#include "Grab.h"
#include "Log.h"
#include "OwnLog.h"
#include "Places.h"
#include "Simulation.h"
#include "System.h"
#include "Version.h"
#include "bench/KernelBench.h"
#include "certify/Certify.h"
#include "diagnosis/Doctor.h"
#include "diagnosis/SdkFolder.h"
#include "host/AdapterLibrary.h"
#include "host/Utf8Path.h"
#include "view/View.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <memory>

namespace maravel::camhost {
namespace {

using host::AdapterLibrary;
using host::Channel;
using host::PathOf;
using host::TextOf;

// The adapter finds its SDK through the environment. True when nobody named one and the one beside this
// program is taken.
bool ChooseSdkFolder(const Options& options)
{
    const char* const kVariable = "ZORVIK_HOME";
    std::error_code error;
    if (!options.sdk.empty()) {
        SetVariable(kVariable, TextOf(std::filesystem::absolute(PathOf(options.sdk), error)));
    }
    else if (Variable(kVariable).empty()) {
        const auto beside = OwnSdk();
        if (std::filesystem::is_directory(beside, error)) {
            SetVariable(kVariable, TextOf(beside));
            return true;
        }
    }
    return false;
}

std::string AdapterFile(const Options& options)
{
    return options.adapter.empty() ? TextOf(OwnAdapter()) : options.adapter;
}

std::unique_ptr<AdapterLibrary> LoadAdapter(const Options& options)
{
    std::string reason;
    auto library = AdapterLibrary::Load(AdapterFile(options), &reason);
    if (library == nullptr) {
        throw Failure(ExitNotLoaded, reason + "; name the adapter with --adapter");
    }
    return library;
}

// Why the adapter has no channels; empty when the SDK runs and there simply is no camera.
std::string StartFault(const host::Outcome& outcome)
{
    const OwnLog log;
    if (const diagnosis::Finding* fault = log.Fault()) {
        return fault->fault->id == diagnosis::FaultId::NoCamera ? "" : InOneLine(*fault);
    }
    if (!outcome) {
        return outcome.text + " Name the SDK folder with --sdk or ZORVIK_HOME.";
    }
    // Without a log only the files can tell.
    const std::string folder = Variable("ZORVIK_HOME");
    const diagnosis::LibraryVerdict verdict = diagnosis::InspectSdk(folder);
    return verdict.good
               ? ""
               : std::string(verdict.transform ? diagnosis::kTransformLibrary : diagnosis::kRuntimeLibrary) +
                     " did not load from " + folder + ": " + verdict.text;
}

std::vector<Channel> CollectChannels(const AdapterLibrary& library)
{
    std::vector<Channel> channels;
    const host::Outcome outcome = library.CollectChannels(&channels);
    if (!outcome || channels.empty()) {
        if (const std::string fault = StartFault(outcome); !fault.empty()) {
            throw Failure(ExitNotLoaded, fault);
        }
    }
    return channels;
}

const std::string kNoCameras =
    std::string("no cameras found. ") + diagnosis::Describe(diagnosis::FaultId::NoCamera).advice;

const Channel& FindChannel(const std::vector<Channel>& channels, const std::string& name)
{
    const auto same = std::ranges::count(channels, name, &Channel::SerialNumber);
    if (same > 1) {
        throw Failure(ExitWrongArguments, std::to_string(same) + " cameras have the serial number " + name +
                                              "; name the channel by its index ('camhost list')");
    }
    for (const Channel& channel : channels) {
        if (channel.SerialNumber() == name) {
            return channel;
        }
    }
    for (const Channel& channel : channels) {
        if (std::to_string(channel.Index()) == name) {
            return channel;
        }
    }
    std::string known;
    for (const Channel& channel : channels) {
        known += (known.empty() ? "" : ", ") + std::to_string(channel.Index()) + " (" +
                 channel.SerialNumber() + ")";
    }
    throw Failure(ExitWrongArguments, "there is no channel '" + name + "'; " +
                                          (known.empty() ? kNoCameras : "there are " + known));
}

void Perform(const Options& options, const AdapterLibrary& library, const std::vector<Channel>& channels)
{
    if (options.command == Command::List && channels.empty() && !options.json) {
        return static_cast<void>(std::printf("%s\n", kNoCameras.c_str()));
    }
    if (options.command == Command::List) {
        return ListChannels(channels, options.json);
    }
    if (options.command == Command::Grab) {
        const RestartAdapter restart = [&library] {
            std::vector<Channel> again;
            library.CollectChannels(&again); // a start that fails leaves none, and is tried again
            return again;
        };
        if (options.channel != "all") {
            return Grab(channels, {FindChannel(channels, options.channel)}, restart, options);
        }
        if (channels.empty()) {
            throw Failure(ExitRefused, kNoCameras);
        }
        return Grab(channels, channels, restart, options);
    }

    if (options.command == Command::View) {
        std::vector<Channel> shown;
        for (const std::string& name : options.channels) {
            shown.push_back(FindChannel(channels, name));
        }
        if (channels.empty()) {
            throw Failure(ExitRefused, kNoCameras);
        }
        return view::ShowLive(channels, shown.empty() ? channels : shown, options);
    }

    const Channel& channel = FindChannel(channels, options.channel);
    switch (options.command) {
    case Command::Describe:
        return DescribeChannel(channel, options.json);
    case Command::Get:
        return GetFeatures(channel, options.features, options.json);
    case Command::Set:
        return SetFeatures(channel, options.assignments);
    default:
        return RunCommand(channel, options.features.front());
    }
}

// A full disk or a closed pipe behind standard output is a failure as well.
void CheckOutput()
{
    errno = 0;
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        throw Failure(ExitRefused, std::string("cannot write to standard output: ") +
                                       std::strerror(errno == 0 ? EIO : errno));
    }
}

int Doctor(const Options& options, bool sdkBesideTool)
{
    const auto tell = [](const diagnosis::Check& check) {
        std::printf("%-8s %s\n", StatusName(check.status), check.text.c_str());
        if (!check.remedy.empty()) {
            std::printf("         do: %s\n", check.remedy.c_str());
        }
        std::fflush(stdout);
    };
    const diagnosis::DoctorOptions how = {
        .adapter = PathOf(AdapterFile(options)), .besideTool = sdkBesideTool, .start = !options.noStart};
    const auto checks = options.json ? Examine(how) : Examine(how, tell);
    if (options.json) {
        std::fputs(ChecksAsJson(checks).c_str(), stdout);
    }
    return HasFault(checks) ? ExitRefused : ExitDone;
}

int Certify(const Options& options)
{
    const std::string version = VersionText();
    std::error_code error;
    certify::Order order{.sdk = PathOf(Variable("ZORVIK_HOME")),
                         .adapter = TextOf(std::filesystem::absolute(PathOf(AdapterFile(options)), error)),
                         .program = ProgramFile(),
                         .version = version.substr(0, version.find('\n')),
                         .channel = options.channel,
                         .group = options.group,
                         .filter = options.filter,
                         .known = options.known,
                         .level = options.level,
                         .list = options.list,
                         .strict = options.strict,
                         .readOnly = options.readOnly,
                         .patience = options.patience,
                         .json = options.json,
                         .junit = options.junit,
                         .html = options.html,
                         .worker = options.worker,
                         .folder = options.folder};
    if (order.sdk.empty() && !order.list) {
        throw Failure(ExitNotLoaded, "there is no SDK folder; name it with --sdk or ZORVIK_HOME");
    }
    return certify::Certify(order);
}

int Bench(const Options& options)
{
    bench::KernelBenchSettings settings;
    settings.rounds = static_cast<std::size_t>(options.rounds);
    settings.copyGoal = 1.0; // the C library may be any system's
    bench::Report report;
    bench::MeasureKernels(settings, report);
    if (!options.results.empty()) {
        report.Save(options.results);
    }
    return report.missedGoals() == 0 ? ExitDone : ExitRefused;
}

int Run(std::vector<std::string> arguments)
{
    int exitCode = ExitDone;
    const auto options = ParseCommandLine(std::move(arguments), &exitCode);
    if (!options) {
        return exitCode;
    }
    if (options->command == Command::Bench) {
        return Bench(*options);
    }
    if (options->command == Command::Log) {
        return ShowLog(*options);
    }
    const bool sdkBesideTool = ChooseSdkFolder(*options);
    if (!options->simulate.empty()) {
        SimulateFaults(options->simulate);
    }
    if (options->command == Command::Certify) {
        return Certify(*options);
    }
    if (options->command == Command::Doctor) {
        return Doctor(*options, sdkBesideTool);
    }
    const auto library = LoadAdapter(*options);
    try {
        Perform(*options, *library, CollectChannels(*library));
    }
    catch (const Failure& failure) {
        // What the adapter reports in its own words is said in plain ones, with what to do.
        const OwnLog log;
        const diagnosis::Finding* fault =
            failure.Code() == ExitRefused ? log.FaultIn(failure.what()) : nullptr;
        if (fault == nullptr || fault->fault->id == diagnosis::FaultId::FeatureMissing) {
            throw;
        }
        const bool repeats = fault->sentence.find(fault->quotes.front().text) != std::string::npos;
        throw Failure(ExitRefused, std::string(failure.what()) +
                                       (repeats ? " " + fault->advice : ". " + InOneLine(*fault)));
    }
    return ExitDone;
}

} // namespace
} // namespace maravel::camhost

int main(int argc, char** argv)
{
    using namespace maravel::camhost;
    PrepareTerminal();
    try {
        const int exitCode = Run(Arguments(argc, argv));
        CheckOutput();
        return exitCode;
    }
    catch (const Failure& failure) {
        std::fprintf(stderr, "camhost: %s\n", failure.what());
        return failure.Code();
    }
    catch (const std::exception& failure) {
        std::fprintf(stderr, "camhost: %s\n", failure.what());
        return ExitRefused;
    }
}
