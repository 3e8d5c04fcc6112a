#include "CommandLine.h"

#include "ArgumentChecks.h"
#include "Failure.h"
#include "Pages.h"
#include "Version.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <sstream>

namespace maravel::camhost {
namespace {

constexpr const char* kAbout = "Acquires images and sets features through a camera adapter library.";

constexpr const char* kFooter =
    "Exit codes: 0 done; 1 the adapter, a camera or a file refused; 2 wrong arguments;\n"
    "3 the adapter or its SDK could not be loaded; 4 there is no log.\n"
    "Options may stand before or after the command. 'camhost COMMAND --help' tells more of a command.";

constexpr const char* kGrabFooter =
    "8-bit and colour images become PNG files, deeper ones binary PGM files whose maximum is that of the\n"
    "camera's depth (packed samples are unpacked). Files are named <serial number>_<number>, appear only when\n"
    "they are complete, and replace older ones. Lost images are counted by the camera's frame numbers where\n"
    "the adapter writes its log, else from gaps in the time stamps.\n"
    "Without --region the size stays as it is and the offset becomes 0. With --trigger manual every image is\n"
    "triggered by software; the hardware modes wait for pulses on the camera's input.";

Assignment SplitAssignment(const std::string& text)
{
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0) {
        throw CLI::ValidationError(text, "is not of the form FEATURE=VALUE");
    }
    return {text.substr(0, equals), text.substr(equals + 1)};
}

std::vector<Assignment> SplitAssignments(const std::vector<std::string>& words)
{
    if (words.size() == 2 && words[0].find('=') == std::string::npos) {
        return {{words[0], words[1]}};
    }
    std::vector<Assignment> assignments;
    for (const std::string& word : words) {
        assignments.push_back(SplitAssignment(word));
    }
    return assignments;
}

// What CLI11 fills before it is brought into its final form.
struct Words
{
    std::vector<std::string> assignments;
    std::vector<int> region;
    std::string trigger = "freerun";
    std::string edge = "rising";
};

Trigger TriggerOf(const std::string& word)
{
    if (word == "manual") {
        return Trigger::Manual;
    }
    if (word == "hardware-auto") {
        return Trigger::HardwareAuto;
    }
    return word == "hardware-semi-auto" ? Trigger::HardwareSemiAuto : Trigger::Freerun;
}

CLI::App* AddCommand(CLI::App& app, Options& options, Command command, const char* name, const char* text)
{
    CLI::App* sub = app.add_subcommand(name, text);
    sub->final_callback([&options, command] { options.command = command; });
    if (command != Command::List && command != Command::Bench && command != Command::Log &&
        command != Command::Doctor && command != Command::View && command != Command::Certify) {
        sub->add_option("CHANNEL", options.channel, "The camera: its index or its serial number")->required();
    }
    return sub;
}

void AddJson(CLI::App* command, Options& options)
{
    command->add_flag("--json", options.json, "For programs; docs/camhost.schema.json describes it");
}

void AddFeatureCommands(CLI::App& app, Options& options, Words& words)
{
    AddJson(AddCommand(app, options, Command::List, "list", "Lists the cameras"), options);
    AddJson(AddCommand(app, options, Command::Describe, "describe",
                       "Lists a camera's features with type, access, value, entries and description"),
            options);
    CLI::App* get =
        AddCommand(app, options, Command::Get, "get", "Reads features; prints FEATURE=VALUE lines");
    get->add_option("FEATURE", options.features, "Names of features")->required();
    AddJson(get, options);
    AddCommand(app, options, Command::Set, "set",
               "Writes features in the given order; prints what they hold afterwards")
        ->add_option("FEATURE=VALUE", words.assignments, "FEATURE=VALUE ..., or one FEATURE VALUE")
        ->required();
    AddCommand(app, options, Command::Run, "run", "Runs a command feature")
        ->add_option("COMMAND", options.features, "Name of a command feature")
        ->required()
        ->expected(1);
}

void AddGrab(CLI::App& app, Options& options, Words& words)
{
    CLI::App* grab =
        AddCommand(app, options, Command::Grab, "grab", "Acquires images and writes them to files");
    grab->get_option("CHANNEL")->description("The camera: its index or its serial number; or 'all'");
    grab->footer(kGrabFooter);
    grab->add_option("--frames", options.frames, "Images to acquire from each camera")
        ->capture_default_str()
        ->check(CLI::Range(1, 1000000));
    grab->add_option("--out", options.folder, "Folder for the images; made when missing")->required();
    grab->add_option("--exposure", options.exposure, "Exposure time in seconds")->check(IsSeconds());
    grab->add_option("--trigger", words.trigger, "manual, freerun, hardware-auto or hardware-semi-auto")
        ->check(CLI::IsMember({"manual", "freerun", "hardware-auto", "hardware-semi-auto"}))
        ->option_text("MODE [freerun]");
    grab->add_option("--edge", words.edge, "Edge of the hardware trigger: rising or falling")
        ->check(CLI::IsMember({"rising", "falling"}))
        ->option_text("EDGE [rising]");
    grab->add_option("--region", words.region, "Region of interest in pixels")
        ->delimiter(',')
        ->expected(4)
        ->check(IsPixels())
        ->option_text("X,Y,WIDTH,HEIGHT");
    grab->add_option("--timeout", options.timeout, "Seconds to wait for each image")
        ->capture_default_str()
        ->check(IsSeconds());
    grab->add_option("--set", words.assignments, "Feature to write before the start; may be repeated")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->option_text("FEATURE=VALUE");
    grab->add_flag("--reconnect", options.reconnect,
                   "Looks for a camera that was lost, by its serial number, and goes on when it is back");
    grab->add_flag("--progress", options.progress, "Tell progress also when not on a terminal");
    grab->add_option("--contact-sheet", options.contactSheet,
                     "PNG file with a small copy of every image, the first 2000 at most")
        ->option_text("FILE");
    AddJson(grab, options);
}

void AddView(CLI::App& app, Options& options)
{
    CLI::App* view = AddCommand(app, options, Command::View, "view",
                                "Shows live pictures, features, losses and the log in a browser");
    view->footer(
        "It prints an address that holds a secret: whoever knows it may see and set the cameras. It goes on\n"
        "until Ctrl-C. docs/live-view.md tells what the page does, and the addresses for other programs.");
    view->add_option("CHANNEL", options.channels,
                     "Cameras to show, each by index or serial number; all without one");
    view->add_option("--port", options.port, "Port to serve at; a free one without it")
        ->check(CLI::Range(1, 65535))
        ->option_text("PORT");
    view->add_option("--listen", options.listen,
                     "Address to serve at, for other machines too; nothing on the way is encrypted")
        ->option_text("ADDRESS [127.0.0.1]");
    view->add_flag("--read-only", options.readOnly, "The page shows and does not set anything");
    view->add_flag("--no-browser", options.noBrowser, "Only prints the address");
}

void AddBench(CLI::App& app, Options& options)
{
    CLI::App* bench = AddCommand(app, options, Command::Bench, "bench",
                                 "Measures how fast this machine copies images and splits their colours");
    bench->footer(
        "Needs neither cameras nor the adapter, but a gigabyte of memory and a minute or two. Ends with exit\n"
        "code 1 when a goal is missed.");
    bench->add_option("--rounds", options.rounds, "Interleaved rounds per comparison")
        ->capture_default_str()
        ->check(CLI::Range(1, 1001));
    bench->add_option("--out", options.results,
                      "Existing folder for the results as Markdown and as plot data");
}

// One line, whatever the library would print.
std::string FailureMessage(const CLI::App*, const CLI::Error& error)
{
    std::string text = error.what();
    for (char& c : text) {
        if (c == '\n') {
            c = ' ';
        }
    }
    return "camhost: " + text + "; see camhost --help\n";
}

void AddLog(CLI::App& app, Options& options)
{
    CLI::App* log = AddCommand(app, options, Command::Log, "log",
                               "Reads the adapter's log: what went wrong, and what to do about it");
    log->footer("Exit codes: 0 healthy; 1 faults were found; 2 wrong arguments; 4 there is no such log.\n"
                "docs/field-guide.md goes from symptoms to causes, docs/log.md explains every message.");
    log->add_option("FILE", options.file, "A log; without it the one of this machine");
    log->add_flag("--json", options.json,
                  "The whole report for programs; docs/log-report.schema.json describes it");
    CLI::Option* follow = log->add_flag("--follow", options.follow,
                                        "Goes on reading and tells faults as they appear, until Ctrl-C");
    log->add_flag("--lines", options.lines, "Prints the messages one by one with what they mean");
    log->add_option("--channel", options.channel, "Only this channel's messages and faults")
        ->check(IsIndex())
        ->option_text("INDEX");
    log->add_option("--since", options.since, "Only messages and faults from that time of day on")
        ->check(IsTimeOfDay())
        ->option_text("HH:MM[:SS]");
    log->add_option("--trace", options.trace, "Writes the log for about:tracing or the Perfetto UI")
        ->option_text("FILE");
    log->add_option("--html", options.html, "Writes a page with charts, to attach to a mail")
        ->option_text("FILE");
    log->add_option("--explain", options.explain, "Tells what a message, a part of one, or a fault means")
        ->option_text("TEXT");
    log->add_flag("--lnav", options.lnav, "Prints the format file for lnav");
    for (const char* other : {"--json", "--trace", "--html"}) { // they are of a log that is done
        follow->excludes(other);
    }
}

void AddDoctor(CLI::App& app, Options& options)
{
    CLI::App* doctor =
        AddCommand(app, options, Command::Doctor, "doctor",
                   "Looks at what a start needs: SDK, registry, log, adapter, cameras, network");
    doctor->footer(
        "Exit codes: 0 no fault (there may be warnings); 1 faults were found; 2 wrong arguments.\n"
        "To look at the cameras it starts the adapter, which empties the log: read it first, or say\n"
        "--no-start. While another program uses the adapter it is not started.");
    doctor->add_flag("--json", options.json, "For programs; docs/doctor.schema.json describes it");
    doctor->add_flag("--no-start", options.noStart,
                     "Does not start the adapter: the log stays, cameras are not looked at");
}

void AddCertify(CLI::App& app, Options& options)
{
    CLI::App* certify = AddCommand(app, options, Command::Certify, "certify",
                                   "Checks an SDK folder, a camera and the adapter for what they must do");
    certify->footer(
        "Exit codes: 0 no check failed; 1 some did, or a setting could not be put back; 2 wrong arguments.\n"
        "It changes the camera's settings, acquires images, and puts the settings back; with --read-only it\n"
        "sets nothing but the packet size, which every start of the adapter does. docs/certify.md tells why\n"
        "the adapter needs each check and what to do when one fails.");
    certify
        ->add_option("--channel", options.channel,
                     "The camera: its index, serial number or identifier; the first one without it")
        ->option_text("CAMERA");
    certify->add_option("--group", options.group, "Only these groups of checks, such as C or FGH")
        ->option_text("LETTERS");
    certify->add_option("--level", options.level, "Only checks of this level: sdk, camera or adapter")
        ->check(CLI::IsMember({"sdk", "camera", "adapter"}))
        ->option_text("LEVEL");
    certify->add_option("--filter", options.filter, "Only checks whose number and name fit this expression")
        ->option_text("REGEX");
    certify
        ->add_option("--known", options.known,
                     "Checks that fail for a known reason, such as K8,Q3: a warning")
        ->option_text("CHECKS");
    certify->add_flag("--list", options.list, "Lists the checks");
    certify->add_flag("--strict", options.strict, "Refusals must have exactly the documented result code");
    certify->add_flag(
        "--read-only", options.readOnly,
        "For a line that must not change: sets nothing but the packet size, as every start does");
    certify
        ->add_option("--time,--patience", options.patience,
                     "Seconds after which a check that does not return has failed")
        ->capture_default_str()
        ->check(CLI::Range(1, 3600))
        ->option_text("S");
    certify->add_option("--junit", options.junit, "Writes the results for a build server")
        ->option_text("FILE");
    certify->add_option("--html", options.html, "Writes a page for people")->option_text("FILE");
    certify->add_flag("--json", options.json, "For programs; docs/certify.schema.json describes it");
    certify->add_option("--worker", options.worker)->group("");
    certify->add_option("--folder", options.folder)->group("");
}

// The first word that is neither an option nor an option's value, when it names no command. The arguments
// come in reverse order.
std::string UnknownCommand(const CLI::App& app, const std::vector<std::string>& arguments)
{
    for (auto word = arguments.rbegin(); word != arguments.rend(); ++word) {
        if (word->empty() || word->front() != '-') {
            const auto named =
                app.get_subcommands([&](const CLI::App* sub) { return sub->check_name(*word); });
            return named.empty() ? *word : "";
        }
        const CLI::Option* option = app.get_option_no_throw(*word);
        if (option != nullptr && option->get_items_expected_max() > 0 && word + 1 != arguments.rend()) {
            ++word;
        }
    }
    return {};
}

} // namespace

std::optional<Options> ParseCommandLine(std::vector<std::string> arguments, int* exitCode)
{
    Options options;
    Words words;
    std::ranges::reverse(arguments); // as the library wants them
    CLI::App app(kAbout, "camhost");
    app.footer(kFooter);
    app.failure_message(FailureMessage);
    app.set_version_flag("--version", VersionText());
    app.require_subcommand(1);
    app.fallthrough();
    app.add_option("--adapter", options.adapter, "Adapter library; without it the one beside camhost")
        ->option_text("FILE");
    app.add_option("--sdk", options.sdk,
                   "SDK folder; without it the one that ZORVIK_HOME names, else ../sdk beside camhost")
        ->check(IsFolder())
        ->option_text("DIR");
    app.add_option("--simulate", options.simulate,
                   "Faults of the simulated SDK, such as 'unplug 0 after 2s; incomplete 1 every 3;\n"
                   "fail ZvkFrameAnnounce 2 -14; busy 1'; cameras.toml in its folder lists the words")
        ->option_text("FAULTS");
    AddFeatureCommands(app, options, words);
    AddGrab(app, options, words);
    AddView(app, options);
    AddDoctor(app, options);
    AddCertify(app, options);
    AddLog(app, options);
    AddBench(app, options);
    if (arguments.size() == 2 &&
        arguments.back() == "--page") { // for installations: no option that --help tells
        const std::string page = PageOf(app, arguments.front());
        std::fputs(page.c_str(), stdout);
        *exitCode = page.empty() ? ExitWrongArguments : ExitDone;
        return std::nullopt;
    }
    try {
        // The library asks for a command where there is an unknown one.
        if (const std::string word = UnknownCommand(app, arguments); !word.empty()) {
            throw CLI::ArgumentMismatch("there is no command '" + word + "'");
        }
        app.parse(std::move(arguments));
        options.assignments = SplitAssignments(words.assignments);
    }
    catch (const CLI::Error& error) {
        std::ostringstream output, errors;
        *exitCode = app.exit(error, output, errors) == 0 ? ExitDone : ExitWrongArguments;
        std::fputs(output.str().c_str(), stdout);
        std::fputs(errors.str().c_str(), stderr);
        return std::nullopt;
    }
    options.trigger = TriggerOf(words.trigger);
    options.risingEdge = words.edge == "rising";
    if (!words.region.empty()) {
        options.region = {words.region[0], words.region[1], words.region[2], words.region[3]};
    }
    return options;
}

} // namespace maravel::camhost
