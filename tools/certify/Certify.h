// camhost certify: runs the checks, in a process that may crash, and reports.
#pragma once

#include <filesystem>
#include <string>

namespace maravel::certify {

struct Order
{
    std::filesystem::path sdk; // the SDK folder
    std::string adapter;       // file, UTF-8
    std::filesystem::path program;
    std::string version; // of the program
    std::string channel; // index, serial number or identifier; empty: the first camera
    std::string group;   // letters; empty: all
    std::string filter;  // regular expression on "C3 what it asks"; empty: all
    std::string known;   // checks that may fail, separated by commas
    std::string level;   // "sdk", "camera", "adapter"; empty: all
    bool list = false;   // what there is, instead of running it
    bool strict = false;
    bool readOnly = false;
    int patience = 60;       // seconds for a check
    bool json = false;       // the report on standard output, instead of lines
    std::string junit, html; // files; empty: none
    std::string worker;      // what to do for another run, separated by commas: see Worker.h
    std::string folder;      // of the run that a worker belongs to
};

// The exit code. Throws camhost's Failure for what keeps it from running.
int Certify(const Order& order);

} // namespace maravel::certify
