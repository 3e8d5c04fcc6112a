// What camhost was asked for.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace maravel::camhost {

enum class Command
{
    List,
    Describe,
    Get,
    Set,
    Run,
    Grab,
    View,
    Bench,
    Log,
    Doctor,
    Certify
};

enum class Trigger
{
    Manual,
    Freerun,
    HardwareAuto,
    HardwareSemiAuto
};

struct Region
{
    int x, y, width, height; // pixels
};

using Assignment = std::pair<std::string, std::string>; // feature, value

struct Options
{
    Command command = Command::List;
    std::string adapter; // empty: the one beside this program
    std::string sdk;     // empty: ZORVIK_HOME, or the one beside this program

    std::string simulate; // faults of the simulated SDK, in its words

    std::string channel; // index or serial number; for Grab also "all"
    std::vector<std::string> features;
    std::vector<Assignment> assignments;

    int frames = 1;
    std::string folder;
    std::optional<double> exposure; // seconds
    Trigger trigger = Trigger::Freerun;
    bool risingEdge = true;
    std::optional<Region> region;
    double timeout = 5; // seconds
    bool progress = false;
    bool reconnect = false;
    bool live = false; // images are taken one after the other until someone stops it
    std::string contactSheet;

    std::string file; // a log; empty: the machine's own
    bool json = false;
    bool follow = false;
    bool lines = false;
    bool lnav = false;
    std::string since;       // hh:mm or hh:mm:ss
    std::string trace, html; // files
    std::optional<std::string> explain;
    bool noStart = false;

    std::vector<std::string> channels; // to show; none: all
    int port = 0;                      // 0: any free one
    std::string listen = "127.0.0.1";
    bool readOnly = false;
    bool noBrowser = false;

    std::string group, filter, level, known; // of checks; empty: all, known: none
    bool list = false;
    bool strict = false;
    int patience = 60;  // seconds for a check
    std::string junit;  // file
    std::string worker; // checks to run for another process

    int rounds = 31;
    std::string results; // folder; empty: nothing is written
};

// Seconds since midnight of "hh:mm" or "hh:mm:ss"; -1 for any other text.
int ParseTimeOfDay(const std::string& text);

// Parses the arguments (without the program's name). After --help, --version and wrong arguments the text was
// printed already and the result is empty; `exitCode` then says how to end.
std::optional<Options> ParseCommandLine(std::vector<std::string> arguments, int* exitCode);

} // namespace maravel::camhost
