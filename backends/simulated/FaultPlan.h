// Faults on demand, in words: what the description's [[fault]] tables and the control interface take.
//
//   unplug CAMERA [after TIME | after N frames] [for TIME]   the camera is gone, for ever or for a while
//   incomplete CAMERA every N                                every n-th frame arrives incomplete
//   silent CAMERA                                            it takes commands and sends no frame
//   busy CAMERA                                              another program has it
//   hold CAMERA COMMAND                                      the command is never done
//   fail ENTRY NTH CODE [always]                             the n-th call fails; always: later ones too
//   crash ENTRY NTH                                          the n-th call ends the program
//   hang ENTRY NTH                                           the n-th call does not return
//   cameras N [N ...]                                        how many cameras each listing sees
//
// Statements are separated by semicolons or line ends. CAMERA counts from 0; TIME is a number with ms or s,
// counted from the first start of the SDK since its library was loaded.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace maravel::simulated {

struct PlannedFault
{
    enum class Kind : std::uint8_t
    {
        Unplug,
        Incomplete,
        Silent,
        Busy,
        Hold,
        Fail,
        Crash,
        Hang,
        Cameras
    };
    Kind kind = Kind::Unplug;
    std::uint32_t camera = 0;
    std::uint32_t afterMs = 0;
    std::uint32_t afterFrames = 0;
    std::uint32_t forMs = 0;  // 0: for ever
    std::uint32_t number = 0; // every n-th frame, or the n-th call
    std::int32_t code = 0;
    bool always = false;
    std::string name; // of an entry point or a command
    std::vector<std::uint32_t> counts;
};

// False: `error` is one line that says what is wrong and what is expected. Entry points are not checked.
bool ParseFaults(std::string_view text, std::vector<PlannedFault>* faults, std::string* error);

} // namespace maravel::simulated
